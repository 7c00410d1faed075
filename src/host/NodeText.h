#pragma once

#include "NodeDescription.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

/// What people and programs read of a node: its help, its whole description, and both as JSON.
namespace vessa {

/// The help of a node's run: `options` is the text about the options that every node has.
std::string HelpText(const StNodeDescription& node, const std::string& options, const std::string& example,
                     std::size_t width);

/// The whole description.
std::string DescriptionText(const StNodeDescription& node, const std::string& module, std::size_t width);
nlohmann::ordered_json DescriptionJson(const StNodeDescription& node, const std::string& module);

} // namespace vessa
