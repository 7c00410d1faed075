#include "ProgramTest.h"

#include "Errors.h"
#include "Modules.h"
#include "NodeTest.h"
#include "ValueFile.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

const std::string kImage = SAMPLES_DIRECTORY "/particles.png";

/// A run of the test plug-in's node `name`.
StResult RunTestNode(const std::string& name, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"run", name, "--plugin", TEST_NODES});
    return RunHere(arguments);
}

StResult WrongUse(const std::string& message) { return {2, "", "vessa: " + message + "\n"}; }
StResult Failed(const std::string& message) { return {1, "", "vessa: " + message + "\n"}; }

/// What the probe prints when only one parameter is given: the line of that parameter, or the failure.
std::string ProbeLine(const std::string& key, std::vector<std::string> arguments) {
    const CTestFolder folder;
    arguments.insert(arguments.end(), {"-i", kImage, "-o", folder / "out.png"});
    const StResult result = RunTestNode("Probe", arguments);
    if (result.status != 0) {
        return result.err;
    }
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(key + "=")) {
            return line.substr(key.size() + 1);
        }
    }
    return "absent";
}

TEST(Program, NamesItsCommands) {
    const StResult help = RunHere({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* command : {"list", "describe", "run"}) {
        EXPECT_NE(help.out.find(std::string("\n  ") + command + " "), std::string::npos) << command;
        const StResult own = RunHere({command, "--help"});
        EXPECT_EQ(own.status, 0);
        EXPECT_EQ(own.err, "");
        EXPECT_NE(own.out.find(std::string("Usage: vessa ") + command + " "), std::string::npos);
    }
    EXPECT_EQ(RunHere({"-h"}), help);
}

TEST(Program, RefusesWrongUse) {
    EXPECT_EQ(RunHere({}), WrongUse("no command is given; 'vessa --help' shows them"));
    EXPECT_EQ(RunHere({"lst"}), WrongUse("unknown command 'lst', the nearest one is 'list'"));
    EXPECT_EQ(RunHere({"--versio", "list"}), WrongUse("unknown option '--versio', the nearest one is '--version'"));
    EXPECT_EQ(RunHere({"list", "--jsn"}), WrongUse("unknown option '--jsn', the nearest one is '--json'"));
    EXPECT_EQ(RunHere({"list", "Flip"}), WrongUse("unexpected argument 'Flip'"));
    EXPECT_EQ(RunHere({"describe"}), WrongUse("NODE is required: see 'vessa describe --help'"));
    EXPECT_EQ(RunHere({"describe", "flup"}), WrongUse("unknown node 'flup', the nearest one is 'Flip'"));
    EXPECT_EQ(RunHere({"describe", "Flip", "--plugin"}), WrongUse("--plugin: its value is missing"));
    EXPECT_EQ(RunHere({"run"}), WrongUse("NODE is required: see 'vessa run --help'"));
    EXPECT_EQ(RunHere({"run", "Flup", "--help"}), WrongUse("unknown node 'Flup', the nearest one is 'Flip'"));
}

TEST(Program, HelpExcusesNoUnknownOption) {
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"list"}, {"describe", "Flip"}, {"pipeline", "g.json"}, {"doc", "d"}}) {
        std::vector<std::string> arguments = command;
        arguments.insert(arguments.end(), {"--help", "--bogus"});
        const StResult result = RunHere(arguments);
        EXPECT_EQ(result.status, 2) << result;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.starts_with("vessa: unknown option '--bogus', the nearest one is '--")) << result;
    }
    EXPECT_EQ(RunHere({"run", "Flip", "--help", "--flip_w"}),
              WrongUse("Flip: unknown option '--flip_w', the nearest one is '--flip_x'"));
}

TEST(Program, ListsNodesByModule) {
    const StResult result = RunHere({"list", "--plugin", TEST_NODES});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::string first = "TestNodes:\n  Probe    Tells what it was given.\n  Silent   \n  Failing  \n\n";
    EXPECT_EQ(result.out.substr(0, first.size()), first);
    EXPECT_NE(result.out.find("manipulation:\n  Flip"), std::string::npos);
    EXPECT_NE(result.out.find("  Flips/reflects an image in the specified axis directions.\n"), std::string::npos);
}

