// How the files of the command line are spread over the runs of a graph.

#include "ProgramTest.h"

#include "Errors.h"
#include "Jobs.h"

#include <chrono>
#include <filesystem>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

/// A folder with files, and a graph with the inputs "mask" and "picture", and the outputs "cut" and "log".
class Jobs : public testing::Test {
protected:
    Jobs() {
        m_graph.AddInput("mask", {});
        m_graph.AddInput("picture", {});
        m_graph.outputs = {{"cut", 0, ""}, {"log", 1, ""}};
        for (const char* name : {"in", "masks", "out"}) {
            fs::create_directory(m_folder / name);
        }
        for (const char* name : {"in/b.png", "in/a.tif", "in/c.npy", "in/.hidden.png", "in/notes.txt", "masks/a.png",
                                 "masks/b.png", "masks/c.png", "one.png"}) {
            m_folder.Write(name, "");
        }
        fs::create_directory(m_folder / "in/folder.png");
    }

    std::string In(const std::string& name) const { return m_folder / name; }

    std::vector<StJob> Plan(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs) const {
        return PlanJobs(m_graph, inputs, outputs);
    }

    void ExpectRefused(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs,
                       const std::string& message) const {
        try {
            Plan(inputs, outputs);
            ADD_FAILURE() << "not refused: " << message;
        } catch (const CUseError& failure) {
            EXPECT_EQ(failure.what(), message);
        }
    }

    CTestFolder m_folder;
    StGraph m_graph;
};

TEST_F(Jobs, OneFileForEachInputIsOneJob) {
    const auto jobs = Plan({"picture=" + In("one.png"), "mask=m.png@IMAGE_BINARY_BG"}, {"cut=c.png", "log=none"});
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0].files.inputs,
              (std::vector<StInputFile>{{"m.png", QUOR::IMAGE_BINARY_BG}, {In("one.png"), std::nullopt}}));
    EXPECT_EQ(jobs[0].files.outputs, (std::vector<std::string>{"c.png", ""}));
}

TEST_F(Jobs, AFolderIsAJobForEachFileThatCanBeRead) {
    const auto jobs = Plan({"picture=" + In("in"), "mask=none"}, {"cut=x/{stem}-{stem}.png", "log=none"});
    ASSERT_EQ(jobs.size(), 3U);
    EXPECT_EQ(jobs[0].name, In("in/a.tif"));
    EXPECT_EQ(jobs[0].files.inputs[0], StInputFile());
    EXPECT_EQ(jobs[0].files.inputs[1].file, In("in/a.tif"));
    EXPECT_EQ(jobs[0].files.outputs[0], "x/a-a.png");
    EXPECT_EQ(jobs[1].files.outputs[0], "x/b-b.png");
    EXPECT_EQ(jobs[2].files.outputs[0], "x/c-c.png");
}

TEST_F(Jobs, PatternsAndSeveralFilesAreJobs) {
    const auto jobs =
        Plan({"picture=" + In("in/[ab].*"), "picture=" + In("one.png"), "mask=m.png"}, {"cut={stem}.png", "log=none"});
    ASSERT_EQ(jobs.size(), 3U);
    EXPECT_EQ(jobs[0].name, In("in/a.tif"));
    EXPECT_EQ(jobs[1].name, In("in/b.png"));
    EXPECT_EQ(jobs[2].name, In("one.png"));
    for (const StJob& job : jobs) {
        EXPECT_EQ(job.files.inputs[0].file, "m.png");
    }
}

TEST_F(Jobs, AFileWithTheLettersOfAPatternIsAFile) {
    m_folder.Write("x[1].png", "");
    const auto jobs = Plan({"picture=" + In("x[1].png"), "mask=none"}, {"cut=c.png", "log=none"});
    ASSERT_EQ(jobs.size(), 1U);
    EXPECT_EQ(jobs[0].files.inputs[1].file, In("x[1].png"));
}

