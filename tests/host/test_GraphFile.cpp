// Graph files: what is read of them and what is wrong with them, told before anything runs.

#include "ProgramTest.h"

#include "Errors.h"
#include "GraphFile.h"
#include "GraphText.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace vessa::test {
namespace {

namespace fs = std::filesystem;

/// Reads graphs from a file of its own, with the nodes of the build tree and those of the test plug-in.
class GraphFile : public testing::Test {
protected:
    StGraph Read(const std::string& text) {
        m_folder.Write("g.json", text);
        return ReadGraph(m_folder / "g.json", m_modules);
    }

    /// Expects that a graph is refused with this message behind the file's name.
    void ExpectRefused(const std::string& text, const std::string& message) {
        try {
            Read(text);
            ADD_FAILURE() << "not refused: " << text;
        } catch (const CUseError& failure) {
            EXPECT_EQ(failure.what(), (m_folder / "g.json") + ": " + message);
        }
    }

    /// Expects the message for a graph whose only node, "n", is of the kind Probe and has these further entries.
    void ExpectNodeRefused(const std::string& entries, const std::string& message) {
        ExpectRefused(R"({"inputs": {"a": {}}, "nodes": {"n": {"node": "Probe", )" + entries +
                          R"(}}, "outputs": {"o": "n"}})",
                      message);
    }

    /// Reads a graph; true if it is refused, in one line that fits a screen.
    bool IsRefused(const std::string& text) {
        try {
            Read(text);
            return false;
        } catch (...) {
            const StFailure failure = HandledFailure();
            EXPECT_TRUE(failure.status == kWorkFailed || failure.status == kWrongUse) << text;
            EXPECT_TRUE(failure.message.starts_with((m_folder / "g.json") + ": ")) << failure.message;
            EXPECT_LT(failure.message.size(), 1000U);
            return true;
        }
    }

    CTestFolder m_folder;
    std::ostringstream m_talk;
    CModules m_modules{PlacesBeside(fs::path(VESSA_PROGRAM).parent_path()), {TEST_NODES}, m_talk};
};

constexpr const char* kGraph = R"({
  "$schema": "graph.schema.json",
  "description": "Cuts a picture to the foreground of its mask.",
  "inputs": {"mask": {"file": "m.png", "type": "IMAGE_BINARY_FG", "description": "white is kept"}, "picture": {}},
  "nodes": {
    "box": {"node": "Autocrop", "inputs": ["mask"]},
    "again": {"node": "Extract", "inputs": ["cut.0", "box.1"], "description": "nothing is left to cut"},
    "cut": {"node": "Extract", "inputs": ["picture", "box.1"], "parameters": {"offset_x": -3}, "set": {"k": [1, 2]}}
  },
  "outputs": {"picture": {"from": "again", "file": "{stem}.png"}, "box": "box.1", "same": "mask"}
})";

TEST_F(GraphFile, NodesStandBehindThoseThatTheyTakeValuesOf) {
    const StGraph graph = Read(kGraph);
    ASSERT_EQ(graph.nodes.size(), 3U);
    EXPECT_EQ(graph.nodes[0].name, "box");
    EXPECT_EQ(graph.nodes[1].name, "cut");
    EXPECT_EQ(graph.nodes[2].name, "again");
    EXPECT_EQ(graph.nodes[0].label, "box (Autocrop)");
    EXPECT_EQ(graph.sources.size(), 6U) << "two inputs, two outputs of Autocrop, one of each Extract";
}

TEST_F(GraphFile, FilesAreNamedFromTheFolderOfTheGraph) {
    const StGraph graph = Read(kGraph);
    ASSERT_EQ(graph.inputs.size(), 2U);
    EXPECT_EQ(graph.inputs[0].name, "mask");
    EXPECT_EQ(graph.inputs[0].file, (StInputFile{m_folder / "m.png", QUOR::IMAGE_BINARY_FG}));
    EXPECT_EQ(graph.inputs[1].file, StInputFile());
    ASSERT_EQ(graph.outputs.size(), 3U);
    EXPECT_EQ(graph.outputs[0].name, "box");
    EXPECT_EQ(graph.outputs[0].file, "");
    EXPECT_EQ(graph.outputs[1].file, m_folder / "{stem}.png");
}

