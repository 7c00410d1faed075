#pragma once

#include "NodeDescription.h"
#include "PortFile.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A graph of nodes: what a chain of nodes on a command line and a graph file are made into, and what is run.
namespace vessa {

/// An input of a graph. Its value is read from a file, unless the node that takes it is to find it empty.
struct StGraphInput {
    std::string name;
    std::size_t value; ///< the number of the value that it gives
    StInputFile file;  ///< the one to read if no other is named
};

/// A node with its parameters and wires.
struct StGraphNode {
    std::string name;  ///< the name that wires call it by
    std::string label; ///< what messages and plans call it
    std::shared_ptr<const StNodeDescription> description;
    /// Makes a new object. Several threads may call it at a time.
    std::function<std::unique_ptr<QUOR::CPNode>()> make;
    std::shared_ptr<QUOR::CValueMap> parameters;
    std::vector<std::optional<std::size_t>> inputs; ///< the numbers of the values it takes; nothing for an empty port
    std::size_t firstOutput = 0;                    ///< the number of the value of its first output; the others follow
};

/// An output of a graph.
struct StGraphOutput {
    std::string name;
    std::size_t value; ///< the number of the value that it takes
    std::string file;  ///< where it goes if no other file is named; "" for nowhere
};

/// Where a value comes from.
struct StGraphSource {
    bool isInput;
    std::size_t index; ///< of the input or of the node, among those of the graph
};

/// Values are numbered: each input gives one, and each output of a node does.
struct StGraph {
    std::vector<StGraphInput> inputs;
    std::vector<StGraphNode> nodes;
    std::vector<StGraphOutput> outputs;
    std::vector<StGraphSource> sources; ///< of the values, by their numbers

    /// Add an input or a node, and number the values that it gives.
    /// @{
    std::size_t AddInput(const std::string& name, const StInputFile& file);
    StGraphNode& AddNode(StGraphNode node);
    /// @}
};

/// The files of one run, in the order of the graph's inputs and outputs. An output without a file isn't written.
struct StGraphFiles {
    std::vector<StInputFile> inputs;
    std::vector<std::string> outputs;
};

/// The files that the graph itself names.
StGraphFiles OwnFiles(const StGraph& graph);

/// The node that gives a value; null for the value of an input.
const StGraphNode* Producer(const StGraph& graph, std::size_t value);

/// The place of the input that gives a value, among the graph's inputs; nothing for the value of a node.
std::optional<std::size_t> InputIndex(const StGraph& graph, std::size_t value);

/// What wires call a value: the name of an input or of a node, and behind a dot the number of the output where the node
/// has several.
std::string ValueName(const StGraph& graph, std::size_t value);

/// True if the value is a map, false if it is an image; nothing for the value of an input, which its file decides on.
std::optional<bool> IsMap(const StGraph& graph, std::size_t value);

/// Puts the nodes into an order in which each comes after those that it takes values of. Raises a `CUseError` that
/// names the nodes of a cycle if there is one.
void SortNodes(StGraph& graph);

/// Checks all that can be told of the files before one is read. Raises a `CUseError`.
void CheckFiles(const StGraph& graph, const StGraphFiles& files, const StWriteOptions& options);

} // namespace vessa
