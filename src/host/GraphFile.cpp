#include "GraphFile.h"

#include "Errors.h"
#include "InputFile.h"
#include "JsonValue.h"
#include "NodeParameters.h"
#include "Text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <map>

using namespace QUOR;

namespace vessa {

namespace {

namespace fs = std::filesystem;

/// Builds a graph from the map of its file. What it raises begins with the place in the file, as in "nodes/cut/node".
class CGraphReader {
public:
    CGraphReader(const fs::path& folder, CModules& modules) : m_folder(folder), m_modules(modules) {}

    StGraph Read(const CValueMap& map) {
        RequireKeys(map, {"$schema", "description", "inputs", "nodes", "outputs"});
        ForEach(map, "inputs", [&](const CValue_Key& key, const CValue& value) { AddInput(JsonFromKey(key), value); });
        const auto& nodes = Sub(map, "nodes");
        ForEach(map, "nodes", [&](const CValue_Key& key, const CValue& value) { AddNode(JsonFromKey(key), value); });
        for (StGraphNode& node : m_graph.nodes) {
            InTheNameOf("nodes/" + node.name, [&] { Wire(node, *nodes.Entry(CValue_Key(node.name), true)->Map()); });
        }
        ForEach(map, "outputs",
                [&](const CValue_Key& key, const CValue& value) { AddOutput(JsonFromKey(key), value); });
        if (m_graph.nodes.empty() || m_graph.outputs.empty()) {
            throw CUseError(std::string(m_graph.nodes.empty() ? "nodes" : "outputs") + ": there are none");
        }
        InTheNameOf("nodes", [&] { SortNodes(m_graph); });
        RequireReaders();
        return std::move(m_graph);
    }

private:
    /// What a name stands for: the value of an input, or those of the outputs of a node.
    struct StSource {
        std::size_t first;
        std::size_t count;
    };

    void AddInput(const std::string& name, const CValue& value) {
        const CValueMap& input = MapOf(value);
        RequireKeys(input, {"description", "file", "type"});
        StInputFile file;
        file.file = FileOf(input);
        if (input.HasEntry("type")) {
            file.type = InTheNameOf("type", [&] { return TypeNamed(TextOf(*input.Entry("type", true))); });
        }
        Name(name, {m_graph.AddInput(name, file), 1});
    }

    void AddNode(const std::string& name, const CValue& value) {
        const CValueMap& map = MapOf(value);
        RequireKeys(map, {"description", "inputs", "node", "parameters", "set"});
        if (!map.HasEntry("node")) {
            throw CUseError("the key 'node' is missing, which names the kind of node");
        }
        const std::string kind = InTheNameOf("node", [&] {
            std::string text = TextOf(*map.Entry("node", true));
            Learn(text);
            return text;
        });
        StGraphNode node;
        node.name = name;
        node.label = name == kind ? kind : name + " (" + kind + ")";
        node.description = m_descriptions[kind];
        node.make = [&modules = m_modules, kind] { return modules.Make(kind).node; };
        node.parameters = std::make_shared<CValueMap>();
        PlaceParameters(map, node);
        const StGraphNode& added = m_graph.AddNode(std::move(node));
        Name(name, {added.firstOutput, added.description->outputs.size()});
    }

    /// Takes over what nodes of a kind tell of themselves.
    void Learn(const std::string& kind) {
        auto& description = m_descriptions[kind];
        if (description == nullptr) {
            description = std::make_shared<const StNodeDescription>(m_modules.Make(kind).Description());
        }
    }

    void PlaceParameters(const CValueMap& map, const StGraphNode& node) {
        CValueMap& parameters = *node.parameters;
        PlaceDefaults(*node.description, parameters);
        ForEach(map, "parameters", [&](const CValue_Key& key, const CValue& value) {
            const StParameter* parameter = Declared(*node.description, key);
            if (parameter == nullptr) {
                throw CUseError("unknown parameter" + NearestHint(JsonFromKey(key), ParameterKeys(*node.description)) +
                                "; a key that isn't declared belongs into 'set'");
            }
            PlaceParameter(*parameter, value, parameters);
        });
        ForEach(map, "set", [&](const CValue_Key& key, const CValue& /*value*/) {
            if (Declared(*node.description, key) != nullptr) {
                throw CUseError("the key is declared, so that it belongs into 'parameters'");
            }
        });
        for (const auto& [key, value] : Sub(map, "set")) { // a key may be a number
            parameters.SetEntry(key, value->Clone(EnTfOwnership::Copy));
        }
    }

