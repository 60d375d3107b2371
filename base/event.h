// Manual-reset events: once set, every waiter passes until Reset.
#pragma once

#include <condition_variable>
#include <initializer_list>
#include <mutex>
#include <vector>

class CEvent {
public:
    explicit CEvent(bool initiallySet = false) : m_set(initiallySet) {}
    void Set();
    void Reset();
    bool IsSet() const;
    void Wait() const;
    // False on time-out.
    bool WaitFor(unsigned milliseconds) const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    bool m_set;
};

// Waits until every event is set; a negative time-out waits for ever. False on time-out.
bool WaitForAll(const std::vector<const CEvent*>& events, int milliseconds = -1);
