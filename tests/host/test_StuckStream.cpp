// A stream that takes nothing and gives no reason. This program's own `write` makes it so.

#include "FileSystem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int s_stuck = -1;        ///< the stream
std::size_t s_taken = 0; ///< bytes that it takes before
int s_calls = 0;         ///< since it takes nothing

} // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" ssize_t write(int handle, const void* data, std::size_t count) {
    if (handle == s_stuck && s_taken == 0) {
        return ++s_calls < 100 ? 0 : static_cast<ssize_t>(count); // lets a loop without end fail the test
    }
    const std::size_t now = handle == s_stuck ? std::min(count, s_taken) : count;
    s_taken -= handle == s_stuck ? now : 0;
    return ::syscall(SYS_write, handle, data, now);
}

namespace vessa {
namespace {

TEST(StuckStream, IsAFailure) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const CHandle out(ends[0]);
    const CHandle in(ends[1]);
    s_stuck = in.Number();
    s_taken = 3;
    errno = 0;
    EXPECT_FALSE(WriteStream(in.Number(), "abcdef", 6));
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(s_calls, 1);
    std::array<char, 8> text{};
    EXPECT_EQ(ReadStream(out.Number(), text.data(), text.size()), 3);
    EXPECT_STREQ(text.data(), "abc");
    EXPECT_TRUE(WriteStream(in.Number(), "", 0)) << "nothing is soon written";
}

} // namespace
} // namespace vessa