    /// The declared parameter of this key; null for one that isn't declared, and for a number.
    static const StParameter* Declared(const StNodeDescription& node, const CValue_Key& key) {
        return key.IsText() ? FindParameter(node, key.Text()) : nullptr;
    }

    static std::vector<std::string> ParameterKeys(const StNodeDescription& node) {
        std::vector<std::string> keys;
        for (const StParameter& parameter : node.parameters) {
            keys.push_back(parameter.key);
        }
        return keys;
    }

    /// Connects the inputs of a node.
    void Wire(StGraphNode& node, const CValueMap& map) {
        const std::vector<StPort>& ports = node.description->inputs;
        const CValueVector none;
        const CValue* entry = map.Entry("inputs", false);
        if (entry != nullptr && entry->GenericType() != EnValType::Vector) {
            throw CUseError("inputs: a list is needed, with the name of a value for each input");
        }
        const CValueVector& wires = entry == nullptr ? none : *entry->Vector();
        if (wires.Size() > ports.size()) {
            throw CUseError("inputs: " + std::to_string(wires.Size()) + " are wired, but the node has " +
                            std::to_string(ports.size()));
        }
        for (std::size_t port = 0; port < ports.size(); ++port) {
            const CValue* wire = wires.Entry(static_cast<long long>(port), false);
            InTheNameOf("inputs/" + std::to_string(port), [&] {
                if (wire == nullptr && port >= wires.Size() && !ports[port].optional) {
                    throw CUseError("the node needs this input (" + ports[port].label.Line() +
                                    "), but nothing is wired to it; null leaves it empty");
                }
                node.inputs.push_back(wire == nullptr ? std::nullopt : std::optional(Wired(ports[port], *wire)));
            });
        }
    }

    std::size_t Wired(const StPort& port, const CValue& wire) const {
        const std::size_t value = ValueNamed(TextOf(wire));
        const auto isMap = IsMap(m_graph, value);
        if (isMap && *isMap != port.isMap) {
            throw CUseError("'" + TextOf(wire) + "' is " + (*isMap ? "a map" : "an image") + ", but the input takes " +
                            (port.isMap ? "a map" : "an image"));
        }
        return value;
    }

    void AddOutput(const std::string& name, const CValue& value) {
        RequireName(name);
        StGraphOutput output{name, 0, ""};
        if (value.GenericType() == EnValType::String) {
            output.value = ValueNamed(TextOf(value));
        } else {
            const CValueMap& map = MapOf(value);
            RequireKeys(map, {"description", "file", "from"});
            if (!map.HasEntry("from")) {
                throw CUseError("the key 'from' is missing, which names the value that is written");
            }
            output.value = InTheNameOf("from", [&] { return ValueNamed(TextOf(*map.Entry("from", true))); });
            output.file = FileOf(map);
        }
        m_graph.outputs.push_back(std::move(output));
    }

    /// The value of NAME or NAME.NUMBER: an input, the first output of a node, or the output of that number.
    std::size_t ValueNamed(const std::string& text) const {
        const std::size_t dot = text.find('.');
        const std::string name = text.substr(0, dot);
        const auto source = m_sources.find(name);
        if (source == m_sources.end()) {
            std::vector<std::string> names;
            for (const auto& known : m_sources) {
                names.push_back(known.first);
            }
            throw CUseError("no input and no node is called '" + name + "'" + NearestHint(name, names));
        }
        const auto [first, count] = source->second;
        const std::optional<std::size_t> number = dot == std::string::npos ? 0 : NumberOf(text.substr(dot + 1));
        if (!number || *number >= count) {
            throw CUseError("'" + text + "': '" + name + "' has " +
                            (count == 1
                                 ? "1 output, number 0"
                                 : std::to_string(count) + " outputs, numbers 0 to " + std::to_string(count - 1)));
        }
        return first + *number;
    }

    static std::optional<std::size_t> NumberOf(const std::string& text) {
        std::size_t number = 0;
        const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
        const bool isWhole = failure == std::errc() && end == text.data() + text.size();
        return isWhole ? std::optional(number) : std::nullopt;
    }

