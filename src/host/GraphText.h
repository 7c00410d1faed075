#pragma once

#include "Graph.h"

#include <string>

/// A graph as people and other programs read it.
namespace vessa {

/// What a run would do, a line for each step: the files read, the nodes with their inputs and the parameters that
/// differ from the defaults, the files written.
std::string PlanText(const StGraph& graph, const StGraphFiles& files);

/// The graph in the language of Graphviz.
std::string DotText(const StGraph& graph);

} // namespace vessa
