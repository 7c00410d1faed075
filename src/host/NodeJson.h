#pragma once

#include "NodeDescription.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

/// What programs read of a node.
namespace vessa {

/// The description in the form that the program works with and, under "map", whole as the node gives it.
nlohmann::ordered_json DescriptionJson(const StNodeDescription& node, const std::string& module);

} // namespace vessa
