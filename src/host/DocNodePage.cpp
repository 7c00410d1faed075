#include "DocFrame.h"
#include "DocPage.h"
#include "DocText.h"
#include "Html.h"
#include "NodeText.h"
#include "ParameterValue.h"
#include "Text.h"
#include "ValueFile.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace vessa {

namespace fs = std::filesystem;

namespace {

/// The words that a node's texts explain in lines of their own.
std::vector<std::string> Terms(const StNodeDescription& node) {
    std::vector<std::string> terms;
    for (const StParameter& parameter : node.parameters) {
        terms.insert(terms.end(), parameter.allowed.begin(), parameter.allowed.end());
    }
    return terms;
}

std::string ListedCode(const std::vector<std::string>& words) {
    std::vector<std::string> codes(words.size());
    std::transform(words.begin(), words.end(), codes.begin(), [](const std::string& word) { return Code(word); });
    return Join(codes, ", ");
}

std::string NumbersHtml(const StDocFile& file) {
    std::string rows;
    for (const std::vector<std::string>& row : file.view.table) {
        std::string cells;
        for (const std::string& cell : row) {
            cells += Element("td", Escaped(cell));
        }
        rows += ElementLine("tr", cells);
    }
    return rows.empty() ? ""
                        : Scrolled("Elements of " + file.name, ElementBlock("table", {{"class", "elements"}}, rows));
}

std::string PictureHtml(const StDocFile& file, const fs::path& page) {
    if (file.view.picture == nullptr) {
        return "";
    }
    const QUOR::CSize& size = file.view.picture->Size();
    const std::string reading = file.view.reading.empty() ? "" : ", " + file.view.reading;
    return Tag("img", {{"src", LinkBetween(page, file.picture)},
                       {"alt", file.name + ": " + file.view.facts + reading},
                       {"width", std::to_string(size.x)},
                       {"height", std::to_string(size.y)}}) +
           "\n";
}

std::string FileHtml(const StDocFile& file, const fs::path& page) {
    const StValueView& view = file.view;
    const std::string json = view.json.empty() ? "" : ElementLine("pre", Code(view.json));
    const std::string reading = view.reading.empty() ? "" : Tag("br") + Escaped(view.reading);
    const std::string caption = Code(file.name) + " " + Escaped(view.facts) + reading;
    return ElementBlock("figure",
                        PictureHtml(file, page) + NumbersHtml(file) + json + ElementLine("figcaption", caption));
}

std::string FilesHtml(const std::string& title, const std::vector<StDocFile>& files, const fs::path& page) {
    std::string figures;
    for (const StDocFile& file : files) {
        figures += FileHtml(file, page);
    }
    return files.empty()
               ? ""
               : ElementBlock("div", ElementLine("h3", title) + ElementBlock("div", {{"class", "figures"}}, figures));
}

/// The command, whose lines are to break between its words only: they begin with hyphens.
std::string CommandHtml(const std::string& line) {
    std::istringstream words(line);
    std::string html;
    for (std::string word; words >> word;) {
        html.append(html.empty() ? "" : " ").append(Element("span", Escaped(word)));
    }
    return ElementLine("pre", {{"class", "command"}}, Element("code", html));
}

std::string ExamplesHtml(const StDocNode& node, const std::vector<StDocExample>& examples) {
    std::string html;
    for (const StDocExample& example : examples) {
        html += CommandHtml(example.line) + ElementBlock("div", {{"class", "pictures"}},
                                                         FilesHtml("Before", example.before, node.page) +
                                                             FilesHtml("After", example.after, node.page));
    }
    return Section(examples.size() > 1 ? "Examples" : "Example", html);
}

std::string TypesHtml(const std::vector<std::string>& types) {
    return types.size() == AllTypes().size() ? "all" : ListedCode(types);
}

/// The inputs or outputs, a row for each, with a column for the types that are taken where they are known.
std::string PortsHtml(const std::string& title, const std::vector<StPort>& ports,
                      const std::vector<std::vector<std::string>>& types) {
    const bool hasTypes = std::any_of(types.begin(), types.end(), [](const auto& list) { return !list.empty(); });
    const auto column = [](const char* name) { return Element("th", {{"scope", "col"}}, name); };
    std::string rows = ElementLine("tr", column("Port") + column("Carries") + column("Text") +
                                             (hasTypes ? column("Element types taken") : ""));
    for (std::size_t number = 0; number < ports.size(); ++number) {
        const StPort& port = ports[number];
        const std::string kind = (port.isMap ? "map" : "image") + std::string(port.optional ? ", optional" : "");
        rows += ElementLine("tr", Element("td", std::to_string(number)) + Element("td", kind) +
                                      Element("td", LineHtml(port.label)) +
                                      (hasTypes ? Element("td", {{"class", "types"}}, TypesHtml(types[number])) : ""));
    }
    return ports.empty() ? "" : Section(title, Scrolled(title, ElementBlock("table", rows)));
}

std::string ParameterHtml(const StParameter& parameter, const std::vector<std::string>& terms) {
    const std::string name = "parameter-" + Anchor(parameter.key);
    const std::string term =
        Element("a", {{"href", "#" + name}}, Code(OptionForm(parameter))) + " " +
        Element("span", {{"class", "kind"}}, KindWord(parameter.Kind())) + " " +
        Element("span", {{"class", "default"}}, "default " + Code(FormatValue(*parameter.standard)));
    std::string text;
    if (!parameter.allowed.empty()) {
        text += ElementLine("p", "One of " + ListedCode(parameter.allowed) + ".");
    }
    text += ParagraphsHtml(parameter.text, terms);
    if (!parameter.visibleIf.empty()) {
        text += ElementLine("p", {{"class", "remark"}},
                            "Forms show it if " + Code(parameter.visibleIf) + ", in postfix notation.");
    }
    return ElementLine("dt", {{"id", name}}, term) + ElementBlock("dd", text);
}

std::string ParametersHtml(const StNodeDescription& node) {
    const std::vector<std::string> terms = Terms(node);
    std::string list;
    for (const StParameter& parameter : node.parameters) {
        list += ParameterHtml(parameter, terms);
    }
    return list.empty() ? "" : Section("Parameters", ElementBlock("dl", {{"class", "parameters"}}, list));
}

std::string FurtherKeysHtml(const StNodeDescription& node) {
    std::string list;
    for (const StFurtherKey& key : node.furtherKeys) {
        list += ElementLine("dt", Code(key.key)) + ElementBlock("dd", ParagraphsHtml(key.text, {}));
    }
    return list.empty() ? ""
                        : Section("Not declared, but in the text", ElementBlock("dl", {{"class", "parameters"}}, list));
}

std::string NotesHtml(const StNodeDescription& node) {
    std::string notes;
    for (const CMarkup& note : node.notes) {
        notes += ParagraphsHtml(note, {});
    }
    const char* title = node.notes.size() > 1 ? "Notes" : "Note";
    return notes.empty() ? "" : Section(title, ElementBlock("div", {{"class", "notes"}}, notes));
}

std::string KeywordsHtml(const StNodeDescription& node) {
    std::string items;
    for (const std::string& keyword : node.keywords) {
        items += ElementLine("li", Escaped(keyword));
    }
    return items.empty() ? "" : Section("Keywords", ElementBlock("ul", {{"class", "keywords"}}, items));
}

/// The node of this name in a group, in any case of letters if `anyCase`; null if there is none.
const StDocNode* FindNodeIn(const StDocGroup& group, const std::string& name, bool anyCase) {
    const auto found = std::find_if(group.nodes.begin(), group.nodes.end(), [&](const StDocNode& node) {
        const std::string& own = node.description.name;
        return own == name || (anyCase && EqualsAnyCase(own, name));
    });
    return found == group.nodes.end() ? nullptr : &*found;
}

/// The same of all groups.
const StDocNode* FindNode(const DocCatalogue& catalogue, const std::string& name, bool anyCase) {
    for (const StDocModule& module : catalogue) {
        for (const StDocGroup& group : module.groups) {
            if (const StDocNode* node = FindNodeIn(group, name, anyCase)) {
                return node;
            }
        }
    }
    return nullptr;
}

/// The text in paragraphs, with links where it names nodes: in any case of letters at the begin of a line, where no
/// verb is meant.
std::string SeeAlsoHtml(const DocCatalogue& catalogue, const StDocNode& node) {
    std::string html;
    std::string word;
    bool beginsLine = true;
    for (const char letter : node.description.seeAlso.Plain() + "\n") {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0) {
            word += letter;
            continue;
        }
        const StDocNode* named = word.empty() ? nullptr : FindNode(catalogue, word, beginsLine);
        html += named == nullptr ? Escaped(word) : Link(node.page, named->page, Escaped(word));
        html += Escaped({&letter, 1});
        beginsLine = letter == '\n';
        word.clear();
    }
    const bool isEmpty = OneLine(html).empty();
    return isEmpty ? "" : Section("See also", ElementLine("p", OneLine(html)));
}

} // namespace

std::string NodePage(const DocCatalogue& catalogue, const StDocModule& module, const StDocNode& node,
                     const StDocTrials& trials) {
    const StNodeDescription& description = node.description;
    const StDocFrame frame{node.page, description.name + " - " + module.name, description.brief.Line(), &module, false};
    return FramedPage(frame, ElementLine("h1", Escaped(description.name)) +
                                 ElementLine("p", {{"class", "lead"}}, LineHtml(description.brief)) +
                                 ParagraphsHtml(description.text, Terms(description)) +
                                 ExamplesHtml(node, trials.examples) +
                                 PortsHtml("Inputs", description.inputs, trials.acceptedTypes) +
                                 PortsHtml("Outputs", description.outputs, {}) + ParametersHtml(description) +
                                 FurtherKeysHtml(description) + NotesHtml(description) + KeywordsHtml(description) +
                                 SeeAlsoHtml(catalogue, node));
}

} // namespace vessa
