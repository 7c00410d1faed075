#pragma once

#include "NodeDescription.h"
#include "Text.h"

#include <string>

/// What people read of a node on a terminal.
namespace vessa {

/// What is typed to give the parameter another value than its default: "--key", "--key=false" or "--key VALUE", or an
/// assignment where the key is no option.
std::string OptionForm(const StParameter& parameter);

/// The file of the node's documentation, with the environment's variables in their places.
std::string PageFile(const StNodeDescription& node);

/// The help of a node's run: `options` is the text about the options that every node has.
std::string HelpText(const StNodeDescription& node, const std::string& options, const std::string& example,
                     const StTextStyle& style);

/// The whole description.
std::string DescriptionText(const StNodeDescription& node, const std::string& module, const StTextStyle& style);

} // namespace vessa
