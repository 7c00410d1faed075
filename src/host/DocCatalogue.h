#pragma once

#include "Modules.h"
#include "Places.h"

#include <filesystem>
#include <string>
#include <vector>

/// What the documentation is about, in the order in which it stands there.
namespace vessa {

struct StDocNode {
    StNodeDescription description;
    std::filesystem::path page; ///< below the documentation's folder
};

/// Nodes for one kind of work.
struct StDocGroup {
    std::string title;
    std::vector<StDocNode> nodes;
};

struct StDocModule {
    std::string name;
    std::filesystem::path index; ///< the page that lists its nodes, below the documentation's folder
    std::vector<StDocGroup> groups;
};

using DocCatalogue = std::vector<StDocModule>;

/// The nodes by module and kind of work. The kinds are the lines "TITLE: NODE, NODE, ..." of the file `groups.txt` that
/// stands with the samples; nodes that it doesn't name follow under their subtype. The first of several nodes with one
/// name counts. A node's page stands where its description says, below `doc` of the prefix; without such an entry, in a
/// folder of its module and name. Raises a `CWorkError` if two pages had one place.
DocCatalogue MakeCatalogue(const StPlaces& places, std::vector<CModules::StModule> modules);

} // namespace vessa