TEST_F(GraphFile, ThePlanTellsFilesWiresAndSettings) {
    const StGraph graph = Read(kGraph);
    EXPECT_EQ(PlanText(graph, OwnFiles(graph)),
              "read   " + (m_folder / "m.png") +
                  " as IMAGE_BINARY_FG for mask\n"
                  "leave  picture empty\n"
                  "run    box (Autocrop) on mask\n"
                  "run    cut (Extract) on picture, box.1 with k=a vector offset_x=-3\n"
                  "run    again (Extract) on cut, box.1\n"
                  "write  " +
                  (m_folder / "{stem}.png") + " from again\n");
}

TEST_F(GraphFile, GraphvizGetsBoxesAndWires) {
    const StGraph graph = Read(R"({"inputs": {"a": {}},
        "nodes": {"ab": {"node": "Probe", "inputs": ["a"]}, "f": {"node": "Flip", "inputs": ["ab"]}},
        "outputs": {"f": "f"}})");
    const char* const expected = R"dot(digraph {
  rankdir=LR;
  node [shape=box];
  "i a" [label="a", shape=ellipse];
  "n ab" [label="ab (Probe)"];
  "n f" [label="f (Flip)"];
  "o f" [label="f", shape=ellipse];
  "i a" -> "n ab" [taillabel="", headlabel="0"];
  "n ab" -> "n f" [taillabel="0", headlabel=""];
  "n f" -> "o f" [taillabel="", headlabel=""];
}
)dot";
    EXPECT_EQ(DotText(graph), expected);
}

TEST_F(GraphFile, ParametersKeepTheirKinds) {
    const StGraph graph = Read(R"({"nodes": {"n": {"node": "Probe", "inputs": ["m", null],
        "parameters": {"ratio": 3, "offset_x": -2, "mode": "TWO", "slice-wise": false},
        "set": {"run_once": true, "further": 1.5, "deep": {"a": [1]}}}, "m": {"node": "Silent"}},
        "outputs": {"o": "n"}})");
    const QUOR::CValueMap& parameters = *graph.nodes[1].parameters;
    EXPECT_EQ(parameters.Entry("ratio", true)->GenericType(), QUOR::EnValType::Double);
    EXPECT_EQ(parameters.EntryDouble("ratio"), 3.0);
    EXPECT_EQ(parameters.Entry("offset_x", true)->GenericType(), QUOR::EnValType::Long);
    EXPECT_EQ(parameters.EntryLong("offset_x"), -2);
    EXPECT_EQ(parameters.EntryString("mode", QUOR::CString()).Text(), "TWO");
    EXPECT_EQ(parameters.EntryBool("slice-wise", true), false);
    EXPECT_EQ(parameters.EntryLong("set"), 7) << "the default of a declared parameter";
    EXPECT_EQ(parameters.EntryBool("run_once"), true);
    EXPECT_EQ(parameters.EntryDouble("further"), 1.5);
    EXPECT_EQ(parameters.Entry("deep/a", true)->Vector()->Size(), 1U);
}