TEST_F(Jobs, InputsWithManyFilesArePutTogetherByTheirStems) {
    const auto jobs = Plan({"mask=" + In("masks") + "@IMAGE_BINARY_FG", "picture=" + In("in")},
                           {"cut={stem}.png", "log={stem}.json"});
    ASSERT_EQ(jobs.size(), 3U);
    EXPECT_EQ(jobs[1].files.inputs,
              (std::vector<StInputFile>{{In("masks/b.png"), QUOR::IMAGE_BINARY_FG}, {In("in/b.png"), std::nullopt}}));
    EXPECT_EQ(jobs[1].files.outputs, (std::vector<std::string>{"b.png", "b.json"}));
}

TEST_F(Jobs, StemsMustMatch) {
    m_folder.Write("masks/d.png", "");
    ExpectRefused({"mask=" + In("masks"), "picture=" + In("in")}, {"cut={stem}.png", "log=none"},
                  In("masks/d.png") + ": the input 'picture' has no file of this stem, 'd'");
    ExpectRefused({"mask=none", "picture=" + In("in"), "picture=" + In("masks/a.png")}, {"cut={stem}.png", "log=none"},
                  In("in/a.tif") + " and " + In("masks/a.png") +
                      " have one stem, 'a': what is made of them can't be told apart");
}

TEST_F(Jobs, TheStemOfASingleFile) {
    m_graph.inputs[0].file.file = "own.png";
    EXPECT_EQ(Plan({"picture=" + In("one.png")}, {"cut={stem}-cut.png", "log=none"})[0].files.outputs[0],
              "one-cut.png");
    EXPECT_EQ(Plan({"picture=none"}, {"cut={stem}.png", "log=none"})[0].files.outputs[0], "own.png");
    ExpectRefused({"picture=a.png", "mask=b.png"}, {"cut={stem}.png", "log=none"},
                  "{stem}.png: '{stem}' stands for the name of one file, and there are several or none");
}

TEST_F(Jobs, TheGraphsOwnFilesServeWhereNoneIsNamed) {
    m_graph.inputs[0].file = {"own.png", QUOR::IMAGE_BINARY_FG};
    m_graph.outputs[1].file = "own.json";
    const auto jobs = Plan({"picture=p.png"}, {"cut=c.png"});
    EXPECT_EQ(jobs[0].files.inputs[0], (StInputFile{"own.png", QUOR::IMAGE_BINARY_FG}));
    EXPECT_EQ(jobs[0].files.outputs[1], "own.json");
    EXPECT_EQ(Plan({"picture=p.png", "mask=m.png"}, {"cut=c.png"})[0].files.inputs[0].file, "m.png");
}

TEST_F(Jobs, NamesAreChecked) {
    ExpectRefused({"pictur=a.png"}, {},
                  "--input pictur=a.png: the graph has no input 'pictur', the nearest one is 'picture'");
    for (const char* text : {"picture", "=a.png", "picture="}) {
        ExpectRefused({text}, {}, std::string("--input ") + text + ": '" + text + "' is not of the form NAME=FILE");
    }
    ExpectRefused({"picture=a.png@IMAGE_X"}, {},
                  "--input picture=a.png@IMAGE_X: unknown element type 'IMAGE_X', the nearest one is 'IMAGE_RGB_8'");
    ExpectRefused({"picture=a.png"}, {}, "the input 'mask' has no file: --input mask=FILE names one");
    const std::vector<std::string> both{"picture=a.png", "mask=none"};
    ExpectRefused(both, {"cut=c.png"}, "the output 'log' has no file: --output log=FILE names one, 'none' drops it");
    ExpectRefused(both, {"ct=c.png"}, "--output ct=c.png: the graph has no output 'ct', the nearest one is 'cut'");
    ExpectRefused(both, {"cut=c.png", "cut=d.png"}, "--output cut=d.png: the output is named twice");
    ExpectRefused(both, {"cut=none", "log=none"}, "every output is dropped");
}

