#pragma once

#include "Modules.h"

#include <string>
#include <vector>

namespace vessa {

/// The names of the element types that each input of the node takes, found out by trying: runs with the parameters'
/// defaults on images of 4 by 4 ones, of every type for the input at hand and of any one type for the others. Beside
/// it, the first `usual` inputs are filled. Nothing for an input of maps, and for one that no run tells of.
std::vector<std::vector<std::string>> AcceptedTypes(CModules& modules, const StNodeDescription& node,
                                                    std::size_t usual);

} // namespace vessa
