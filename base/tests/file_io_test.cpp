// Whole transfers: reads gather what arrives in pieces, stop at the end of
// the data, and report errors; writes at an offset leave the position alone.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include "base/file_io.h"

namespace {

TEST(FileIo, ReadGathersPiecesFromAPipeAndStopsAtItsEnd) {
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    // A pipe hands out what has arrived: the reader sees three short reads.
    std::thread writer([&] {
        for (const char* piece : {"ab", "cde", "f"}) {
            ASSERT_TRUE(WriteFully(fds[1], piece, std::char_traits<char>::length(piece)));
            std::this_thread::yield();
        }
        ::close(fds[1]);
    });
    char buffer[16] = {};
    int error = -1;
    const long long got = ReadFully(fds[0], buffer, sizeof buffer, &error);
    writer.join();
    ::close(fds[0]);
    EXPECT_EQ(got, 6);
    EXPECT_EQ(std::string(buffer, 6), "abcdef");
    EXPECT_EQ(error, 0) << "the end of the data is no error";
}

TEST(FileIo, PositionedTransfersAndErrors) {
    char path[] = "/tmp/kvo_file_io_XXXXXX";
    const int fd = ::mkstemp(path);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(WriteFullyAt(fd, 4, "wxyz", 4));
    ASSERT_TRUE(WriteFullyAt(fd, 0, "abcd", 4));
    EXPECT_EQ(::lseek(fd, 0, SEEK_CUR), 0) << "pwrite leaves the position";
    char buffer[8] = {};
    EXPECT_EQ(ReadFullyAt(fd, 2, buffer, 8), 6) << "short at the end of the file";
    EXPECT_EQ(std::string(buffer, 6), "cdwxyz");
    ::close(fd);
    ::unlink(path);

    int error = 0;
    EXPECT_EQ(ReadFully(fd, buffer, 4, &error), 0);
    EXPECT_EQ(error, EBADF);
    EXPECT_FALSE(WriteFully(fd, "x", 1));
}

} // namespace
