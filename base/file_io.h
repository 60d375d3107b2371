// Whole transfers on a file descriptor: a read or write that the system cuts
// short goes on where it stopped, and one interrupted by a signal is tried
// again. Every file reader and writer of the program goes through these.
#pragma once

#include <cstddef>

// Reads until `size` bytes are in or the file ends; the count read. When an
// error stops it, `error` (if given) receives errno, else it is set to 0.
long long ReadFully(int fd, void* buffer, std::size_t size, int* error = nullptr);
// The same from `offset` on, leaving the file position alone (pread).
long long ReadFullyAt(int fd, long long offset, void* buffer, std::size_t size, int* error = nullptr);
// True when all `size` bytes are written; false on an error (errno kept).
bool WriteFully(int fd, const void* buffer, std::size_t size);
bool WriteFullyAt(int fd, long long offset, const void* buffer, std::size_t size);