TEST(Program, ListsAsJson) {
    const StResult result = RunHere({"list", "--json", "--plugin", TEST_NODES});
    EXPECT_EQ(result.status, 0);
    const auto list = nlohmann::json::parse(result.out);
    EXPECT_EQ(list[0]["module"], "TestNodes");
    EXPECT_EQ(list[0]["file"], TEST_NODES);
    EXPECT_EQ(list[0]["nodes"].size(), 3U);
    EXPECT_EQ(list[0]["nodes"][0],
              (nlohmann::json{{"name", "Probe"}, {"subType", "Test"}, {"brief", "Tells what it was given."}}));
    EXPECT_EQ(list[1]["module"], "manipulation");
}

TEST(Program, DescribesANode) {
    const StResult result = RunHere({"describe", "Probe", "--plugin", TEST_NODES});
    EXPECT_EQ(result, (StResult{0, R"(Probe: Tells what it was given.
module TestNodes, Image/Test

Description:
  Prints its parameters, in the order k_1 < k_2 of their keys, and hands its
  first input on.

  - an item
  - another one

Inputs:
  0 image
      The image.
  1 map, optional
      The map.

Outputs:
  0 image
      The image.
  1 map
      The map.

Parameters:
  --slice-wise=false
      bool, default true
  --offset_x NUMBER
      long, default 0
      moves by offset_x elements. By default it is set to 0.
  --ratio NUMBER
      double, default 0.5
  --mode TEXT
      string, default ONE, one of ONE, TWO, THREE
  --set set=VALUE
      long, default 7
  --title TEXT
      string, default ""

Not declared, but in the text:
  further
      is not declared.

Notes:
  First remark.
  Second remark.

Keywords:
  probe, test

See also:
  Silent

Page:
  %QUORDIR%/doc/probe.html
)",
                                ""}));
}

TEST(Program, DescribesAsJson) {
    const StResult result = RunHere({"describe", "--json", "Probe", "--plugin", TEST_NODES});
    EXPECT_EQ(result.status, 0);
    const auto node = nlohmann::json::parse(result.out);
    EXPECT_EQ(node["name"], "Probe");
    EXPECT_EQ(node["module"], "TestNodes");
    EXPECT_EQ(node["text"],
              "Prints its parameters, in the order k_1 < k_2 of their keys, and hands its first input on. "
              "- an item - another one");
    EXPECT_EQ(node["inputs"], nlohmann::json::parse(R"([{"kind": "image", "label": "The image.", "optional": false},
                                                        {"kind": "map", "label": "The map.", "optional": true}])"));
    EXPECT_EQ(node["outputs"][1], nlohmann::json::parse(R"({"kind": "map", "label": "The map."})"));
    EXPECT_EQ(node["parameters"], nlohmann::json::parse(R"([
        {"key": "slice-wise", "kind": "bool", "default": true, "order": 0, "text": ""},
        {"key": "offset_x", "kind": "long", "default": 0, "order": 2,
         "text": "moves by offset_x elements. By default it is set to 0."},
        {"key": "ratio", "kind": "double", "default": 0.5, "order": 10, "visibleIf": "offset_x 0 >", "text": ""},
        {"key": "mode", "kind": "string", "default": "ONE", "allowed": ["ONE", "TWO", "THREE"], "text": ""},
        {"key": "set", "kind": "long", "default": 7, "text": ""},
        {"key": "title", "kind": "string", "default": "", "text": ""}])"));
    EXPECT_EQ(node["furtherKeys"], nlohmann::json::parse(R"([{"key": "further", "text": "is not declared."}])"));
    EXPECT_EQ(node["keywords"], nlohmann::json::parse(R"(["probe", "test"])"));
}