TEST_F(GraphFile, KeysThatAreNumbersStayNumbers) {
    const StGraph graph = Read(R"({"nodes": {"n": {"node": "Silent", "set": {"$int:5": 1, "5": 2, "$$a": 3}}},
                                   "outputs": {"o": "n"}})");
    const QUOR::CValueMap& parameters = *graph.nodes[0].parameters;
    EXPECT_EQ(parameters.EntryLong(5), 1);
    EXPECT_EQ(parameters.EntryLong(QUOR::CValue_Key("5")), 2);
    EXPECT_EQ(parameters.EntryLong(QUOR::CValue_Key("$a")), 3);
    EXPECT_NE(PlanText(graph, {{}, {"o.png"}}).find("run    n (Silent) with 5=1 $a=3 5=2\n"), std::string::npos)
        << PlanText(graph, {{}, {"o.png"}});
    ExpectRefused(R"({"nodes": {"$int:5": {"node": "Silent"}}, "outputs": {"o": "5"}})",
                  "nodes/$int:5: a name has letters, digits, '_' and '-' only");
    ExpectRefused(R"({"nodes": {"n": {"node": "Silent"}}, "outputs": {"$int:5": "n"}})",
                  "outputs/$int:5: a name has letters, digits, '_' and '-' only");
}

TEST_F(GraphFile, KeysAreNamedAsTheyStandInTheFile) {
    const std::string noName = ": a name has letters, digits, '_' and '-' only";
    ExpectRefused(R"({"$$a": 1})", "unknown key '$$a', the nearest one is '$schema'");
    ExpectRefused(R"({"$int:5": 1})", "unknown key '$int:5', the nearest one is 'inputs'");
    ExpectRefused(R"({"inputs": {"$$a": {}}})", "inputs/$$a" + noName);
    ExpectRefused(R"({"inputs": {"$$$a": {}}})", "inputs/$$$a" + noName);
    ExpectRefused(R"({"inputs": {"$schema": {}}})", "inputs/$schema" + noName);
    ExpectNodeRefused(R"("parameters": {"$$a": 1})",
                      "nodes/n: parameters/$$a: unknown parameter, the nearest one is 'set'; a key that isn't "
                      "declared belongs into 'set'");
}

TEST_F(GraphFile, NullLeavesAnInputEmpty) {
    const StGraph graph = Read(R"({"inputs": {"a": {}}, "nodes": {"n": {"node": "Probe", "inputs": [null, null]},
                                   "e": {"node": "Extract", "inputs": ["a", null]}}, "outputs": {"o": "n", "p": "e"}})");
    EXPECT_EQ(graph.nodes[0].inputs, (std::vector<std::optional<std::size_t>>{0, std::nullopt})) << graph.nodes[0].name;
    EXPECT_EQ(graph.nodes[1].inputs, (std::vector<std::optional<std::size_t>>(2))) << graph.nodes[1].name;
}

TEST_F(GraphFile, UnknownNamesAreRefusedWithTheNearest) {
    ExpectRefused(R"({"node": {}})", "unknown key 'node', the nearest one is 'nodes'");
    ExpectRefused(R"({"inputs": {"a": {"fil": "x"}}})", "inputs/a: unknown key 'fil', the nearest one is 'file'");
    ExpectRefused(R"({"inputs": {"a": {"type": "IMAGE_GREY"}}})",
                  "inputs/a: type: unknown element type 'IMAGE_GREY', the nearest one is 'IMAGE_GREY_8'");
    ExpectRefused(R"({"nodes": {"n": {"node": "Flup"}}})",
                  "nodes/n: node: unknown node 'Flup', the nearest one is 'Flip'");
    ExpectNodeRefused(R"("input": [])", "nodes/n: unknown key 'input', the nearest one is 'inputs'");
    ExpectNodeRefused(R"("inputs": ["b"])",
                      "nodes/n: inputs/0: no input and no node is called 'b', the nearest one is 'a'");
    ExpectNodeRefused(R"("parameters": {"offst_x": 1})",
                      "nodes/n: parameters/offst_x: unknown parameter, the nearest one is 'offset_x'; a key that isn't "
                      "declared belongs into 'set'");
    ExpectRefused(R"({"nodes": {"n": {"node": "Silent"}}, "outputs": {"o": {"form": "n"}}})",
                  "outputs/o: unknown key 'form', the nearest one is 'from'");
    ExpectRefused(R"({"nodes": {"n": {"node": "Silent"}}, "outputs": {"o": "m"}})",
                  "outputs/o: no input and no node is called 'm', the nearest one is 'n'");
}