TEST_F(Jobs, FoldersAndPatternsWithoutFilesAreRefused) {
    ExpectRefused({"picture=" + In("out")}, {},
                  "--input picture=" + In("out") + ": " + In("out") + ": the folder holds no image and no map");
    ExpectRefused({"picture=" + In("*.bmp")}, {},
                  "--input picture=" + In("*.bmp") + ": " + In("*.bmp") + ": no file has such a name");
    try {
        Plan({"picture=" + In("absent")}, {});
        ADD_FAILURE() << "a folder that isn't there is taken";
    } catch (const CWorkError& failure) {
        EXPECT_EQ(failure.what(), "--input picture=" + In("absent") + ": " + In("absent") +
                                      ": can't be read: No such file or directory");
    }
}

TEST_F(Jobs, LinksInAFolderThatLeadNowhereAreJobsThatFail) {
    fs::create_directory(m_folder / "links");
    fs::create_symlink("absent.png", m_folder / "links/a.png");
    fs::create_symlink("b.png", m_folder / "links/b.png");
    fs::create_symlink("../one.png", m_folder / "links/c.png");
    fs::create_symlink("..", m_folder / "links/d.png");
    const auto jobs = Plan({"picture=" + In("links"), "mask=none"}, {"cut={stem}.png", "log=none"});
    ASSERT_EQ(jobs.size(), 3U);
    EXPECT_EQ(jobs[0].name, In("links/a.png"));
    EXPECT_EQ(jobs[1].name, In("links/b.png"));
    EXPECT_EQ(jobs[2].name, In("links/c.png"));
}

TEST_F(Jobs, SeveralJobsKeepApart) {
    const std::vector<std::string> inputs{"picture=" + In("in"), "mask=none"};
    ExpectRefused(inputs, {"cut=c.png", "log=none"}, "c.png: the outputs of several files need names with '{stem}'");
    ExpectRefused(inputs, {"cut=" + In("in/{stem}.png"), "log=none"},
                  In("in/b.png") + ": the output would replace an input");
    ExpectRefused(inputs, {"cut=" + In("out/../in/./{stem}.png"), "log=none"},
                  In("out/../in/./b.png") + ": the output would replace an input");
    m_folder.Write("in/a_log.png", "");
    ExpectRefused(inputs, {"cut=out/{stem}.png", "log=out/./{stem}_log.png"},
                  "out/a_log.png: two outputs can't go to one file");
    ExpectRefused({"picture=" + In("in"), "mask=-"}, {"cut={stem}.png", "log=none"},
                  "standard input can't be read for several files");
}

TEST_F(Jobs, AJobIsUpToDateIfAllOutputsAreNewer) {
    const auto at = [](int seconds) { return fs::file_time_type(std::chrono::seconds(seconds)); };
    StJob job{"", {{{In("one.png"), std::nullopt}, {}}, {In("out/1.png"), "", In("out/2.png")}}};
    m_folder.Write("g.json", "");
    m_folder.Write("out/1.png", "");
    fs::last_write_time(In("g.json"), at(100));
    fs::last_write_time(In("one.png"), at(200));
    fs::last_write_time(In("out/1.png"), at(300));
    EXPECT_FALSE(IsUpToDate(job, In("g.json"))) << "an output isn't there";
    m_folder.Write("out/2.png", "");
    fs::last_write_time(In("out/2.png"), at(201));
    EXPECT_TRUE(IsUpToDate(job, In("g.json")));
    fs::last_write_time(In("out/2.png"), at(200));
    EXPECT_FALSE(IsUpToDate(job, In("g.json"))) << "as old as the input";
    fs::last_write_time(In("out/2.png"), at(250));
    fs::last_write_time(In("g.json"), at(251));
    EXPECT_FALSE(IsUpToDate(job, In("g.json"))) << "older than the graph";
    fs::last_write_time(In("g.json"), at(100));
    fs::remove(In("one.png"));
    EXPECT_FALSE(IsUpToDate(job, In("g.json"))) << "the run will tell that the input isn't there";
}

} // namespace
} // namespace vessa::test
