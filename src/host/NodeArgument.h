#pragma once

#include "Command.h"

namespace vessa {

/// Adds NODE, the name of a node. The shells complete it by the nodes in reach, those of `plugins` among them, which
/// must be read by then.
void AddNodeArgument(CArgumentParser& parser, const StContext& context, std::string& name,
                     const std::vector<std::string>& plugins);

} // namespace vessa
