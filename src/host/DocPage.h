#pragma once

#include "DocCatalogue.h"
#include "ValueView.h"

#include <string>
#include <vector>

/// The pages of the documentation as HTML. Links lead to files below the documentation's folder only, and nothing but
/// the search needs a script.
namespace vessa {

/// A file of an example: how its value is seen, and the file of the picture.
struct StDocFile {
    std::string name;
    StValueView view;
    std::filesystem::path picture;
};

/// What an example makes of what.
struct StDocExample {
    std::string line;
    std::vector<StDocFile> before;
    std::vector<StDocFile> after;
};

/// What a node's page shows beside its description.
struct StDocTrials {
    std::vector<StDocExample> examples;
    std::vector<std::vector<std::string>> acceptedTypes; ///< for each input; empty where they aren't known
};

std::string NodePage(const DocCatalogue& catalogue, const StDocModule& module, const StDocNode& node,
                     const StDocTrials& trials);

/// The page that lists the nodes of one module.
std::string ModulePage(const StDocModule& module);

/// The page that lists all nodes, and leads to the others.
std::string TopPage(const DocCatalogue& catalogue);

} // namespace vessa
