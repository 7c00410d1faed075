// The built program, from its start to its exit status.

#include "Examples.h"
#include "Modules.h"
#include "ProgramTest.h"

#include <filesystem>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const fs::path kBuildTree = fs::path(VESSA_PROGRAM).parent_path().parent_path();

TEST(Vessa, HasAVersion) {
    const CTestFolder folder;
    EXPECT_EQ(RunBuilt(folder.Path(), {"--version"}), (StResult{0, "vessa 1.0.0\n", ""}));
}

TEST(Vessa, FindsItsModuleFromAnyFolder) {
    const CTestFolder folder;
    const StResult result = RunBuilt(folder.Path(), {"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.find("manipulation:\n  Flip "), 0U) << result.out;
}

TEST(Vessa, FindsItsModuleThroughALink) {
    const CTestFolder folder;
    fs::create_symlink(VESSA_PROGRAM, folder / "link");
    const std::string line = (folder / "link") + " describe Flip > " + (folder / "out");
    EXPECT_EQ(std::system(line.c_str()), 0);
    EXPECT_EQ(TextOf(folder / "out").find("Flip: "), 0U);
}

TEST(Vessa, ExitStatusTellsDoneFailedAndWrongUse) {
    const CTestFolder folder;
    const std::string image = SAMPLES_DIRECTORY "/particles.png";
    EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", image, "-o", "out.png", "--flip_x"}),
              (StResult{0, "", ""}));
    EXPECT_EQ(folder.Files(), "out.png");
    EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-o", "other.png"}),
              (StResult{1, "", "vessa: Flip: (manipulation plugins) Flip: input image is NULL\n"}));
    EXPECT_EQ(RunBuilt(folder.Path(), {"run", "Flip", "-i", image, "-o", "other.png", "--flip_w"}),
              (StResult{2, "", "vessa: Flip: unknown option '--flip_w', the nearest one is '--flip_x'\n"}));
    EXPECT_EQ(folder.Files(), "out.png");
}

TEST(Vessa, WhatANodePrintsGoesToStandardOutput) {
    const CTestFolder folder;
    const StResult result =
        RunBuilt(folder.Path(), {"run", "Probe", "--plugin", TEST_NODES, "-i", SAMPLES_DIRECTORY "/particles.png", "-o",
                                 "out.png", "--offset_x", "-5", "--set", "run_once=true"});
    EXPECT_EQ(result, (StResult{0,
                                "mode=string:ONE\noffset_x=long:-5\nratio=double:0.5\nrun_once=bool:true\n"
                                "set=long:7\nslice-wise=bool:true\ntitle=string:\n",
                                ""}));
}

TEST(Vessa, TheEnvironmentNamesFurtherPlugins) {
    const CTestFolder folder;
    fs::copy(TEST_NODES, folder / "nodes.so");
    const std::string list = "/absent:" TEST_FEATURE ":" + folder.Path().string();
    const StResult result = RunBuilt(folder.Path(), {"list"}, {"VESSA_PLUGIN_PATH=" + list});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.find("nodes:\n  Probe "), 0U) << result.out;
    EXPECT_NE(result.out.find("\nmanipulation:\n"), std::string::npos);
}

TEST(Vessa, NamesItsPrefixUnlessOneIsSet) {
    const CTestFolder folder;
    const std::string page = "/doc/nodeka/html/manipulation/PFlip/index.html\n";
    const auto pageWith = [&](const std::vector<std::string>& variables) {
        const StResult result = RunBuilt(folder.Path(), {"describe", "Flip"}, variables);
        const std::size_t heading = result.out.find("Page:\n  ");
        return heading == std::string::npos ? result.out : result.out.substr(heading + 8);
    };
    EXPECT_EQ(pageWith({}), kBuildTree.string() + page);
    EXPECT_EQ(pageWith({"QUORDIR=/elsewhere"}), "/elsewhere" + page);
}

TEST(Vessa, TheBuildTreeHasThePlacesOfAnInstalledTree) {
    EXPECT_TRUE(fs::equivalent(kBuildTree / "lib/vessa/plugins", kBuildTree / "plugins"));
    EXPECT_TRUE(fs::exists(kBuildTree / "lib/vessa/plugins/manipulation.so"));
}

TEST(Vessa, AnInstalledTreeWorksWhereverItStands) {
    const CTestFolder prefix;
    fs::create_directories(prefix / "bin");
    fs::copy(VESSA_PROGRAM, prefix / "bin/vessa");
    const StPlaces places = PlacesBeside(prefix.Path() / "bin");
    EXPECT_EQ(places.prefix, prefix.Path());
    fs::create_directories(places.plugins);
    fs::copy(MANIPULATION_MODULE, places.plugins);
    const std::string line = (prefix / "bin/vessa") + " list --json > " + (prefix / "out");
    EXPECT_EQ(std::system(line.c_str()), 0);
    const std::string file = (places.plugins / fs::path(MANIPULATION_MODULE).filename()).string();
    EXPECT_NE(TextOf(prefix / "out").find("\"file\": \"" + file + "\""), std::string::npos) << TextOf(prefix / "out");
}