TEST(Program, JsonHoldsTheWholeMap) {
    const StResult result = RunHere({"describe", "--json", "Probe", "--plugin", TEST_NODES});
    const auto map = nlohmann::json::parse(result.out)["map"];
    EXPECT_EQ(map.size(), 9U) << map;
    EXPECT_EQ(map["pluginType"], "Image");
    EXPECT_EQ(map["subType"], "Test");
    EXPECT_EQ(map["__nodekaDocumentation"], "%QUORDIR%/doc/probe.html");
    EXPECT_EQ(map["description"].get<std::string>().substr(0, 39), "BRIEF\nTells what it was\ngiven.\n\nPrints ");
    EXPECT_NE(map["description"].get<std::string>().find("\\f$k_1 < k_2\\f$"), std::string::npos);
    EXPECT_EQ(map["keywords"], nlohmann::json::parse(R"(["probe", "test"])"));
    EXPECT_EQ(map["gui"], nlohmann::json::parse(R"({"order": {"0": "slice-wise", "10": "ratio", "2": "offset_x"}})"));
    EXPECT_EQ(map["inputs"], nlohmann::json::parse(R"({
        "0": {"$value": {"$pointer": null}, "$meta": {"label": "The image."}},
        "1": {"$value": {}, "$meta": {"label": "The map.", "optional": true}}})"));
    EXPECT_EQ(map["outputs"], nlohmann::json::parse(R"({
        "0": {"$value": {"$pointer": null}, "$meta": {"label": "The image."}},
        "1": {"$value": {}, "$meta": {"label": "The map."}}})"));
    EXPECT_EQ(map["parameters"].dump(),
              R"({"mode":{"$meta":{"val":{"enValues":"ONE, TWO, THREE"}},"$value":"ONE"},)"
              R"("offset_x":{"$meta":{"desc":"The type of this parameter is of type long. )"
              R"(moves by \\a offset_x elements.\nBy default it is set to \\a 0."},"$value":0},)"
              R"("ratio":{"$meta":{"visible_if_rpn":"offset_x 0 >"},"$value":0.5},)"
              R"("set":7,"slice-wise":true,"title":""})");
}

/// The long names of the options that a help lists, as in "  -i,--input FILE   ...".
std::set<std::string> LongOptions(const std::string& help) {
    std::set<std::string> names;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        const std::string option = line.substr(0, line.find(' ', 2));
        if (const std::size_t begin = option.find("--"); line.starts_with("  -") && begin != std::string::npos) {
            names.insert(option.substr(begin + 2));
        }
    }
    return names;
}

TEST(Program, NoParameterTakesTheOptionOfEveryRun) {
    const std::set<std::string> common = LongOptions(RunHere({"run", "--help"}).out);
    EXPECT_EQ(common, (std::set<std::string>{"dry-run", "format", "help", "input", "max-memory", "output", "plugin",
                                             "png-level", "set", "timing"}));
    StParameter parameter;
    for (const std::string& name : common) {
        parameter.key = name;
        EXPECT_FALSE(HasOption(parameter)) << name;
    }
    for (const char* name : {"inputs", "in", "n", "flip_x", "pngLevel"}) {
        parameter.key = name;
        EXPECT_TRUE(HasOption(parameter)) << name;
    }
}

