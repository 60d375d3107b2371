#include "base/file_io.h"

#include <unistd.h>

#include <cerrno>

namespace {

// One loop for the four calls: `step` transfers from the given place and count.
template <class Step> long long Transfer(std::size_t size, int* error, Step step) {
    std::size_t done = 0;
    if (error) *error = 0;
    while (done < size) {
        const ssize_t n = step(done, size - done);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && error) *error = errno;
        if (n <= 0) break;
        done += static_cast<std::size_t>(n);
    }
    return static_cast<long long>(done);
}

} // namespace

long long ReadFully(int fd, void* buffer, std::size_t size, int* error) {
    auto* p = static_cast<char*>(buffer);
    return Transfer(size, error, [&](std::size_t at, std::size_t left) { return ::read(fd, p + at, left); });
}

long long ReadFullyAt(int fd, long long offset, void* buffer, std::size_t size, int* error) {
    auto* p = static_cast<char*>(buffer);
    return Transfer(size, error, [&](std::size_t at, std::size_t left) {
        return ::pread(fd, p + at, left, static_cast<off_t>(offset + static_cast<long long>(at)));
    });
}

bool WriteFully(int fd, const void* buffer, std::size_t size) {
    const auto* p = static_cast<const char*>(buffer);
    return Transfer(size, nullptr, [&](std::size_t at, std::size_t left) {
               return ::write(fd, p + at, left);
           }) == static_cast<long long>(size);
}

bool WriteFullyAt(int fd, long long offset, const void* buffer, std::size_t size) {
    const auto* p = static_cast<const char*>(buffer);
    return Transfer(size, nullptr, [&](std::size_t at, std::size_t left) {
               return ::pwrite(fd, p + at, left, static_cast<off_t>(offset + static_cast<long long>(at)));
           }) == static_cast<long long>(size);
}
