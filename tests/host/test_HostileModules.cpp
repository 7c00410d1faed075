// Plug-in libraries that break the rules: each is told of in one line, and the program goes on or ends in order.

#include "ProgramTest.h"

#include <filesystem>
#include <sys/stat.h>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kImage = SAMPLES_DIRECTORY "/particles.png";

StResult Failed(const std::string& message) { return {1, "", "vessa: " + message + "\n"}; }
StResult WrongUse(const std::string& message) { return {2, "", "vessa: " + message + "\n"}; }

/// A run of one of the hostile nodes, in a folder in which nothing may be left.
StResult RunHostile(const std::string& node, const std::vector<std::string>& more = {}) {
    const CTestFolder folder;
    std::vector<std::string> arguments{"run", node, "--plugin", HOSTILE_NODES, "-o", folder / "o.png"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    StResult result = RunHere(arguments);
    EXPECT_EQ(folder.Files(), "") << node;
    if (const std::size_t place = result.err.find(folder / ""); place != std::string::npos) {
        result.err.erase(place, (folder / "").size());
    }
    return result;
}

TEST(HostileModules, AFactoryThatRaisesIsNamed) {
    EXPECT_EQ(RunHostile("FactoryRaises"), Failed(HOSTILE_NODES ": FactoryRaises: (hostile) Factory: no luck"));
    EXPECT_EQ(RunHostile("FactoryRaisesStandard"), Failed(HOSTILE_NODES ": FactoryRaisesStandard: no luck at all"));
    EXPECT_EQ(RunHostile("FactoryRaisesNumber"),
              Failed(HOSTILE_NODES ": FactoryRaisesNumber: a failure of unknown kind"));
    EXPECT_EQ(RunHostile("FactoryGivesNull"), WrongUse(HOSTILE_NODES ": the plug-in 'FactoryGivesNull' is no node"));
}

TEST(HostileModules, ADescriptionThatRaisesIsNamed) {
    const std::string told = HOSTILE_NODES ": SetupRaises: a failure of unknown kind";
    EXPECT_EQ(RunHostile("SetupRaises"), Failed(told));
    EXPECT_EQ(RunHere({"describe", "SetupRaises", "--plugin", HOSTILE_NODES}), Failed(told));
    EXPECT_EQ(RunHere({"list", "--plugin", HOSTILE_NODES}), Failed(told)) << "the first one that the list comes to";
    const CTestFolder folder;
    folder.Write("g.json", R"({"nodes": {"n": {"node": "SetupRaises"}}, "outputs": {"o": "n"}})");
    EXPECT_EQ(RunHere({"pipeline", folder / "g.json", "--plugin", HOSTILE_NODES}),
              Failed((folder / "g.json") + ": nodes/n: node: " + told));
}

TEST(HostileModules, OtherNodesAreStillFound) {
    EXPECT_EQ(RunHere({"run", "Flip", "--plugin", HOSTILE_NODES, "-o", "o.png"}),
              Failed("Flip: (manipulation plugins) Flip: input image is NULL"));
    EXPECT_EQ(RunHere({"describe", "SetupEmty", "--plugin", HOSTILE_NODES}),
              WrongUse("unknown node 'SetupEmty', the nearest one is 'SetupEmpty'"));
}

TEST(HostileModules, ADescriptionMaySayNothing) {
    EXPECT_EQ(RunHere({"describe", "SetupEmpty", "--plugin", HOSTILE_NODES}).status, 0);
    EXPECT_EQ(RunHostile("SetupEmpty"), WrongUse("SetupEmpty: 1 output given, but the node has 0"));
    EXPECT_EQ(RunHere({"run", "SetupEmpty", "--plugin", HOSTILE_NODES}), (StResult{0, "", ""}));
}

TEST(HostileModules, ADescriptionOfWrongKindsIsReadAsFarAsItGoes) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"describe", "SetupOdd"}, {"describe", "SetupOdd", "--json"}, {"run", "SetupOdd", "--help"}}) {
        std::vector<std::string> words = arguments;
        words.insert(words.end(), {"--plugin", HOSTILE_NODES});
        const StResult result = RunHere(words);
        EXPECT_EQ(result.status, 0) << result;
        EXPECT_EQ(result.err, "");
        EXPECT_NE(result.out.find("number"), std::string::npos) << result;
    }
    EXPECT_EQ(RunHostile("SetupOdd"), Failed("SetupOdd: output 0: the node has left it empty, so that o.png is not "
                                             "written"));
    EXPECT_EQ(RunHostile("SetupOdd", {"--map", "1"}).status, 2);
    EXPECT_EQ(RunHostile("SetupOdd", {"--number", "2"}).status, 1);
    EXPECT_EQ(RunHostile("SetupOdd", {"-i", kImage}), WrongUse("SetupOdd: 1 input given, but the node has 0"));
}

