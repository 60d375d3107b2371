// Threads with a chosen machine stack. Shell threads run deeply nested macro
// calls, so they get a larger stack than the system's default.
#pragma once

#include <cstddef>
#include <functional>

class CThread {
public:
    CThread() = default;
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;
    ~CThread(); // joins

    // False when the system refuses the thread.
    bool Start(std::function<void()> body, size_t stackBytes = 0);
    void Join();
    // True on the thread itself.
    bool IsCurrent() const;

private:
    static void* Entry(void* self);
    std::function<void()> m_body;
    unsigned long m_handle = 0;
    bool m_started = false;
};
