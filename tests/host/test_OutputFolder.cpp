#include "OutputFolder.h"

#include "Errors.h"
#include "ProgramTest.h"

#include <functional>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

std::string FailureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const CFileError& failure) {
        return failure.what();
    }
    return "none";
}

void Make(const std::string& name, const std::vector<std::string>& files) {
    COutputFolder folder(name, "test");
    for (const std::string& file : files) {
        folder.Write(file, file + " is here");
    }
    folder.Commit();
}

TEST(OutputFolder, AppearsWhole) {
    const CTestFolder folder;
    {
        COutputFolder output(folder / "out", "test");
        output.Write("a/b.txt", "text");
        EXPECT_FALSE(fs::exists(folder / "out"));
        output.Commit();
    }
    EXPECT_EQ(folder.Files(), "out");
    EXPECT_EQ(TextOf(folder / "out/a/b.txt"), "text");
    EXPECT_EQ(TextOf(folder / "out/.vessa-test"), "a/b.txt\n");
}

TEST(OutputFolder, LeavesNothingWithoutCommit) {
    const CTestFolder folder;
    { COutputFolder(folder / "out", "test").Write("a.txt", "text"); }
    EXPECT_EQ(folder.Files(), "");
    Make(folder / "out", {"a.txt"});
    { COutputFolder(folder / "out", "test").Write("b.txt", "text"); }
    EXPECT_EQ(folder.Files(), "out");
    EXPECT_TRUE(fs::exists(folder / "out/a.txt"));
    EXPECT_FALSE(fs::exists(folder / "out/b.txt"));
}

TEST(OutputFolder, ReplacesItsLikeAsAWhole) {
    const CTestFolder folder;
    fs::create_directory(folder / "out");
    Make(folder / "out", {"a.txt", "sub/b.txt"});
    Make(folder / "out/", {"c.txt"});
    EXPECT_EQ(folder.Files(), "out");
    EXPECT_FALSE(fs::exists(folder / "out/a.txt"));
    EXPECT_FALSE(fs::exists(folder / "out/sub"));
    EXPECT_EQ(TextOf(folder / "out/c.txt"), "c.txt is here");
}

TEST(OutputFolder, RefusesForeignFiles) {
    const CTestFolder folder;
    Make(folder / "out", {"a.txt"});
    fs::create_directory(folder / "out/notes");
    folder.Write("out/notes/mine.txt", "mine");
    const std::string refusal = (folder / "out") +
                                ": can't be written: it holds 'notes/mine.txt', which wasn't written by this command: "
                                "name a new folder, an empty one, or one that it has written";
    EXPECT_EQ(FailureOf([&] { COutputFolder(folder / "out", "test"); }), refusal);
    EXPECT_EQ(TextOf(folder / "out/notes/mine.txt"), "mine");
    EXPECT_EQ(TextOf(folder / "out/a.txt"), "a.txt is here");
    EXPECT_EQ(folder.Files(), "out");
}

TEST(OutputFolder, RefusesForeignFilesThatComeLate) {
    const CTestFolder folder;
    COutputFolder output(folder / "out", "test");
    fs::create_directory(folder / "out");
    folder.Write("out/mine.txt", "mine");
    EXPECT_NE(FailureOf([&] { output.Commit(); }).find("it holds 'mine.txt'"), std::string::npos);
    EXPECT_EQ(TextOf(folder / "out/mine.txt"), "mine");
}

TEST(OutputFolder, AListOfAnotherKindCountsForNothing) {
    const CTestFolder folder;
    Make(folder / "out", {"a.txt"});
    EXPECT_NE(FailureOf([&] { COutputFolder(folder / "out", "other"); }).find("it holds '.vessa-test'"),
              std::string::npos);
}

TEST(OutputFolder, ALinkedFileIsForeign) {
    const CTestFolder folder;
    fs::create_directory(folder / "elsewhere");
    folder.Write("elsewhere/mine.txt", "mine");
    Make(folder / "out", {"a.txt"});
    fs::create_directory_symlink(folder / "elsewhere", folder / "out/link");
    EXPECT_NE(FailureOf([&] { COutputFolder(folder / "out", "test"); }).find("it holds 'link'"), std::string::npos);
    EXPECT_EQ(TextOf(folder / "elsewhere/mine.txt"), "mine");
}

TEST(OutputFolder, ALinkStaysAndItsFolderIsReplaced) {
    const CTestFolder folder;
    fs::create_directory(folder / "place");
    fs::create_directory_symlink(folder / "place", folder / "link");
    Make(folder / "link", {"a.txt"});
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(TextOf(folder / "place/a.txt"), "a.txt is here");
}

TEST(OutputFolder, RefusesWhatIsNoFolder) {
    const CTestFolder folder;
    folder.Write("file", "text");
    EXPECT_EQ(FailureOf([&] { COutputFolder(folder / "file", "test"); }),
              (folder / "file") + ": can't be written: it is no folder");
    EXPECT_EQ(FailureOf([&] { COutputFolder(folder / "absent/out", "test"); }),
              (folder / "absent/") + ": can't be written: No such file or directory");
    EXPECT_EQ(TextOf(folder / "file"), "text");
    EXPECT_EQ(folder.Files(), "file");
}

} // namespace
} // namespace vessa::test
