#include "DocCatalogue.h"

#include "Errors.h"
#include "Text.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// A kind of work and the names of its nodes.
struct StKind {
    std::string title;
    std::vector<std::string> nodes;
};

std::vector<StKind> ReadKinds(const StPlaces& places) {
    std::ifstream file(places.samples / "groups.txt");
    std::vector<StKind> kinds;
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) {
            kinds.push_back({line.substr(0, colon), SplitList(line.substr(colon + 1))});
        }
    }
    return kinds;
}

/// The page as the description has it, if that is a file below `doc` of the prefix; otherwise a place of its own.
fs::path PageOf(const std::string& module, const StNodeDescription& node) {
    const std::string folder = "%QUORDIR%/doc/";
    if (node.page.starts_with(folder)) {
        fs::path page = fs::path(node.page.substr(folder.size())).lexically_normal();
        if (page.is_relative() && page.has_filename() && *page.begin() != "..") {
            return page;
        }
    }
    return fs::path(module) / node.name / "index.html";
}

/// The index stands above the folders of the pages.
fs::path IndexOf(const StDocModule& module) {
    const fs::path folder = module.groups.front().nodes.front().page.parent_path().parent_path();
    return (folder.empty() ? fs::path(module.name) : folder) / "index.html";
}

/// Adds the nodes with the names to the module as a group, and takes them off the rest.
void AddGroup(StDocModule& module, const StKind& kind, std::map<std::string, StNodeDescription>& rest) {
    StDocGroup group{kind.title, {}};
    for (const std::string& name : kind.nodes) {
        if (auto node = rest.extract(name)) {
            const fs::path page = PageOf(module.name, node.mapped());
            group.nodes.push_back({std::move(node.mapped()), page});
        }
    }
    if (!group.nodes.empty()) {
        module.groups.push_back(std::move(group));
    }
}

/// Groups for the nodes that no kind names: one for each subtype.
std::vector<StKind> RestBySubType(const std::map<std::string, StNodeDescription>& rest) {
    std::map<std::string, StKind> kinds;
    for (const auto& [name, node] : rest) {
        StKind& kind = kinds[node.subType];
        kind.title = node.subType.empty() ? "Further nodes" : node.subType;
        kind.nodes.push_back(name);
    }
    std::vector<StKind> list;
    for (auto& [subType, kind] : kinds) {
        list.push_back(std::move(kind));
    }
    return list;
}

void RequirePlacesOfTheirOwn(const DocCatalogue& catalogue) {
    std::set<fs::path> pages{"index.html"};
    const auto require = [&](const fs::path& page) {
        if (!pages.insert(page).second) {
            throw CWorkError("two pages of the documentation have one place: " + page.string());
        }
    };
    for (const StDocModule& module : catalogue) {
        require(module.index);
        for (const StDocGroup& group : module.groups) {
            std::for_each(group.nodes.begin(), group.nodes.end(), [&](const StDocNode& node) { require(node.page); });
        }
    }
}

} // namespace

DocCatalogue MakeCatalogue(const StPlaces& places, std::vector<CModules::StModule> modules) {
    const std::vector<StKind> kinds = ReadKinds(places);
    DocCatalogue catalogue;
    std::set<std::string> names;
    for (CModules::StModule& module : modules) {
        StDocModule documented{module.name, {}, {}};
        std::map<std::string, StNodeDescription> rest;
        for (StNodeDescription& node : module.nodes) {
            if (const std::string name = node.name; names.insert(name).second) {
                rest.emplace(name, std::move(node));
            }
        }
        for (const StKind& kind : kinds) {
            AddGroup(documented, kind, rest);
        }
        for (const StKind& kind : RestBySubType(rest)) {
            AddGroup(documented, kind, rest);
        }
        if (!documented.groups.empty()) {
            documented.index = IndexOf(documented);
            catalogue.push_back(std::move(documented));
        }
    }
    RequirePlacesOfTheirOwn(catalogue);
    return catalogue;
}

} // namespace vessa
