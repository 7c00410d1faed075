// Every allocation of the program fails in turn while it runs a chain, a graph and a batch.

#include "FailingMemory.h"
#include "FixedOutput.h"
#include "ProgramTest.h"

#include "NodeTest.h"
#include "Program.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace vessa::test {
namespace {

using QUOR::test::CFixedOutput;
using QUOR::test::InFailingMemory;
using QUOR::test::StFailing;
using QUOR::test::StOutcome;
using QUOR::test::WithEachAllocationFailing;

/// The program in this process, which takes no memory for what it prints.
class CProgram {
public:
    explicit CProgram(std::vector<std::string> arguments)
        : m_arguments(std::move(arguments)),
          m_places(PlacesBeside(std::filesystem::path(VESSA_PROGRAM).parent_path())), m_context{std::cout, std::cerr,
                                                                                                80, m_places} {}

    /// The exit status.
    int Run() {
        m_out.Clear();
        m_err.Clear();
        return RunProgram(m_context, m_arguments);
    }
    std::string Out() const { return m_out.Text(); }
    std::string Err() const { return m_err.Text(); }

private:
    const std::vector<std::string> m_arguments;
    const StPlaces m_places;
    const StContext m_context;
    CFixedOutput m_out{std::cout};
    CFixedOutput m_err{std::cerr};
};

class ProgramShortOfMemory : public testing::Test {
protected:
    using Files = std::map<std::string, std::string>; ///< contents by names

    Files Left() const {
        Files files;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            files[entry.path().filename().string()] = TextOf(entry.path());
        }
        return files;
    }

    void Empty() const {
        for (const auto& [name, content] : Left()) {
            std::filesystem::remove(m_folder / name);
        }
    }

    /// Runs the program with every allocation failing in turn. `check` is given what it says, and what it leaves if it
    /// fails and if it doesn't; it does its work or says that it has failed.
    template <class Check> void RunWithEachAllocationFailing(const std::vector<std::string>& arguments, Check check) {
        CProgram program(arguments);
        ASSERT_EQ(program.Run(), 0) << program.Err();
        const Files whole = Left();
        const std::size_t failures = WithEachAllocationFailing([&](const StFailing& failing) {
            Empty();
            int status = -1;
            const StOutcome outcome = InFailingMemory(failing, [&] { status = program.Run(); });
            EXPECT_FALSE(outcome.hasRaised);
            EXPECT_TRUE(status == 0 || status == 1) << status;
            EXPECT_EQ(program.Out(), "");
            if (status == 0) {
                EXPECT_TRUE(Left() == whole);
            } else {
                check(program.Err(), Left(), whole);
            }
            return outcome.failures;
        });
        EXPECT_GT(failures, 1000U);
        RecordProperty("failures", static_cast<int>(failures));
    }

    /// Work on one file: a failure is told in one line, and nothing is left.
    static void ExpectNothing(const std::string& text, const Files& left, const Files& /*whole*/) {
        EXPECT_EQ(text.rfind("vessa: ", 0), 0U) << text;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
        EXPECT_EQ(left, Files());
    }

    /// Work on many: those that didn't fail are whole.
    static void ExpectWholeFiles(const std::string& text, const Files& left, const Files& whole) {
        EXPECT_NE(text.find("vessa: "), std::string::npos) << text;
        EXPECT_EQ(text.back(), '\n');
        for (const auto& [name, content] : left) {
            EXPECT_TRUE(whole.contains(name) && whole.at(name) == content) << name;
        }
    }

    const CTestFolder m_folder;
};

TEST_F(ProgramShortOfMemory, AChainDoesItsWorkOrLeavesNothing) {
    RunWithEachAllocationFailing({"run", "Autocrop", "-i", SAMPLES_DIRECTORY "/ring.png", "-o", m_folder / "cut.tif",
                                  "-o", m_folder / "box.json", "then", "Rotate", "--angle", "30", "-o",
                                  m_folder / "turned.png"},
                                 &ExpectNothing);
}

TEST_F(ProgramShortOfMemory, AGraphDoesItsWorkOrLeavesNothing) {
    RunWithEachAllocationFailing({"pipeline", EXAMPLES_DIRECTORY "/graphs/cut.json", "--output",
                                  "picture=" + (m_folder / "picture.png"), "--output",
                                  "mask=" + (m_folder / "mask.npy"), "--output", "box=" + (m_folder / "box.json")},
                                 &ExpectNothing);
}

TEST_F(ProgramShortOfMemory, ABatchLeavesWholeFilesOnly) {
    const CTestFolder inputs;
    for (const char* name : {"a.tif", "b.tif"}) {
        std::filesystem::copy_file(SAMPLES_DIRECTORY "/labels.tif", inputs / name);
    }
    inputs.Write("graph.json", R"({"inputs": {"in": {}}, "nodes": {"flip": {"node": "Flip", "inputs": ["in"]}},
                                   "outputs": {"out": {"from": "flip"}}})");
    RunWithEachAllocationFailing({"pipeline", inputs / "graph.json", "--input",
                                  "in=" + inputs.Path().string() + "/*.tif", "--output",
                                  "out=" + (m_folder / "{stem}.npy"), "--jobs", "2"},
                                 &ExpectWholeFiles);
}

} // namespace
} // namespace vessa::test