TEST_F(GraphFile, ParametersOfAnotherKindAndValueAreRefused) {
    ExpectNodeRefused(R"("parameters": {"offset_x": 1.0})",
                      "nodes/n: parameters/offset_x: a double, but the parameter is a long");
    ExpectNodeRefused(R"("parameters": {"offset_x": "1"})",
                      "nodes/n: parameters/offset_x: a string, but the parameter is a long");
    ExpectNodeRefused(R"("parameters": {"slice-wise": 1})",
                      "nodes/n: parameters/slice-wise: a long, but the parameter is a bool");
    ExpectNodeRefused(R"("parameters": {"ratio": [1]})",
                      "nodes/n: parameters/ratio: a vector, but the parameter is a double");
    ExpectNodeRefused(R"("parameters": {"mode": "FOUR"})",
                      "nodes/n: parameters/mode: 'FOUR' is not allowed: one of ONE, TWO, THREE");
    ExpectNodeRefused(R"("set": {"offset_x": 1})",
                      "nodes/n: set/offset_x: the key is declared, so that it belongs into 'parameters'");
}

TEST_F(GraphFile, WrongWiresAreRefused) {
    ExpectNodeRefused(R"("inputs": [])",
                      "nodes/n: inputs/0: the node needs this input (The image.), but nothing is wired to it; null "
                      "leaves it empty");
    ExpectNodeRefused(R"("inputs": ["a", "a", "a"])", "nodes/n: inputs: 3 are wired, but the node has 2");
    ExpectNodeRefused(R"("inputs": "a")", "nodes/n: inputs: a list is needed, with the name of a value for each input");
    ExpectNodeRefused(R"("inputs": [3])", "nodes/n: inputs/0: a text is needed, not a long");
    ExpectNodeRefused(R"("inputs": ["n.1"])", "nodes/n: inputs/0: 'n.1' is a map, but the input takes an image");
    ExpectNodeRefused(R"("inputs": ["a", "n.0"])", "nodes/n: inputs/1: 'n.0' is an image, but the input takes a map");
    ExpectNodeRefused(R"("inputs": ["a", "n.2"])", "nodes/n: inputs/1: 'n.2': 'n' has 2 outputs, numbers 0 to 1");
    ExpectNodeRefused(R"("inputs": ["a.1"])", "nodes/n: inputs/0: 'a.1': 'a' has 1 output, number 0");
    for (const char* wire : {"n.", "n.x", "n.-1", "n.0x", "n.99999999999999999999"}) {
        ExpectNodeRefused(std::string(R"("inputs": [")") + wire + "\"]",
                          std::string("nodes/n: inputs/0: '") + wire + "': 'n' has 2 outputs, numbers 0 to 1");
    }
}

TEST_F(GraphFile, CyclesAreRefused) {
    ExpectNodeRefused(R"("inputs": ["n"])", "nodes: the nodes' wires form a cycle: n -> n");
    ExpectRefused(R"({"nodes": {"a": {"node": "Flip", "inputs": ["c"]}, "b": {"node": "Flip", "inputs": ["a"]},
                                "c": {"node": "Flip", "inputs": ["b"]}}, "outputs": {"o": "a"}})",
                  "nodes: the nodes' wires form a cycle: a -> b -> c -> a");
}

