#include "DocFrame.h"

#include "Html.h"

namespace vessa {

namespace fs = std::filesystem;

namespace {

std::string Head(const StDocFrame& frame) {
    std::string head = Tag("meta", {{"charset", "utf-8"}}) + "\n" +
                       Tag("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}}) + "\n" +
                       Tag("meta", {{"name", "color-scheme"}, {"content", "light dark"}}) + "\n" +
                       Tag("meta", {{"name", "description"}, {"content", frame.brief}}) + "\n" +
                       ElementLine("title", Escaped(frame.title)) +
                       Tag("link", {{"rel", "stylesheet"}, {"href", LinkBetween(frame.page, kDocStyle)}}) + "\n";
    if (frame.isIndex) {
        head += ElementLine("script", {{"src", LinkBetween(frame.page, kDocSearch)}, {"defer", "defer"}}, "");
    }
    return ElementBlock("head", head);
}

/// The field that searches this index page, or from another page, that of its module.
std::string SearchForm(const StDocFrame& frame) {
    const fs::path target = frame.module == nullptr ? kDocTop : frame.module->index;
    const std::string label = ElementLine("label", {{"for", "query"}}, "Search");
    const std::string field = Tag("input", {{"id", "query"},
                                            {"name", "q"},
                                            {"type", "search"},
                                            {"placeholder", "Name, keyword or word"},
                                            {"autocomplete", "off"},
                                            {"spellcheck", "false"}});
    return ElementBlock("form", {{"id", "search"}, {"role", "search"}, {"action", LinkBetween(frame.page, target)}},
                        label + field + "\n");
}

/// The way from the top page to this one.
std::string Trail(const StDocFrame& frame) {
    const auto step = [&](const fs::path& page, const std::string& name) {
        return frame.page == page ? Element("span", {{"aria-current", "page"}}, name) : Link(frame.page, page, name);
    };
    std::string trail = step(kDocTop, "vessa");
    if (frame.module != nullptr) {
        trail +=
            Element("span", {{"class", "divider"}}, " / ") + step(frame.module->index, Escaped(frame.module->name));
    }
    return ElementLine("nav", {{"class", "trail"}, {"aria-label", "Place"}}, trail);
}

/// The names of all nodes of a module, by kind of work.
std::string Sidebar(const StDocFrame& frame) {
    std::string groups;
    for (const StDocGroup& group : frame.module->groups) {
        std::string items;
        for (const StDocNode& node : group.nodes) {
            const std::string name = Escaped(node.description.name);
            const bool isOwn = node.page == frame.page;
            items += ElementLine("li", isOwn ? Element("a", {{"href", "#main"}, {"aria-current", "page"}}, name)
                                             : Link(frame.page, node.page, name));
        }
        groups += ElementLine("h2", Escaped(group.title)) + ElementBlock("ul", items);
    }
    return ElementBlock("nav", {{"class", "sidebar"}, {"aria-label", "Nodes of the module"}}, groups);
}

} // namespace

std::string FramedPage(const StDocFrame& frame, const std::string& content) {
    const std::string skip = ElementLine("a", {{"class", "skip"}, {"href", "#main"}}, "Skip to the content");
    const std::string main = ElementBlock("main", {{"id", "main"}, {"tabindex", "-1"}}, content);
    const std::string footer = "Made by " + Code("vessa doc") +
                               " from what the nodes say of themselves. The pictures show what the commands beside "
                               "them make of the samples.";
    const std::string body = skip + ElementBlock("header", Trail(frame) + SearchForm(frame)) +
                             ElementBlock("div", {{"class", frame.isIndex ? "index" : "page"}},
                                          main + (frame.isIndex ? "" : Sidebar(frame))) +
                             ElementLine("footer", footer);
    return "<!DOCTYPE html>\n" + ElementBlock("html", {{"lang", "en"}}, Head(frame) + ElementBlock("body", body));
}

std::string Link(const fs::path& from, const fs::path& to, const std::string& content) {
    return Element("a", {{"href", LinkBetween(from, to)}}, content);
}

std::string Section(const std::string& title, const std::string& content) {
    if (content.empty()) {
        return "";
    }
    const std::string name = "section-" + Anchor(title);
    return ElementBlock("section", {{"aria-labelledby", name}},
                        ElementLine("h2", {{"id", name}}, Escaped(title)) + content);
}

std::string Scrolled(const std::string& label, const std::string& content) {
    return ElementBlock("div", {{"class", "scroll"}, {"role", "region"}, {"aria-label", label}, {"tabindex", "0"}},
                        content);
}

} // namespace vessa
