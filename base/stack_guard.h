// How much machine stack the calling thread has left. Deeply nested macro
// calls that wait for a result recurse on the machine stack; the runtime
// asks this before it nests once more instead of letting the stack overflow.
#pragma once

#include <cstddef>

size_t StackRemaining();