TEST_F(GraphFile, NamesAndKindsOfEntriesAreChecked) {
    ExpectRefused(R"({"nodes": []})", "nodes: a map is needed, not a vector");
    ExpectRefused(R"({"inputs": {"a": "x.png"}})", "inputs/a: a map is needed, not a string");
    ExpectRefused(R"({"$schema": 3})", "$schema: a text is needed, not a long");
    ExpectRefused(R"({"inputs": {"a": {"description": []}}})", "inputs/a: description: a text is needed, not a vector");
    ExpectRefused(R"({"inputs": {"a": {"file": 3}}})", "inputs/a: file: a text is needed, not a long");
    ExpectRefused(R"({"inputs": {"a": {"file": "a\u0000.png"}}})",
                  "inputs/a: file: no file's name holds the character U+0000");
    ExpectRefused(R"({"inputs": {"a.b": {}}})", "inputs/a.b: a name has letters, digits, '_' and '-' only");
    ExpectRefused(R"({"inputs": {"": {}}})", "inputs/: a name has letters, digits, '_' and '-' only");
    ExpectRefused(R"({"inputs": {"a": {}}, "nodes": {"a": {"node": "Silent"}}})",
                  "nodes/a: an input has this name, too");
    ExpectRefused(R"({"nodes": {"n": {}}})", "nodes/n: the key 'node' is missing, which names the kind of node");
    ExpectRefused(R"({"nodes": {"n": {"node": "Silent"}}, "outputs": {"o": {}}})",
                  "outputs/o: the key 'from' is missing, which names the value that is written");
    ExpectRefused(R"({"nodes": {"n": {"node": "Silent"}}})", "outputs: there are none");
    ExpectRefused(R"({"inputs": {"a": {}}, "outputs": {"o": "a"}})", "nodes: there are none");
    ExpectRefused("{}", "nodes: there are none");
    ExpectRefused(R"({"inputs": {"a": {}}, "nodes": {"n": {"node": "Silent"}}, "outputs": {"o": "n"}})",
                  "inputs/a: no node and no output takes this input");
}

TEST_F(GraphFile, AFileThatIsNoMapIsRefused) {
    EXPECT_THROW(ReadGraph(m_folder / "absent.json", m_modules), CFileError);
    EXPECT_THROW(Read("{"), CFileError);
    EXPECT_THROW(Read(R"({"nodes": {}, "nodes": {}})"), CFileError) << "a key stands twice";
    EXPECT_THROW(ReadGraph(SAMPLES_DIRECTORY "/particles.png", m_modules), CUseError);
    EXPECT_THROW(ReadGraph(m_folder / "graph.txt", m_modules), CUseError);
}

