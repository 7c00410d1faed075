// Files on a file system that has none without a name. This program's own `open` makes it so.

#include "FileTest.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

// NOLINTBEGIN(cert-dcl50-cpp, readability-inconsistent-declaration-parameter-name, clang-analyzer-valist.*)
extern "C" int open(const char* path, int flags, ...) {
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list rest;
    va_start(rest, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
    va_end(rest);
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
// NOLINTEND(cert-dcl50-cpp, readability-inconsistent-declaration-parameter-name, clang-analyzer-valist.*)

namespace vessa::test {
namespace {

using NamedInterim = FileTest;

TEST_F(NamedInterim, LiesBesideItsPlace) {
    {
        COutputFile file(Path("a.npy"));
        EXPECT_TRUE(file.Append("abc", 3));
        ASSERT_EQ(Names().size(), 1U);
        EXPECT_TRUE(Names().begin()->starts_with(".vessa-"));
    }
    EXPECT_TRUE(Names().empty());
}

TEST_F(NamedInterim, IsMovedToItsPlace) {
    Put("a.json", "what was there");
    ASSERT_EQ(::chmod(Path("a.json").c_str(), 0604), 0);
    WriteValue(Path("a.json"), CValueMap());
    EXPECT_EQ(Get("a.json"), "{}\n");
    EXPECT_EQ(Names(), std::set<std::string>{"a.json"});
    struct stat status {};
    ASSERT_EQ(::stat(Path("a.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0604U);
}

TEST_F(NamedInterim, SeveralFilesAreWrittenAtOnce) {
    COutputFile first(Path("a.npy"));
    COutputFile second(Path("a.npy"));
    first.Append("1", 1);
    second.Append("2", 1);
    EXPECT_EQ(Names().size(), 2U);
    second.Commit();
    first.Commit();
    EXPECT_EQ(Get("a.npy"), "1");
    EXPECT_EQ(Names(), std::set<std::string>{"a.npy"});
}

TEST_F(NamedInterim, FailuresAreThoseOfTheFolder) {
    EXPECT_EQ(WriteError("none/a.json", CValueMap()), "none/a.json: can't be written: No such file or directory");
}

TEST_F(NamedInterim, TemporaryFilesHaveNoName) {
    ::setenv("TMPDIR", Path("").c_str(), 1);
    const CHandle file = OpenTemporary();
    EXPECT_TRUE(file.IsOpen());
    EXPECT_TRUE(Names().empty());
    EXPECT_TRUE(WriteAt(file.Number(), 0, "abc", 3));
    std::string text(3, '\0');
    EXPECT_EQ(ReadAt(file.Number(), 0, text.data(), 3), 3U);
    EXPECT_EQ(text, "abc");
    ::setenv("TMPDIR", Path("none").c_str(), 1);
    EXPECT_FALSE(OpenTemporary().IsOpen());
    ::unsetenv("TMPDIR");
}

} // namespace
} // namespace vessa::test
