#pragma once

#include "NodeDescription.h"
#include "Places.h"

#include <string>
#include <vector>

namespace vessa {

/// The lines of the file `examples.txt` that run the node, as they stand there: without quotation marks, with the
/// samples in the folder `samples/`.
std::vector<std::string> ExampleLines(const StPlaces& places, const std::string& node);

/// A command line that runs the node: its first line of the file `examples.txt` that stands with the samples, with the
/// names of the samples as they are reached from the current folder. Without one, the plain form with names to fill in.
std::string Example(const StPlaces& places, const StNodeDescription& node);

} // namespace vessa
