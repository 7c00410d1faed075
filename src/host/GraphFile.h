#pragma once

#include "Graph.h"
#include "Modules.h"

#include <string>

namespace vessa {

/// Reads a graph from a JSON file and checks all of it: names, kinds and allowed values of parameters, wires, required
/// inputs, cycles. Raises a `CFileError` for a file that can't be read or is no JSON, and a `CUseError` that names the
/// file and the place in it for a graph that isn't right. The nodes are made by `modules`, which must outlive the
/// graph.
///
///     {
///       "inputs":  {"picture": {"file": "a.png", "type": "IMAGE_GREY_8"}, "mask": {}},
///       "nodes":   {"box": {"node": "Autocrop", "inputs": ["mask"]},
///                   "cut": {"node": "Extract", "inputs": ["picture", "box.1"], "parameters": {"size_x": 20}}},
///       "outputs": {"cut": {"from": "cut", "file": "{stem}-cut.png"}}
///     }
///
/// Files are named from the folder of the graph's file. `docs/graph.schema.json` tells the whole form.
StGraph ReadGraph(const std::string& file, CModules& modules);

} // namespace vessa
