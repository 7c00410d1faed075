// What the shells offer while a command line is typed: by the program's own words, and in each shell.

#include "ProgramTest.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

/// What the program offers in the place of the last word.
std::string Offered(std::vector<std::string> words) {
    words.insert(words.begin(), {"complete", "--"});
    const StResult result = RunHere(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
}

/// The same for a run of the test plug-in's node "Probe".
std::string OfferedForProbe(std::vector<std::string> words) {
    words.insert(words.begin(), {"run", "Probe", "--plugin", TEST_NODES});
    return Offered(words);
}

const std::string kHelp = "--help\tShow this help and end\n";
const std::string kPlugin = "--plugin\tPlug-in library or folder of them to look into first\n";

TEST(Completion, OffersCommandsAndTheProgramsOptions) {
    EXPECT_EQ(Offered({"des"}), "describe\tTell all that a node says of itself\n");
    EXPECT_EQ(Offered({"-"}), kHelp + "--version\tShow the version and end\n");
    EXPECT_EQ(Offered({""}).find("list\tList the nodes\n"), 0U);
    EXPECT_EQ(Offered({}), Offered({""}));
    EXPECT_EQ(Offered({"--version", "des"}), Offered({"des"}));
}

TEST(Completion, IsNoCommandForPeople) {
    EXPECT_EQ(Offered({"compl"}), "");
    EXPECT_EQ(RunHere({"--help"}).out.find("complete"), std::string::npos);
    EXPECT_EQ(RunHere({"complete"}).status, 2);
}

TEST(Completion, OffersNodes) {
    EXPECT_EQ(Offered({"run", "Fl"}), "Flip\tFlips/reflects an image in the specified axis directions.\n");
    EXPECT_EQ(Offered({"describe", "Fl"}), Offered({"run", "Fl"}));
    EXPECT_EQ(Offered({"run", "Pro"}), "");
    EXPECT_EQ(Offered({"run", "--plugin", TEST_NODES, "Pro"}), "Probe\tTells what it was given.\n");
    EXPECT_EQ(Offered({"run", "--plugin=" TEST_NODES, "Pro"}), "Probe\tTells what it was given.\n");
}

TEST(Completion, OffersOptionsWhereNothingElseMayStand) {
    EXPECT_EQ(Offered({"list", ""}), kHelp + kPlugin + "--json\tWrite the list as JSON\n");
    EXPECT_EQ(Offered({"describe", "Flip", "--j"}), "--json\tWrite the description as JSON\n");
    EXPECT_EQ(Offered({"describe", "-"}), kHelp + kPlugin + "--json\tWrite the description as JSON\n");
    EXPECT_EQ(Offered({"list", "--json", ""}), kHelp + kPlugin); // once is enough
    EXPECT_EQ(Offered({"list", "--plugin", "x", "--p"}), kPlugin);
    EXPECT_EQ(Offered({"list", "--", "-"}), "");
}

TEST(Completion, OffersTheNodesOwnOptions) {
    EXPECT_EQ(OfferedForProbe({"--offs"}), "--offset_x\tmoves by offset_x elements. By default it is set to 0.\n");
    EXPECT_EQ(OfferedForProbe({"--offset_x", "3", "--offs"}), "");
    EXPECT_EQ(OfferedForProbe({"--mod"}), "--mode\t\n");
    EXPECT_EQ(OfferedForProbe({"--set", ""}), "set=\t\nfurther=\tis not declared.\n");
}

TEST(Completion, OffersValues) {
    EXPECT_EQ(OfferedForProbe({"--mode", "T"}), "TWO\t\nTHREE\t\n");
    EXPECT_EQ(OfferedForProbe({"--mode="}), "--mode=ONE\t\n--mode=TWO\t\n--mode=THREE\t\n");
    EXPECT_EQ(OfferedForProbe({"--slice-wise="}), "--slice-wise=true\t\n--slice-wise=false\t\n");
    EXPECT_EQ(OfferedForProbe({"--slice-wise", "tr"}), ""); // a switch, which has no value behind it
    EXPECT_EQ(OfferedForProbe({"--offset_x", ""}), "");
    EXPECT_EQ(OfferedForProbe({"--title", ""}), "\tfiles\t*\t\n");
}

TEST(Completion, OffersFiles) {
    const std::string files = "\tfiles\tpng|tif|tiff|npy|json\t";
    EXPECT_EQ(Offered({"run", "Flip", "-i", ""}), "none\tno file\n" + files + "\n");
    EXPECT_EQ(Offered({"run", "Flip", "-i", "a", "-o", "pic"}), files + "\n");
    EXPECT_EQ(Offered({"run", "Flip", "--input=pic"}), files + "--input=\n");
    EXPECT_EQ(Offered({"run", "Flip", "--input=a.png@IMAGE_R"}), files + "--input=\n--input=a.png@IMAGE_RGB_8\t\n");
    EXPECT_EQ(Offered({"run", "Flip", "-o", "a.png@IMAGE_R"}), files + "\n");
    EXPECT_EQ(Offered({"list", "--plugin", ""}), "\tfiles\tso\t\n");
}

TEST(Completion, OffersWhatBelongsToTheLastNodeOfAChain) {
    EXPECT_EQ(Offered({"run", "Flip", "th"}), "then\tPass the result on to another node\n");
    EXPECT_EQ(Offered({"run", "Flip", "then", "Fl"}), Offered({"run", "Fl"}));
    EXPECT_EQ(Offered({"run", "Flip", "then", "th"}), "");
    EXPECT_EQ(Offered({"run", "Flip", "then", "Border", "--fl"}), "");
    EXPECT_EQ(Offered({"run", "Border", "--border", "3", "then", "Replicate", "--along", ""}), "X\t\nY\t\nZ\t\n");
    EXPECT_EQ(Offered({"run", "Flip", "--format", "n"}), "npy\t\n");
}

TEST(Completion, OffersTheInputsAndOutputsOfAGraph) {
    const CTestFolder folder;
    folder.Write("graph.json", R"({"inputs": {"picture": {}},
                                   "nodes": {"flip": {"node": "Flip", "inputs": ["picture"]}},
                                   "outputs": {"mirrored": {"from": "flip"}}})");
    const std::string graph = folder / "graph.json";
    const std::string files = "\tfiles\tpng|tif|tiff|npy|json\t";
    EXPECT_EQ(Offered({"pipeline", ""}), "\tfiles\tjson\t\n");
    EXPECT_EQ(Offered({"pipeline", graph, "-i", ""}), "picture=\t\n");
    EXPECT_EQ(Offered({"pipeline", graph, "-o", ""}), "mirrored=\t\n");
    EXPECT_EQ(Offered({"pipeline", graph, "-i", "picture=a"}), files + "picture=\n");
    EXPECT_EQ(Offered({"pipeline", graph, "--output=mirrored=a"}), files + "--output=mirrored=\n");
    EXPECT_EQ(Offered({"pipeline", folder / "absent.json", "-i", ""}), "");
}

