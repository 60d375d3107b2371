#include "base/message_queue.h"

#include <chrono>

bool CMessageQueue::Post(SMessage message) {
    bool wake;
    {
        std::lock_guard lock(m_mutex);
        if (m_closed) return false;
        m_messages.push_back(std::move(message));
        wake = m_waiting > 0;
    }
    // Only a receiver that sleeps needs the system call.
    if (wake) m_ready.notify_one();
    return true;
}

bool CMessageQueue::Receive(SMessage& out, bool block) {
    std::unique_lock lock(m_mutex);
    if (block) {
        ++m_waiting;
        m_ready.wait(lock, [this] { return !m_messages.empty() || m_closed; });
        --m_waiting;
    }
    if (m_messages.empty()) return false;
    out = std::move(m_messages.front());
    m_messages.pop_front();
    return true;
}

bool CMessageQueue::ReceiveFor(SMessage& out, unsigned milliseconds) {
    std::unique_lock lock(m_mutex);
    ++m_waiting;
    m_ready.wait_for(lock, std::chrono::milliseconds(milliseconds),
                     [this] { return !m_messages.empty() || m_closed; });
    --m_waiting;
    if (m_messages.empty()) return false;
    out = std::move(m_messages.front());
    m_messages.pop_front();
    return true;
}

void CMessageQueue::Close() {
    {
        std::lock_guard lock(m_mutex);
        m_closed = true;
    }
    m_ready.notify_all();
}

bool CMessageQueue::Closed() const {
    std::lock_guard lock(m_mutex);
    return m_closed;
}

size_t CMessageQueue::Size() const {
    std::lock_guard lock(m_mutex);
    return m_messages.size();
}

void CMessageQueue::Clear() {
    std::deque<SMessage> dropped;
    {
        std::lock_guard lock(m_mutex);
        dropped.swap(m_messages);
    }
}
