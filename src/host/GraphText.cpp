#include "GraphText.h"

#include "ParameterValue.h"
#include "Printable.h"
#include "Text.h"

using namespace QUOR;

namespace vessa {

namespace {

std::string InputText(const StGraphInput& input, const StInputFile& file) {
    if (file.file.empty()) {
        return "leave  " + input.name + " empty";
    }
    return "read   " + file.file + (file.type ? std::string(" as ") + file.type->ToString() : "") +
           (input.name == file.file ? "" : " for " + input.name);
}

/// The parameters whose values aren't the declared defaults, as in "offset_x=3".
std::vector<std::string> Settings(const StGraphNode& node) {
    std::vector<std::string> settings;
    for (const auto& [key, value] : *node.parameters) {
        const std::string name = key.IsIndex() ? std::to_string(key.Index()) : key.Text();
        const StParameter* parameter = FindParameter(*node.description, name);
        const std::string text = FormatValue(*value);
        const bool isDefault = parameter != nullptr && parameter->Kind() == value->GenericType() &&
                               text == FormatValue(*parameter->standard);
        if (!isDefault) {
            settings.push_back(name + "=" + text);
        }
    }
    return settings;
}

std::string NodeLine(const StGraph& graph, const StGraphNode& node) {
    std::vector<std::string> inputs;
    for (const auto& value : node.inputs) {
        inputs.push_back(value ? ValueName(graph, *value) : "none");
    }
    const std::string settings = Join(Settings(node), " ");
    return "run    " + node.label + (inputs.empty() ? "" : " on " + Join(inputs, ", ")) +
           (settings.empty() ? "" : " with " + settings);
}

/// A text between quotes, in the language of Graphviz.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        quoted += letter == '"' || letter == '\\' ? "\\" : "";
        quoted += letter;
    }
    return quoted + "\"";
}

/// The name of the box that gives a value. Inputs, nodes and outputs have boxes; the letters before the names keep
/// those of one kind apart from those of another.
std::string BoxOf(const StGraph& graph, std::size_t value) {
    const StGraphNode* node = Producer(graph, value);
    return Quoted(node == nullptr ? "i " + ValueName(graph, value) : "n " + node->name);
}

/// A wire. The number of the output stands at its tail where there are several, that of the input at its head.
std::string DotWire(const StGraph& graph, std::size_t value, const std::string& head, const std::string& headLabel) {
    const StGraphNode* node = Producer(graph, value);
    const bool isOneOfMany = node != nullptr && node->description->outputs.size() > 1;
    const std::string tailLabel = isOneOfMany ? std::to_string(value - node->firstOutput) : "";
    const bool isMap = IsMap(graph, value).value_or(false);
    return "  " + BoxOf(graph, value) + " -> " + head + " [taillabel=" + Quoted(tailLabel) +
           ", headlabel=" + Quoted(headLabel) + (isMap ? ", style=dashed" : "") + "];\n";
}

} // namespace

std::string PlanText(const StGraph& graph, const StGraphFiles& files) {
    std::string text;
    const auto addLine = [&](const std::string& line) { text += PrintableLine(line) + "\n"; };
    for (std::size_t index = 0; index < graph.inputs.size(); ++index) {
        addLine(InputText(graph.inputs[index], files.inputs[index]));
    }
    for (const StGraphNode& node : graph.nodes) {
        addLine(NodeLine(graph, node));
    }
    for (std::size_t index = 0; index < graph.outputs.size(); ++index) {
        if (!files.outputs[index].empty()) {
            addLine("write  " + files.outputs[index] + " from " + ValueName(graph, graph.outputs[index].value));
        }
    }
    return text;
}

std::string DotText(const StGraph& graph) {
    std::string text = "digraph {\n  rankdir=LR;\n  node [shape=box];\n";
    for (const StGraphInput& input : graph.inputs) {
        text += "  " + Quoted("i " + input.name) + " [label=" + Quoted(input.name) + ", shape=ellipse];\n";
    }
    for (const StGraphNode& node : graph.nodes) {
        text += "  " + Quoted("n " + node.name) + " [label=" + Quoted(node.label) + "];\n";
    }
    for (const StGraphOutput& output : graph.outputs) {
        text += "  " + Quoted("o " + output.name) + " [label=" + Quoted(output.name) + ", shape=ellipse];\n";
    }
    for (const StGraphNode& node : graph.nodes) {
        for (std::size_t port = 0; port < node.inputs.size(); ++port) {
            if (node.inputs[port]) {
                const std::string label = node.inputs.size() == 1 ? "" : std::to_string(port);
                text += DotWire(graph, *node.inputs[port], Quoted("n " + node.name), label);
            }
        }
    }
    for (const StGraphOutput& output : graph.outputs) {
        text += DotWire(graph, output.value, Quoted("o " + output.name), "");
    }
    return text + "}\n";
}

} // namespace vessa
