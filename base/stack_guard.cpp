#include "base/stack_guard.h"

#include <pthread.h>

namespace {
struct SStackBounds {
    char* low = nullptr;
    bool known = false;
};
thread_local SStackBounds t_bounds;

const SStackBounds& Bounds() {
    if (!t_bounds.known) {
        t_bounds.known = true;
        pthread_attr_t attr;
        if (pthread_getattr_np(pthread_self(), &attr) == 0) {
            void* addr = nullptr;
            size_t size = 0;
            if (pthread_attr_getstack(&attr, &addr, &size) == 0) t_bounds.low = static_cast<char*>(addr);
            pthread_attr_destroy(&attr);
        }
    }
    return t_bounds;
}
} // namespace

size_t StackRemaining() {
    char here;
    const SStackBounds& b = Bounds();
    if (!b.low || &here <= b.low) return b.low ? 0 : static_cast<size_t>(-1);
    return static_cast<size_t>(&here - b.low);
}
