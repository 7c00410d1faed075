#pragma once

#include "NodeDescription.h"
#include "Places.h"

#include <string>

namespace vessa {

/// A command line that runs the node: its line of the file `examples.txt` that stands with the samples, with the names
/// of the samples as they are reached from the current folder. Without one, the plain form with names to fill in.
std::string Example(const StPlaces& places, const StNodeDescription& node);

} // namespace vessa