    /// Each input must serve for something: one that doesn't is a slip.
    void RequireReaders() const {
        std::vector<bool> isRead(m_graph.sources.size(), false);
        for (const StGraphNode& node : m_graph.nodes) {
            for (const auto& value : node.inputs) {
                if (value) {
                    isRead[*value] = true;
                }
            }
        }
        for (const StGraphOutput& output : m_graph.outputs) {
            isRead[output.value] = true;
        }
        for (const StGraphInput& input : m_graph.inputs) {
            if (!isRead[input.value]) {
                throw CUseError("inputs/" + input.name + ": no node and no output takes this input");
            }
        }
    }

    /// Makes a name known that wires call values by.
    void Name(const std::string& name, const StSource& source) {
        RequireName(name);
        if (!m_sources.emplace(name, source).second) {
            throw CUseError("an input has this name, too");
        }
    }

    static void RequireName(const std::string& name) {
        const bool isName = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char letter) {
            return std::isalnum(letter) != 0 || letter == '_' || letter == '-';
        });
        if (!isName) {
            throw CUseError("a name has letters, digits, '_' and '-' only");
        }
    }

    std::string FileOf(const CValueMap& map) const {
        if (!map.HasEntry("file")) {
            return "";
        }
        return InTheNameOf("file", [&] {
            const std::string file = TextOf(*map.Entry("file", true));
            if (file.find('\0') != std::string::npos) { // the system would take what stands before it
                throw CUseError("no file's name holds the character U+0000");
            }
            return (m_folder / file).string();
        });
    }

    /// Calls `work` with each entry of the map under `key`, and puts its place before what is raised.
    template <class Work> static void ForEach(const CValueMap& map, const std::string& key, const Work& work) {
        for (const auto& [name, value] : Sub(map, key)) {
            InTheNameOf(key + "/" + JsonFromKey(name),
                        [&, &entry = *value, &entryName = name] { work(entryName, entry); });
        }
    }

    /// The map under `key`; an empty one stands for an absent entry.
    static const CValueMap& Sub(const CValueMap& map, const std::string& key) {
        static const CValueMap none;
        const CValue* entry = map.Entry(CValue_Key(key), false);
        return entry == nullptr ? none : InTheNameOf(key, [&]() -> const CValueMap& { return MapOf(*entry); });
    }

    static const CValueMap& MapOf(const CValue& value) {
        if (value.GenericType() != EnValType::Map) {
            throw CUseError(std::string("a map is needed, not a ") + KindWord(value.GenericType()));
        }
        return *value.Map();
    }

    static std::string TextOf(const CValue& value) {
        if (value.GenericType() != EnValType::String) {
            throw CUseError(std::string("a text is needed, not a ") + KindWord(value.GenericType()));
        }
        return value.String().Text();
    }

    /// Checks that a map has no keys but `known`, and that those for people and editors are texts.
    static void RequireKeys(const CValueMap& map, const std::vector<std::string>& known) {
        for (const auto& [key, value] : map) {
            const std::string name = JsonFromKey(key);
            if (std::find(known.begin(), known.end(), name) == known.end()) {
                throw CUseError("unknown key '" + name + "'" + NearestHint(name, known));
            }
            if (name == "description" || name == "$schema") {
                InTheNameOf(name, [&, &entry = *value] { static_cast<void>(TextOf(entry)); });
            }
        }
    }

    fs::path m_folder;
    CModules& m_modules;
    StGraph m_graph;
    std::map<std::string, StSource> m_sources;
    std::map<std::string, std::shared_ptr<const StNodeDescription>> m_descriptions;
};

/// The value of a graph's file. One that is far larger than any graph is refused: what is made of it takes a hundred
/// times its bytes.
std::unique_ptr<CValue> ReadGraphValue(const std::string& file) {
    constexpr std::uint64_t most = std::uint64_t{1} << 24; // some 200000 nodes
    const CInputFile input(file, most);
    if (input.Size() > most) {
        throw CUseError(input.Name() + ": it has more than the " + std::to_string(most) +
                        " bytes that a graph has at the most");
    }
    return ReadValue(input, {});
}

} // namespace

StGraph ReadGraph(const std::string& file, CModules& modules) {
    CheckInputFile(file);
    const std::unique_ptr<CValue> value = ReadGraphValue(file);
    return InTheNameOf(file, [&] {
        if (value->GenericType() != EnValType::Map) {
            throw CUseError("a graph is a .json file");
        }
        return CGraphReader(fs::path(file).parent_path(), modules).Read(*value->Map());
    });
}

} // namespace vessa