TEST(Program, HelpOfANodeNamesEverything) {
    const StResult result = RunTestNode("Probe", {"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    for (const char* part :
         {"Probe: Tells what it was given.\n\nUsage: vessa run Probe -i FILE [-i FILE] -o FILE [-o FILE] "
          "[--KEY VALUE]... [--set KEY=VALUE]...\n\nInputs:\n  0 image\n      The image.\n",
          "\nParameters:\n  --slice-wise=false\n      bool, default true\n  --offset_x NUMBER\n",
          "\n  -i,--input FILE[@TYPE] ", "\n  -o,--output FILE ", "\n  --set KEY[:KIND]=VALUE ", "\n  --plugin PATH ",
          "\nExample:\n  vessa run Probe -i input.png -o output.png\n"}) {
        EXPECT_NE(result.out.find(part), std::string::npos) << part << "\nin\n" << result.out;
    }
}

TEST(Program, HelpOfEveryNodeNamesEveryParameter) {
    std::ostringstream talk;
    CModules modules(PlacesBeside(fs::path(VESSA_PROGRAM).parent_path()), {}, talk);
    for (const CModules::StModule& module : modules.All()) {
        for (const StNodeDescription& node : module.nodes) {
            const StResult result = RunHere({"run", node.name, "--help"});
            EXPECT_EQ(result.status, 0) << node.name;
            EXPECT_EQ(result.out.find(node.name + ": "), 0U) << result.out;
            for (const StParameter& parameter : node.parameters) {
                EXPECT_NE(result.out.find("\n  --" + parameter.key), std::string::npos) << node.name << result.out;
            }
            for (const char* markup : {"\\a ", "\\f$", "\\\n"}) {
                EXPECT_EQ(result.out.find(markup), std::string::npos) << node.name << result.out;
            }
            EXPECT_NE(result.out.find("\nExample:\n  vessa run " + node.name + " "), std::string::npos) << result.out;
        }
    }
}

TEST(Program, ParametersReachTheNodeByTheirKinds) {
    EXPECT_EQ(ProbeLine("offset_x", {}), "long:0");
    EXPECT_EQ(ProbeLine("offset_x", {"--offset_x", "-5"}), "long:-5");
    EXPECT_EQ(ProbeLine("offset_x", {"--offset_x=-5"}), "long:-5");
    EXPECT_EQ(ProbeLine("ratio", {"--ratio", "3"}), "double:3");
    EXPECT_EQ(ProbeLine("ratio", {"--ratio", "-.25"}), "double:-0.25");
    EXPECT_EQ(ProbeLine("slice-wise", {}), "bool:true");
    EXPECT_EQ(ProbeLine("slice-wise", {"--slice-wise"}), "bool:true");
    EXPECT_EQ(ProbeLine("slice-wise", {"--slice-wise=false"}), "bool:false");
    EXPECT_EQ(ProbeLine("mode", {"--mode", "THREE"}), "string:THREE");
    EXPECT_EQ(ProbeLine("title", {"--title", "--mode"}), "string:--mode");
    EXPECT_EQ(ProbeLine("title", {"--title="}), "string:");
    EXPECT_EQ(ProbeLine("title", {"--title", ""}), "string:");
    EXPECT_EQ(ProbeLine("title", {"--title=a=b"}), "string:a=b");
    EXPECT_EQ(ProbeLine("title", {"--title", "run"}), "string:run");
}

TEST(Program, SetPlacesKeysThatAreNotDeclared) {
    EXPECT_EQ(ProbeLine("run_once", {}), "absent");
    EXPECT_EQ(ProbeLine("run_once", {"--set", "run_once=true"}), "bool:true");
    EXPECT_EQ(ProbeLine("k", {"--set", "k=-3"}), "long:-3");
    EXPECT_EQ(ProbeLine("k", {"--set", "k=2.5"}), "double:2.5");
    EXPECT_EQ(ProbeLine("k", {"--set", "k=gauss"}), "string:gauss");
    EXPECT_EQ(ProbeLine("k", {"--set", "k="}), "string:");
    EXPECT_EQ(ProbeLine("k", {"--set", "k:long=3"}), "long:3");
    EXPECT_EQ(ProbeLine("k", {"--set", "k:double=3"}), "double:3");
    EXPECT_EQ(ProbeLine("k", {"--set", "k:bool=false"}), "bool:false");
    EXPECT_EQ(ProbeLine("k", {"--set", "k:string=3"}), "string:3");
    EXPECT_EQ(ProbeLine("k", {"--set", "k=a=b:c"}), "string:a=b:c");
    EXPECT_EQ(ProbeLine("b", {"--set", "a=1", "--set", "b=2"}), "long:2");
}

TEST(Program, SetReachesDeclaredKeysToo) {
    EXPECT_EQ(ProbeLine("set", {}), "long:7");
    EXPECT_EQ(ProbeLine("set", {"--set", "set=8"}), "long:8");
    EXPECT_EQ(ProbeLine("ratio", {"--set", "ratio=3"}), "double:3");
    EXPECT_EQ(ProbeLine("ratio", {"--set", "ratio:long=3"}), "long:3");
    EXPECT_EQ(ProbeLine("mode", {"--set", "mode=FOUR"}),
              "vessa: Probe: --set: 'FOUR' is not allowed: one of ONE, TWO, THREE\n");
}

TEST(Program, RefusesWrongParameters) {
    const auto refused = [](const std::vector<std::string>& arguments, const std::string& message) {
        EXPECT_EQ(RunTestNode("Probe", arguments), WrongUse("Probe: " + message));
    };
    refused({"--offst_x", "-5"}, "unknown option '--offst_x', the nearest one is '--offset_x'");
    refused({"--offst_x=-5"}, "unknown option '--offst_x', the nearest one is '--offset_x'");
    refused({"--inputs", "a.png"}, "unknown option '--inputs', the nearest one is '--input'");
    refused({"extra"}, "unexpected argument 'extra'");
    refused({"--slice-wise", "false"}, "unexpected argument 'false'");
    refused({"--offset_x", "2.5"}, "--offset_x: '2.5' is no long: a whole number from -2147483648 to 2147483647");
    refused({"--offset_x", "2147483648"},
            "--offset_x: '2147483648' is out of range: a whole number from -2147483648 to 2147483647");
    refused({"--offset_x"}, "--offset_x: its value is missing");
    refused({"--offset_x="}, "--offset_x: '' is no long: a whole number from -2147483648 to 2147483647");
    refused({"--ratio", "half"}, "--ratio: 'half' is no double: a number such as 3, -0.5 or 1e-3");
    refused({"--slice-wise=maybe"}, "--slice-wise: 'maybe' is no bool: true or false");
    refused({"--mode", "one"}, "--mode: 'one' is not allowed: one of ONE, TWO, THREE");
    refused({"--ratio", "1", "--ratio", "2"}, "the parameter 'ratio' is given twice");
    refused({"--ratio", "1", "--set", "ratio=2"}, "the parameter 'ratio' is given twice");
    refused({"--set", "k"}, "--set: 'k' is not of the form KEY=VALUE or KEY:KIND=VALUE");
    refused({"--set", "=3"}, "--set: '=3' is not of the form KEY=VALUE or KEY:KIND=VALUE");
    refused({"--set", "k:lng=3"}, "--set: unknown kind 'lng': one of bool, long, double, string");
    refused({"--set", "k:long=x"}, "--set: 'x' is no long: a whole number from -2147483648 to 2147483647");
}

TEST(Program, RefusesWrongFilesBeforeItReadsAny) {
    const auto refused = [](const std::vector<std::string>& arguments, const std::string& message) {
        EXPECT_EQ(RunTestNode("Probe", arguments), WrongUse("Probe: " + message));
    };
    refused({"-i", "absent.png"}, "no output is named: -o FILE tells where the result goes");
    refused({"-i", "absent.png", "-o", "none"}, "no output is named: -o FILE tells where the result goes");
    refused({"-i", "a.png", "-i", "a.json", "-i", "b.png", "-o", "o.png"}, "3 inputs given, but the node has 2");
    refused({"-i", "a.png", "-o", "o.png", "-o", "o.json", "-o", "p.png"}, "3 outputs given, but the node has 2");
    const std::string known =
        ": the name's ending tells no known format: .png, .tif, .tiff and .npy are images, .json is a map";
    refused({"-i", "absent.bmp", "-o", "o.png"}, "absent.bmp" + known);
    refused({"-i", "absent.png", "-o", "o"}, "o" + known);
    refused({"-i", "absent.png@2x", "-o", "o.png"},
            "-i absent.png@2x: unknown element type '2x', the nearest one is 'IMAGE_RGB_8'");
    refused({"-i", "absent.png@IMAGE_GREY", "-o", "o.png"},
            "-i absent.png@IMAGE_GREY: unknown element type 'IMAGE_GREY', the nearest one is 'IMAGE_GREY_8'");
    refused({"-i", "absent.png", "-o", "o.json"}, "o.json: the output is an image, which a .json file doesn't hold");
    refused({"-i", "absent.png", "-o", "none", "-o", "o.png"},
            "o.png: the output is a map, which goes to a .json file");
    EXPECT_EQ(RunTestNode("Probe", {"-i", "a.png", "-o"}), WrongUse("--output: its value is missing"));
}

TEST(Program, EveryEndingThatItNamesIsKnown) {
    for (const char* file : {"a.png", "a.tif", "a.tiff", "a.npy", "a.json"}) {
        EXPECT_TRUE(FormatOf(file).has_value()) << file;
    }
}

TEST(Program, OneFileCannotTakeTwoOutputs) {
    const CTestFolder folder;
    EXPECT_EQ(RunTestNode("Probe", {"-o", folder / "o.png", "-o", folder / "o.png"}).status, 2);
}

TEST(Program, TellsWhatANodeFailsAt) {
    const CTestFolder folder;
    EXPECT_EQ(RunTestNode("Failing", {"-o", folder / "out.png"}),
              Failed("Failing: (test) Failing: no luck: try  again "));
    EXPECT_EQ(RunHere({"run", "Flip", "-o", folder / "out.png"}),
              Failed("Flip: (manipulation plugins) Flip: input image is NULL"));
    EXPECT_EQ(RunHere({"run", "Flip", "-i", "none", "-o", folder / "out.png"}),
              Failed("Flip: (manipulation plugins) Flip: input image is NULL"));
    EXPECT_EQ(folder.Files(), "");
}

TEST(Program, TellsOfAMissingFile) {
    const CTestFolder folder;
    const StResult result = RunHere({"run", "Flip", "-i", folder / "absent.png", "-o", folder / "out.png"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.find("vessa: Flip: " + (folder / "absent.png") + ": "), 0U) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
    EXPECT_EQ(folder.Files(), "");
}

TEST(Program, AnOutputThatIsNotSetIsAFailure) {
    const CTestFolder folder;
    EXPECT_EQ(
        RunTestNode("Silent", {"-o", folder / "out.png"}),
        Failed("Silent: output 0: the node has left it empty, so that " + (folder / "out.png") + " is not written"));
    EXPECT_EQ(RunTestNode("Probe", {"-i", kImage, "-o", folder / "out.png", "-o", folder / "map.json"}).err,
              "vessa: Probe: output 1: the node has left it empty, so that " + (folder / "map.json") +
                  " is not written\n");
    EXPECT_EQ(folder.Files(), "") << "no output is written unless all are there";
}

TEST(Program, PortsAreLeftEmptyByName) {
    const CTestFolder folder;
    folder.Write("map.json", R"({"size_x": 3})");
    EXPECT_EQ(
        RunTestNode("Probe", {"-i", "none", "-i", folder / "map.json", "-o", "none", "-o", folder / "out.json"}).status,
        0);
    EXPECT_EQ(folder.Files(), "map.json out.json");
    EXPECT_EQ(nlohmann::json::parse(TextOf(folder / "out.json")), nlohmann::json::parse(R"({"size_x": 3})"));
}

TEST(Program, FilesWithAnAtSignAreFiles) {
    const CTestFolder folder;
    fs::copy(kImage, folder / "a@2.png");
    fs::copy(SAMPLES_DIRECTORY "/mask.png", folder / "m@x.png");
    EXPECT_EQ(RunHere({"run", "Flip", "-i", folder / "a@2.png", "-o", folder / "out@3.png"}), (StResult{0, "", ""}));
    EXPECT_EQ(RunHere({"run", "Flip", "-i", folder / "m@x.png@IMAGE_BINARY_FG", "-o", folder / "out.tif"}),
              (StResult{0, "", ""}));
    EXPECT_EQ(folder.Files(), "a@2.png m@x.png out.tif out@3.png");
}

TEST(Program, ATypeReachesTheReader) {
    const CTestFolder folder;
    for (const auto& type : {QUOR::IMAGE_BINARY_FG, QUOR::IMAGE_BINARY_BG}) {
        const std::string input = SAMPLES_DIRECTORY "/mask.png@" + std::string(type.ToString());
        EXPECT_EQ(RunHere({"run", "Flip", "-i", input, "-o", folder / "out.npy"}).status, 0);
    }
    const StResult refused = RunHere({"run", "Flip", "-i", kImage + "@IMAGE_RGB_8", "-o", folder / "refused.png"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err.find("vessa: Flip: " + kImage + ": "), 0U) << refused.err;
    EXPECT_EQ(folder.Files(), "out.npy");
}

TEST(Program, ARunFlipsTheImage) {
    const CTestFolder folder;
    EXPECT_EQ(RunHere({"run", "Flip", "-i", kImage, "-o", folder / "flipped.png", "--flip_x", "--flip_y=false"}),
              (StResult{0, "", ""}));
    const auto before = ReadValue(kImage, {});
    const auto after = ReadValue(folder / "flipped.png", {});
    const auto& in = *QUOR::UnwrapPointer<QUOR::CImage>(before.get());
    const auto& out = *QUOR::UnwrapPointer<QUOR::CImage>(after.get());
    ASSERT_EQ(in.Size(), out.Size());
    ASSERT_EQ(in.Type(), out.Type());
    const auto from = QUOR::test::ElementsOf<std::uint8_t>(in);
    auto expected = from;
    for (auto row = expected.begin(); row != expected.end(); row += in.Size().x) {
        std::reverse(row, row + in.Size().x);
    }
    EXPECT_NE(from, expected);
    EXPECT_EQ(QUOR::test::ElementsOf<std::uint8_t>(out), expected);
}

TEST(Program, LibrariesThatAreNoneAreNamedWhenAskedFor) {
    EXPECT_EQ(RunHere({"list", "--plugin", "absent.so"}),
              Failed("absent.so: there is no such plug-in library or folder"));
    EXPECT_EQ(RunHere({"run", "Flip", "--plugin", VESSA_LIBRARY, "-o", "out.png"}),
              Failed(VESSA_LIBRARY ": the library is no plug-in library: it doesn't export CreatePluginInstanceEx"));
    const StResult result = RunHere({"list", "--plugin", TEST_FEATURE});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "vessa: " TEST_FEATURE ": none of its plug-ins is a node: Feature\n");
    EXPECT_EQ(result.out, RunHere({"list"}).out);
}

TEST(Program, LibrariesThatAreNoneArePassedOverInAFolder) {
    const CTestFolder folder;
    fs::copy(TEST_NODES, folder / "nodes.so");
    fs::copy(TEST_FEATURE, folder / "a.so");
    folder.Write("broken.so", "no library");
    folder.Write("notes.txt", "no library");
    const StResult result = RunHere({"list", "--plugin", folder.Path().string()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out.find("nodes:\n  Probe "), 0U) << result.out;
}

TEST(Program, WithoutAnyNodeItTellsWhereItHasLooked) {
    const CTestFolder folder;
    folder.Write("broken.so", "no library");
    std::ostringstream talk;
    CModules modules({folder.Path(), folder.Path(), folder.Path()}, {}, talk);
    try {
        modules.Make("Flip");
        FAIL() << "nothing was raised";
    } catch (const CWorkError& failure) {
        const std::string start = "no nodes found in " + folder.Path().string() + "; " + (folder / "broken.so") +
                                  ": the plug-in library can't be loaded: ";
        EXPECT_EQ(std::string(failure.what()).substr(0, start.size()), start);
    }
}

} // namespace
} // namespace vessa::test
