#include "DocFrame.h"
#include "DocPage.h"
#include "DocText.h"
#include "Html.h"
#include "Text.h"

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// A node in a list. The script reads what it searches from it.
std::string EntryHtml(const StDocNode& node, const fs::path& page) {
    const StNodeDescription& description = node.description;
    const std::string brief = Element("span", {{"class", "brief"}}, LineHtml(description.brief));
    return ElementLine(
        "li", {{"class", "node"}, {"data-name", description.name}, {"data-keywords", Join(description.keywords, ", ")}},
        Link(page, node.page, Escaped(description.name)) + " " + brief);
}

/// The nodes by kind of work, under headings of the rank `heading`.
std::string GroupsHtml(const StDocModule& module, const fs::path& page, const char* heading) {
    std::string html;
    for (const StDocGroup& group : module.groups) {
        std::string entries;
        for (const StDocNode& node : group.nodes) {
            entries += EntryHtml(node, page);
        }
        html += ElementBlock("section", ElementLine(heading, Escaped(group.title)) +
                                            ElementBlock("ul", {{"class", "nodes"}}, entries));
    }
    return ElementBlock("div", {{"class", "groups"}}, html);
}

std::string Counted(const StDocModule& module) {
    std::size_t count = 0;
    for (const StDocGroup& group : module.groups) {
        count += group.nodes.size();
    }
    return std::to_string(count) + (count == 1 ? " node" : " nodes");
}

/// The page with room for what the script finds, which takes the place of `all`.
std::string IndexPage(const StDocFrame& frame, const std::string& all) {
    const std::string found = ElementBlock("div", {{"id", "found"}, {"hidden", "hidden"}},
                                           ElementLine("p", {{"id", "count"}, {"role", "status"}}, "") +
                                               ElementLine("ul", {{"id", "results"}, {"class", "nodes"}}, ""));
    return FramedPage(frame, ElementLine("h1", Escaped(frame.title)) +
                                 ElementLine("p", {{"class", "lead"}}, Escaped(frame.brief)) + found +
                                 ElementBlock("div", {{"id", "all"}}, all));
}

} // namespace

std::string ModulePage(const StDocModule& module) {
    const std::string brief = "The " + Counted(module) + " of the module, by kind of work.";
    return IndexPage({module.index, module.name, brief, &module, true}, GroupsHtml(module, module.index, "h2"));
}

std::string TopPage(const DocCatalogue& catalogue) {
    std::string all;
    for (const StDocModule& module : catalogue) {
        const std::string title =
            Link(kDocTop, module.index, Escaped(module.name)) + " " + Element("small", Counted(module));
        all += ElementBlock("section", ElementLine("h2", title) + GroupsHtml(module, kDocTop, "h3"));
    }
    return IndexPage(
        {kDocTop, "vessa", "Image-processing nodes, for image files in the shell and for C++ programs.", nullptr, true},
        all);
}

} // namespace vessa