TEST(Completion, IsSilentAboutWhatIsWrong) {
    EXPECT_EQ(Offered({"lst", ""}), "");
    EXPECT_EQ(Offered({"run", "Flup", "--"}), "");
    EXPECT_EQ(Offered({"run", "--plugin", "/absent", "Fl"}), "");
    EXPECT_EQ(Offered({"run", "Flip", "--flip_w", "x", "-", "--flip_"}).find("--flip_x\t"), 0U);
}

/// The offers of a shell at the end of `line`, sorted, with blanks between them, in a folder with some files.
std::string OfferedBy(const std::string& shell, const std::string& line,
                      const fs::path& programs = fs::path(VESSA_PROGRAM).parent_path()) {
    const CTestFolder folder;
    for (const char* file : {"picture.png", "PAINTING.TIF", "pen.txt", "my.so"}) {
        folder.Write(file, "");
    }
    fs::create_directory(folder.Path() / "photos");
    const CTestFolder home;
    const std::map<std::string, std::string> starts{
        {"bash", "bash --norc"}, {"fish", "fish --no-config"}, {"zsh", "zsh -f"}};
    const std::string driver = COMPLETION_DRIVERS "/offers." + shell;
    const std::string script = COMPLETION_SCRIPTS "/vessa." + shell;
    const std::string command = "cd " + folder.Path().string() +
                                " && env -u VESSA_PLUGIN_PATH HOME=" + home.Path().string() +
                                " PATH=" + programs.string() + ":/usr/bin:/bin " + starts.at(shell) + " " + driver +
                                " " + script + " '" + line + "' > " + (home / "out") + " 2>&1 < /dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::istringstream stream(TextOf(home / "out"));
    std::vector<std::string> offers;
    for (std::string offer; std::getline(stream, offer);) {
        offers.push_back(offer);
    }
    std::sort(offers.begin(), offers.end());
    std::string joined;
    for (const std::string& offer : offers) {
        joined += (joined.empty() ? "" : " ") + offer;
    }
    return joined;
}

class CompletionIn : public testing::TestWithParam<const char*> {};

TEST_P(CompletionIn, CompletesCommandsNodesOptionsAndValues) {
    EXPECT_EQ(OfferedBy(GetParam(), "vessa descr"), "describe");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Fl"), "Flip");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Flip --flip_x --fl"), "--flip_y --flip_z");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Replicate --along "), "X Y Z");
    EXPECT_EQ(OfferedBy(GetParam(), std::string(VESSA_PROGRAM) + " describe Fl"), "Flip");
}

TEST_P(CompletionIn, CompletesFiles) {
    const std::string end = GetParam() == std::string("fish") ? "/" : "";
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Flip -i pi"), "picture.png");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Flip -i p"), "photos" + end + " picture.png");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Flip -o PA"), "PAINTING.TIF");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa list --plugin m"), "my.so");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run LabelToFeature --feature_plugin pe"), "pen.txt");
}

TEST_P(CompletionIn, OffersNothingAndSaysNothingWhereThereIsNothingToOffer) {
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Flup --"), "");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa run Border --border "), "");
    EXPECT_EQ(OfferedBy(GetParam(), "vessa ru", "/absent"), ""); // no program
}

INSTANTIATE_TEST_SUITE_P(Shells, CompletionIn, testing::Values("bash", "fish", "zsh"),
                         [](const auto& shell) { return std::string(shell.param); });

/// bash replaces what stands behind the last of some letters, the others the whole word.
TEST(Completion, CompletesBehindAnEqualsSignAndAnAtSign) {
    EXPECT_EQ(OfferedBy("bash", "vessa run Flip --flip_x=t"), "true");
    EXPECT_EQ(OfferedBy("fish", "vessa run Flip --flip_x=t"), "--flip_x=true");
    EXPECT_EQ(OfferedBy("zsh", "vessa run Flip --flip_x=t"), "--flip_x=true");
    EXPECT_EQ(OfferedBy("bash", "vessa run Flip --input=pi"), "picture.png");
    EXPECT_EQ(OfferedBy("fish", "vessa run Flip --input=pi"), "--input=picture.png");
    EXPECT_EQ(OfferedBy("zsh", "vessa run Flip --input=pi"), "picture.png"); // behind what it has set aside
    for (const char* shell : {"bash", "fish", "zsh"}) {
        EXPECT_EQ(OfferedBy(shell, "vessa run Flip -i a.png@IMAGE_R"), "a.png@IMAGE_RGB_8");
    }
}

} // namespace
} // namespace vessa::test
