#include "Graph.h"

#include "Errors.h"
#include "Text.h"

#include <algorithm>
#include <filesystem>
#include <set>

namespace vessa {

namespace {

namespace fs = std::filesystem;

/// Walks from node to node against the wires, depth first, and lists each node behind those that it takes values of.
class CNodeOrder {
public:
    explicit CNodeOrder(const StGraph& graph) : m_graph(graph), m_states(graph.nodes.size(), EnState::New) {
        for (std::size_t node = 0; node < graph.nodes.size(); ++node) {
            Visit(node);
        }
    }

    const std::vector<std::size_t>& Order() const { return m_order; }

private:
    enum class EnState { New, Open, Done };
    /// A node on the way from the first one, with the number of its input that is next.
    struct StStep {
        std::size_t node;
        std::size_t input = 0;
    };

    /// The way is kept in a list, since a long graph would exhaust the stack.
    void Visit(std::size_t start) {
        if (m_states[start] == EnState::Done) {
            return;
        }
        Enter(start);
        while (!m_way.empty()) {
            StStep& step = m_way.back();
            const auto& inputs = m_graph.nodes[step.node].inputs;
            if (step.input == inputs.size()) {
                m_states[step.node] = EnState::Done;
                m_order.push_back(step.node);
                m_way.pop_back();
                continue;
            }
            const auto& value = inputs[step.input++];
            const StGraphSource* source = value ? &m_graph.sources[*value] : nullptr;
            if (source != nullptr && !source->isInput && m_states[source->index] != EnState::Done) {
                Enter(source->index);
            }
        }
    }

    void Enter(std::size_t node) {
        if (m_states[node] == EnState::Open) {
            RaiseCycle(node);
        }
        m_states[node] = EnState::Open;
        m_way.push_back({node});
    }

    [[noreturn]] void RaiseCycle(std::size_t node) const {
        constexpr std::ptrdiff_t shown = 5; // at either end
        std::vector<std::string> names{m_graph.nodes[node].name};
        for (auto step = m_way.rbegin(); step->node != node; ++step) {
            names.push_back(m_graph.nodes[step->node].name);
        }
        names.push_back(names.front());
        if (const std::size_t most = 2 * shown + 1; names.size() > most) {
            names[shown] = "(" + std::to_string(names.size() - most + 1) + " more)";
            names.erase(names.begin() + shown + 1, names.end() - shown);
        }
        throw CUseError("the nodes' wires form a cycle: " + Join(names, " -> "));
    }

    const StGraph& m_graph;
    std::vector<EnState> m_states;
    std::vector<StStep> m_way;
    std::vector<std::size_t> m_order;
};

/// Checks that a value can be written to a file.
void CheckOutput(const StGraph& graph, const StGraphFiles& files, std::size_t value, const std::string& file,
                 const StWriteOptions& options) {
    if (const auto isMap = IsMap(graph, value)) {
        CheckOutputFile(file, *isMap, options);
        return;
    }
    CheckInputFile(file); // what an input's file holds is told once it is read
    const std::size_t index = *InputIndex(graph, value);
    if (files.inputs[index].file.empty()) {
        throw CUseError(file + ": the output takes the input '" + graph.inputs[index].name + "', which has no file");
    }
}

} // namespace

std::size_t StGraph::AddInput(const std::string& name, const StInputFile& file) {
    inputs.push_back({name, sources.size(), file});
    sources.push_back({true, inputs.size() - 1});
    return inputs.back().value;
}

StGraphNode& StGraph::AddNode(StGraphNode node) {
    node.firstOutput = sources.size();
    sources.resize(sources.size() + node.description->outputs.size(), {false, nodes.size()});
    nodes.push_back(std::move(node));
    return nodes.back();
}

StGraphFiles OwnFiles(const StGraph& graph) {
    StGraphFiles files;
    for (const StGraphInput& input : graph.inputs) {
        files.inputs.push_back(input.file);
    }
    for (const StGraphOutput& output : graph.outputs) {
        files.outputs.push_back(output.file);
    }
    return files;
}

const StGraphNode* Producer(const StGraph& graph, std::size_t value) {
    const StGraphSource& source = graph.sources[value];
    return source.isInput ? nullptr : &graph.nodes[source.index];
}

std::optional<std::size_t> InputIndex(const StGraph& graph, std::size_t value) {
    const StGraphSource& source = graph.sources[value];
    return source.isInput ? std::optional(source.index) : std::nullopt;
}

std::string ValueName(const StGraph& graph, std::size_t value) {
    const StGraphNode* node = Producer(graph, value);
    if (node == nullptr) {
        return graph.inputs[*InputIndex(graph, value)].name;
    }
    std::string name = node->name;
    if (node->description->outputs.size() > 1) {
        name.append(".").append(std::to_string(value - node->firstOutput));
    }
    return name;
}

std::optional<bool> IsMap(const StGraph& graph, std::size_t value) {
    const StGraphNode* node = Producer(graph, value);
    return node == nullptr ? std::nullopt : std::optional(node->description->outputs[value - node->firstOutput].isMap);
}

void SortNodes(StGraph& graph) {
    const CNodeOrder order(graph);
    std::vector<StGraphNode> sorted;
    for (const std::size_t node : order.Order()) {
        const std::size_t outputs = graph.nodes[node].description->outputs.size();
        const auto first = graph.sources.begin() + static_cast<std::ptrdiff_t>(graph.nodes[node].firstOutput);
        std::fill_n(first, outputs, StGraphSource{false, sorted.size()});
        sorted.push_back(std::move(graph.nodes[node]));
    }
    graph.nodes = std::move(sorted);
}

void CheckFiles(const StGraph& graph, const StGraphFiles& files, const StWriteOptions& options) {
    const auto isStream = [](const auto& input) { return input.file == kStandardStream; };
    if (std::count_if(files.inputs.begin(), files.inputs.end(), isStream) > 1) {
        throw CUseError("standard input can't be read for several inputs");
    }
    for (const StInputFile& input : files.inputs) {
        CheckInputFile(input.file);
    }
    std::set<fs::path> written;
    for (std::size_t index = 0; index < files.outputs.size(); ++index) {
        const std::string& file = files.outputs[index];
        if (!file.empty()) {
            CheckOutput(graph, files, graph.outputs[index].value, file, options);
            if (!written.insert(fs::path(file).lexically_normal()).second) {
                throw CUseError(file + ": two outputs can't go to one file");
            }
        }
    }
    if (options.format && !written.contains(std::string(kStandardStream))) {
        throw CUseError("--format is for standard output, where nothing goes: a file's name tells its format");
    }
}

} // namespace vessa