/// A graph writes a '$' that a key begins with twice.
TEST(HostileModules, AGraphReachesParametersWithADollar) {
    const CTestFolder folder;
    const auto plan = [&](const std::string& entries) {
        folder.Write("g.json", R"({"nodes": {"n": {"node": "SetupOdd", )" + entries + R"(}}, "outputs": {"o": "n"}})");
        return RunHere({"pipeline", folder / "g.json", "-o", "o=o.png", "-n", "--plugin", HOSTILE_NODES});
    };
    const std::string place = (folder / "g.json") + ": nodes/n: ";
    EXPECT_EQ(plan(R"("parameters": {"$$cost": 2})"),
              (StResult{0, "run    n (SetupOdd) with $cost=2\nwrite  o.png from n\n", ""}));
    EXPECT_EQ(plan(R"("parameters": {"$$cost": "2"})"),
              WrongUse(place + "parameters/$$cost: a string, but the parameter is a long"));
    EXPECT_EQ(plan(R"("set": {"$$cost": 2})"),
              WrongUse(place + "set/$$cost: the key is declared, so that it belongs into 'parameters'"));
    EXPECT_EQ(plan(R"("parameters": {"$int:1": 2})").status, 2);
}

TEST(HostileModules, WhatANodeRaisesIsToldWithItsName) {
    EXPECT_EQ(RunHostile("InitRaises"), Failed("InitRaises: not in the mood"));
    EXPECT_EQ(RunHostile("RunRaisesNumber"), Failed("RunRaisesNumber: a failure of unknown kind"));
    EXPECT_EQ(RunHostile("RunRaisesText"), Failed("RunRaisesText: a failure of unknown kind"));
    EXPECT_EQ(RunHostile("RunRaisesStandard"), Failed("RunRaisesStandard: too far"));
    EXPECT_EQ(RunHostile("RunRaisesBadAlloc"), Failed("RunRaisesBadAlloc: the memory does not suffice"));
}

TEST(HostileModules, AnOutputOfAnotherKindIsRefused) {
    EXPECT_EQ(RunHostile("GivesNumber"),
              Failed("GivesNumber: o.png: an integer can't be written as png: an image can"));
    EXPECT_EQ(RunHostile("GivesMap"), Failed("GivesMap: o.png: a map can't be written as png: an image can"));
    EXPECT_EQ(RunHostile("GivesOtherPointer"),
              Failed("GivesOtherPointer: o.png: a pointer without an image can't be written as png: an image can"));
    EXPECT_EQ(RunHostile("GivesNoImage"),
              Failed("GivesNoImage: output 0: the node has left it empty, so that o.png is not written"));
    const std::vector<std::pair<const char*, const char*>> given{
        {"GivesNumber", "but is an integer"}, {"GivesMap", "but is a map"}, {"GivesOtherPointer", "but is a pointer"}};
    for (const auto& [node, what] : given) {
        const CTestFolder folder;
        const StResult result =
            RunHere({"run", node, "--plugin", HOSTILE_NODES, "then", "Flip", "-o", folder / "o.png"});
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(result.err.starts_with("vessa: Flip: ")) << result;
        EXPECT_TRUE(result.err.ends_with(std::string("the value must be a pointer to an image, ") + what + "\n"))
            << result;
    }
}

TEST(HostileModules, WhatIsNoLibraryIsRefusedWithItsName) {
    const CTestFolder folder;
    const auto refusal = [&](const std::string& name) {
        const StResult result = RunBuilt(folder.Path(), {"list", "--plugin", name});
        EXPECT_EQ(result.status, 1) << result;
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    folder.Write("empty.so", "");
    EXPECT_EQ(refusal("empty.so"),
              "vessa: empty.so: the plug-in library can't be loaded: ./empty.so: file too short\n");
    folder.Write("text.so", std::string(10000, 'x'));
    EXPECT_EQ(refusal("text.so"),
              "vessa: text.so: the plug-in library can't be loaded: ./text.so: invalid ELF header\n");
    ASSERT_EQ(::mkfifo((folder / "pipe.so").c_str(), 0600), 0);
    EXPECT_EQ(refusal("pipe.so"), "vessa: pipe.so: the plug-in library can't be loaded: it is no regular file\n");
    EXPECT_EQ(refusal("/dev/zero"), "vessa: /dev/zero: the plug-in library can't be loaded: it is no regular file\n");
    fs::create_symlink("loop.so", folder / "loop.so");
    EXPECT_EQ(refusal("loop.so"),
              "vessa: loop.so: there is no such plug-in library or folder: Too many levels of symbolic links\n");
    EXPECT_EQ(refusal("text.so/a.so"), "vessa: text.so/a.so: there is no such plug-in library or folder\n");
    fs::create_directory(folder / "d.so");
    EXPECT_EQ(RunBuilt(folder.Path(), {"list", "--plugin", "d.so"}).out, RunHere({"list"}).out) << "a folder of none";
}

TEST(HostileModules, AFolderOfWrecksHidesNothing) {
    const CTestFolder folder;
    fs::copy(TEST_NODES, folder / "nodes.so");
    folder.Write("a.so", std::string(10000, 'x'));
    ASSERT_EQ(::mkfifo((folder / "b.so").c_str(), 0600), 0);
    fs::create_directory(folder / "c.so");
    fs::create_symlink("d.so", folder / "d.so");
    const std::string variable = "VESSA_PLUGIN_PATH=" + folder.Path().string() + ":" + (folder / "d.so") + ":/dev/zero";
    const StResult result = RunBuilt(folder.Path(), {"describe", "Probe"}, {variable});
    EXPECT_EQ(result.status, 0) << result;
    EXPECT_EQ(result.err, "");
}

} // namespace
} // namespace vessa::test