TEST_F(GraphFile, ALongCycleIsToldByItsEnds) {
    const auto cycle = [](int length) {
        std::string nodes;
        for (int index = 0; index < length; ++index) {
            const std::string before = std::to_string((index + length - 1) % length);
            nodes += (index == 0 ? "\"n" : ", \"n") + std::to_string(index) + R"(": {"node": "Flip", "inputs": ["n)" +
                     before + "\"]}";
        }
        return "{\"nodes\": {" + nodes + R"(}, "outputs": {"o": "n0"}})";
    };
    ExpectRefused(cycle(10), "nodes: the nodes' wires form a cycle: n0 -> n1 -> n2 -> n3 -> n4 -> n5 -> n6 -> n7 -> "
                             "n8 -> n9 -> n0");
    ExpectRefused(cycle(11), "nodes: the nodes' wires form a cycle: n0 -> n1 -> n2 -> n3 -> n4 -> (2 more) -> n7 -> "
                             "n8 -> n9 -> n10 -> n0");
    ExpectRefused(cycle(5000), "nodes: the nodes' wires form a cycle: n0 -> n1 -> n2 -> n3 -> n4 -> (4991 more) -> "
                               "n4996 -> n4997 -> n4998 -> n4999 -> n0");
}

/// Every value of a graph, in the place of which each kind of value stands: it is read, or refused in one line.
TEST_F(GraphFile, WrongKindsAnywhereDoNoHarm) {
    const nlohmann::json graph = nlohmann::json::parse(kGraph);
    const nlohmann::json flat = graph.flatten();
    std::set<std::string> places;
    for (const auto& [place, value] : flat.items()) {
        for (std::size_t end = place.size(); end != 0 && end != std::string::npos; end = place.rfind('/', end - 1)) {
            places.insert(place.substr(0, end)); // of the value, and of all that it lies in
        }
    }
    ASSERT_EQ(places.size(), 36U);
    int refused = 0;
    for (const std::string& place : places) {
        for (const char* text : {"null", "true", "3", "-2147483648", "99999999999", "1e999", "1.5", "\"\"",
                                 R"("a\u0000\n")", "[]", "[[]]", "{}", R"({"a": 1})", R"({"$double": "nan"})"}) {
            nlohmann::json changed = graph;
            changed[nlohmann::json::json_pointer(place)] = "HERE";
            std::string bytes = changed.dump();
            bytes.replace(bytes.find("\"HERE\""), 6, text);
            refused += IsRefused(bytes) ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 300);
}

TEST_F(GraphFile, DamagedFilesDoNoHarm) {
    const std::string whole = R"({"inputs": {"a": {"type": "IMAGE_GREY_8"}}, "nodes": {"b": {"node": "Flip",
        "inputs": ["a"], "parameters": {"flip_x": true}, "set": {"$int:1": 2}}}, "outputs": {"o": "b"}})";
    ASSERT_FALSE(IsRefused(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(IsRefused(whole.substr(0, length))) << length;
    }
    for (std::size_t place = 0; place < whole.size(); ++place) {
        const auto byte = static_cast<unsigned char>(whole[place]);
        for (const int changed : {0, 0xff, byte + 1, byte ^ 0x20}) {
            std::string bytes = whole;
            bytes[place] = static_cast<char>(changed);
            IsRefused(bytes);
        }
    }
}

TEST_F(GraphFile, TenThousandNodesAreReadInAnyArrangement) {
    constexpr int count = 10000;
    std::string star = R"("r": {"node": "Silent"})";
    std::string apart = R"("n0": {"node": "Silent"})";
    for (int index = 1; index < count; ++index) {
        const std::string name = ", \"n" + std::to_string(index) + "\": ";
        star += name + R"({"node": "Flip", "inputs": ["r"]})";
        apart += name + R"({"node": "Silent"})";
    }
    for (const std::string& nodes : {star, apart}) {
        const StGraph graph = Read("{\"nodes\": {" + nodes + R"(}, "outputs": {"o": "n9999"}})");
        ASSERT_EQ(graph.nodes.size(), 10000U);
        EXPECT_EQ(Producer(graph, graph.outputs[0].value)->name, "n9999");
        for (const StGraphNode& node : graph.nodes) { // sorting has moved them
            ASSERT_EQ(Producer(graph, node.firstOutput), &node);
        }
        const std::string plan = PlanText(graph, {{}, {"o.png"}});
        EXPECT_EQ(std::count(plan.begin(), plan.end(), '\n'), 10001);
        const std::string dot = DotText(graph);
        EXPECT_GT(std::count(dot.begin(), dot.end(), '\n'), 10001);
    }
}

TEST_F(GraphFile, ALongChainIsNoProblem) {
    std::string nodes = R"("n0": {"node": "Silent"})";
    constexpr int length = 3000;
    for (int index = 1; index < length; ++index) {
        const std::string before = std::to_string(index - 1);
        nodes += ", \"n" + std::to_string(index) + R"(": {"node": "Flip", "inputs": ["n)" + before + "\"]}";
    }
    const StGraph graph = Read("{\"nodes\": {" + nodes + R"(}, "outputs": {"o": "n2999"}})");
    ASSERT_EQ(graph.nodes.size(), 3000U);
    for (int index = 0; index < length; ++index) {
        ASSERT_EQ(graph.nodes[static_cast<std::size_t>(index)].name, "n" + std::to_string(index));
    }
}

} // namespace
} // namespace vessa::test
