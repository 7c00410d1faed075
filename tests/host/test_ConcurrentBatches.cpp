// Batches by several workers, for the thread sanitizer; what each one gives is that of one worker.

#include "ProgramTest.h"

#include <algorithm>
#include <filesystem>

namespace vessa::test {
namespace {

/// A folder of pictures of many sizes and a graph with a branch, for each of which a file is written.
class ConcurrentBatches : public testing::Test {
protected:
    ConcurrentBatches() {
        for (const char* name : {"particles", "ring", "workpiece"}) {
            for (const char* copy : {"1", "2"}) {
                std::filesystem::copy_file(std::string(SAMPLES_DIRECTORY "/") + name + ".png",
                                           m_inputs / (std::string(name) + copy + ".png"));
            }
        }
        m_graph.Write("graph.json", R"({
            "inputs": {"in": {}, "patch": {"file": ")" SAMPLES_DIRECTORY R"(/ring.png"}},
            "nodes": {"crop": {"node": "Autocrop", "inputs": ["in"]},
                      "both": {"node": "Append", "inputs": ["crop", "patch"]}},
            "outputs": {"both": {"from": "both"}, "box": {"from": "crop.1"}}})");
    }

    StResult Run(const CTestFolder& outputs, const char* jobs) const {
        return RunHere({"pipeline", m_graph / "graph.json", "--input", "in=" + m_inputs.Path().string(), "--output",
                        "both=" + (outputs / "{stem}.tif"), "--output", "box=" + (outputs / "{stem}.json"), "--jobs",
                        jobs});
    }

    const CTestFolder m_inputs;
    const CTestFolder m_graph;
};

TEST_F(ConcurrentBatches, GiveWhatOneWorkerGives) {
    const CTestFolder alone;
    const CTestFolder together;
    EXPECT_EQ(Run(alone, "1").err.rfind("6 done, 0 failed, 0 up to date, ", 0), 0U);
    EXPECT_EQ(Run(together, "4").err.rfind("6 done, 0 failed, 0 up to date, ", 0), 0U);
    EXPECT_EQ(together.Files(), alone.Files());
    for (const auto& entry : std::filesystem::directory_iterator(alone.Path())) {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(TextOf(together / name) == TextOf(entry.path())) << name;
    }
}

TEST_F(ConcurrentBatches, TellOfEachFailure) {
    for (const char* name : {"a.png", "b.png", "c.png"}) {
        m_inputs.Write(name, "no picture");
    }
    const CTestFolder outputs;
    const StResult result = Run(outputs, "4");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 5) << result;
    EXPECT_NE(result.err.find("6 done, 3 failed, 0 up to date, "), std::string::npos) << result;
    EXPECT_NE(result.err.find("vessa: 3 of 9 files failed\n"), std::string::npos) << result;
}

} // namespace
} // namespace vessa::test
