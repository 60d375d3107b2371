#include "base/event.h"

#include <chrono>

void CEvent::Set() {
    // Notified under the lock: a waiter that owns the event (a request block on its
    // stack) may destroy it as soon as it returns, and it cannot return before the
    // lock is free again.
    std::lock_guard lock(m_mutex);
    m_set = true;
    m_changed.notify_all();
}

void CEvent::Reset() {
    std::lock_guard lock(m_mutex);
    m_set = false;
}

bool CEvent::IsSet() const {
    std::lock_guard lock(m_mutex);
    return m_set;
}

void CEvent::Wait() const {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_set; });
}

bool CEvent::WaitFor(unsigned milliseconds) const {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_set; });
}

bool WaitForAll(const std::vector<const CEvent*>& events, int milliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds < 0 ? 0 : milliseconds);
    for (const CEvent* e : events) {
        if (milliseconds < 0) {
            e->Wait();
            continue;
        }
        const auto now = Clock::now();
        const auto left = now < deadline
                              ? std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count()
                              : 0;
        if (!e->WaitFor(static_cast<unsigned>(left))) return false;
    }
    return true;
}
