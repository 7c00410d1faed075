// What `pipeline` writes is on the disk before it has its name. This program's own `fdatasync` tells of it.

#include "ProgramTest.h"

#include <cerrno>
#include <filesystem>
#include <unistd.h>

namespace {

const std::filesystem::path* s_folder = nullptr; ///< of the outputs
int s_error = 0;                                 ///< what syncing fails with
int s_synced = 0;
int s_named = 0; ///< outputs that had their names when one was synced

} // namespace

extern "C" int fdatasync(int /*file*/) {
    ++s_synced;
    for (const auto& entry : std::filesystem::directory_iterator(*s_folder)) {
        s_named += entry.path().filename().string().starts_with('.') ? 0 : 1;
    }
    errno = s_error;
    return s_error == 0 ? 0 : -1;
}

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kPicture = SAMPLES_DIRECTORY "/particles.png";

class SyncedOutputs : public testing::Test {
protected:
    SyncedOutputs() {
        fs::create_directory(m_out);
        m_folder.Write("g.json", R"({"inputs": {"p": {}}, "nodes": {"n": {"node": "Flip", "inputs": ["p"]}},
                                     "outputs": {"a": "n", "b": "n"}})");
        s_folder = &m_out;
        s_error = 0;
        s_synced = 0;
        s_named = 0;
    }

    StResult RunPipeline(const std::vector<std::string>& options = {"--resume"}) const {
        std::vector<std::string> words{"pipeline", m_folder / "g.json",
                                       "-i",       "p=" + kPicture,
                                       "-o",       "a=" + (m_folder / "out/a.png"),
                                       "-o",       "b=" + (m_folder / "out/b.tif")};
        words.insert(words.end(), options.begin(), options.end());
        return RunHere(words);
    }

    CTestFolder m_folder;
    fs::path m_out = m_folder / "out";
};

TEST_F(SyncedOutputs, HaveNoNamesUntilAllAreOnTheDisk) {
    EXPECT_EQ(RunPipeline(), (StResult{0, "", ""}));
    EXPECT_EQ(s_synced, 2);
    EXPECT_EQ(s_named, 0);
    EXPECT_TRUE(fs::exists(m_out / "a.png") && fs::exists(m_out / "b.tif"));
}

TEST_F(SyncedOutputs, ThatTheDiskDoesNotTakeAreNotThere) {
    s_error = EIO;
    EXPECT_EQ(RunPipeline(),
              (StResult{1, "", "vessa: " + (m_folder / "out/a.png") + ": can't be written: Input/output error\n"}));
    EXPECT_TRUE(fs::is_empty(m_out));
}

TEST_F(SyncedOutputs, AreWrittenWhereTheFileSystemKnowsNoSuchThing) {
    s_error = EINVAL;
    EXPECT_EQ(RunPipeline(), (StResult{0, "", ""}));
    EXPECT_TRUE(fs::exists(m_out / "a.png"));
}

TEST_F(SyncedOutputs, AreThoseThatAreToBeTrustedOnly) {
    EXPECT_EQ(RunPipeline({}), (StResult{0, "", ""}));
    EXPECT_EQ(RunHere({"run", "Flip", "-i", kPicture, "-o", m_folder / "out/a.png"}), (StResult{0, "", ""}));
    EXPECT_EQ(s_synced, 0);
}

} // namespace
} // namespace vessa::test