/// The description of the test plug-in's node on a terminal.
StResult DescribeOnTerminal(const std::vector<std::string>& variables) {
    return RunOnTerminal({"describe", "Probe", "--plugin", TEST_NODES}, variables);
}

TEST(Vessa, ATerminalGetsBoldHeadingsAndColouredNames) {
    const StResult result = DescribeOnTerminal({"TERM=xterm"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(
        result.out.find("\033[1mProbe\033[0m: Tells what it was given.\nmodule TestNodes, Image/Test\n\n"
                        "\033[1mDescription:\033[0m\n  Prints its parameters, in the order k_1 < k_2 of their keys, "
                        "and hands its\n  first input on.\n"),
        0U)
        << result.out;
    EXPECT_NE(result.out.find("\n\033[1mParameters:\033[0m\n  \033[36m--slice-wise=false\033[0m\n      bool, default "
                              "true\n  \033[36m--offset_x NUMBER\033[0m\n      long, default 0\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("\n  \033[36m1 map, optional\033[0m\n      The map.\n"), std::string::npos);
    const StResult help = RunOnTerminal({"run", "Probe", "--help", "--plugin", TEST_NODES}, {"TERM=xterm"});
    EXPECT_NE(help.out.find("\n\033[1mInputs:\033[0m\n  \033[36m0 image\033[0m\n"), std::string::npos) << help.out;
}

TEST(Vessa, OtherReadersGetPlainText) {
    const StResult plain = RunHere({"describe", "Probe", "--plugin", TEST_NODES});
    EXPECT_EQ(plain.out.find('\033'), std::string::npos);
    const std::string prefix = "QUORDIR=%QUORDIR%"; // as in this process, where none is set
    EXPECT_EQ(DescribeOnTerminal({prefix, "TERM=xterm", "NO_COLOR=1"}), plain);
    EXPECT_EQ(DescribeOnTerminal({prefix, "TERM=dumb"}), plain);
    EXPECT_EQ(DescribeOnTerminal({prefix}), plain);
    EXPECT_NE(DescribeOnTerminal({"TERM=xterm", "NO_COLOR="}).out.find('\033'), std::string::npos);
    EXPECT_EQ(RunOnTerminal({"describe", "Probe", "--json", "--plugin", TEST_NODES}, {"TERM=xterm"}).out.find('\033'),
              std::string::npos);
}

TEST(Vessa, ResultsThatCannotBeWrittenAreAFailure) {
    const std::string line = VESSA_PROGRAM " list > /dev/full 2> /dev/null";
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST(Vessa, TheExampleOfEveryNodeRunsOnTheSamples) {
    const fs::path before = fs::current_path();
    std::ostringstream talk;
    const StPlaces places = PlacesBeside(fs::path(VESSA_PROGRAM).parent_path());
    for (const CModules::StModule& module : CModules(places, {}, talk).All()) {
        for (const StNodeDescription& node : module.nodes) {
            const CTestFolder folder;
            fs::current_path(folder.Path()); // where the outputs go
            const std::string line = Example(places, node);
            fs::current_path(before);
            EXPECT_NE(line.find(SAMPLES_DIRECTORY "/"), std::string::npos) << node.name << " has no example";
            const std::string program = fs::path(VESSA_PROGRAM).parent_path().string();
            const std::string command = "cd " + folder.Path().string() + " && PATH=" + program + ":$PATH " + line;
            EXPECT_EQ(std::system(command.c_str()), 0) << line;
            EXPECT_NE(folder.Files(), "") << line << " writes nothing";
        }
    }
}

TEST(Vessa, HelpShowsTheExampleAsItRunsFromHere) {
    const fs::path root = fs::path(SAMPLES_DIRECTORY).parent_path();
    const std::string atRoot = RunBuilt(root, {"run", "Flip", "--help"}).out;
    EXPECT_NE(atRoot.find("\nExample:\n  vessa run Flip -i samples/"), std::string::npos) << atRoot;
    const CTestFolder folder;
    const std::string elsewhere = RunBuilt(folder.Path(), {"run", "Flip", "--help"}).out;
    EXPECT_NE(elsewhere.find("\nExample:\n  vessa run Flip -i " SAMPLES_DIRECTORY "/"), std::string::npos) << elsewhere;
}

} // namespace
} // namespace vessa::test
