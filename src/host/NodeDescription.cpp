#include "NodeDescription.h"

#include "Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <limits>
#include <map>
#include <string_view>

using namespace QUOR;

namespace vessa {

namespace {

/// One section of a description text.
struct StSection {
    std::string header; ///< as in "INPUT 0"
    std::string body;
};

bool IsHeader(std::string_view line) {
    constexpr std::array<std::string_view, 4> whole{"BRIEF", "NOTE", "KEYWORDS", "SEE ALSO"};
    constexpr std::array<std::string_view, 3> named{"INPUT ", "OUTPUT ", "PARAMETER "};
    return std::find(whole.begin(), whole.end(), line) != whole.end() ||
           std::any_of(named.begin(), named.end(), [&](std::string_view word) { return line.starts_with(word); });
}

std::vector<StSection> Sections(std::string_view text) {
    std::vector<StSection> sections;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (IsHeader(line)) {
            sections.push_back({std::string(line), {}});
        } else if (!sections.empty()) {
            sections.back().body.append(line).append("\n");
        }
    }
    return sections;
}

/// The entry as a map; an empty one stands for an absent entry and for one of another kind.
const CValueMap& MapEntry(const CValueMap& map, const char* key) {
    static const CValueMap none;
    return map.HasEntry(key, EnValType::Map) ? *std::as_const(*map.Entry(key, true)).Map() : none;
}

std::string TextEntry(const CValueMap& map, const char* key) { return map.EntryString(key, CString()).Text(); }

std::optional<int> NumberOf(std::string_view text) {
    int number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    return failure == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// The body without the sentence that tells the kind, which the program shows on its own.
std::string WithoutKindSentence(std::string text) {
    constexpr std::string_view opening = "The type of this parameter is of type ";
    if (text.starts_with(opening)) {
        const std::size_t end = text.find('.', opening.size());
        text.erase(0, end == std::string::npos ? text.size() : end + 1);
    }
    return text;
}

/// The ports by their numbers: those of a map have texts as keys, among which "10" comes before "2".
std::vector<StPort> Ports(const CValueMap& ports) {
    std::vector<StPort> list;
    for (int number = 0; ports.HasEntry(CValue_Key(std::to_string(number))); ++number) {
        const CValue& port = *ports.Entry(CValue_Key(std::to_string(number)), true);
        list.push_back({CMarkup(TextEntry(port.Meta(), "label")), port.GenericType() == EnValType::Map,
                        port.Meta().EntryBool("optional", false)});
    }
    return list;
}

/// The places of parameters in a form, by their keys.
std::map<std::string, int> Orders(const CValueMap& setup) {
    std::map<std::string, int> orders;
    for (const auto& [number, key] : MapEntry(setup, "gui/order")) {
        if (const auto place = NumberOf(number.Text()); place && key->GenericType() == EnValType::String) {
            orders[key->String().Text()] = *place;
        }
    }
    return orders;
}

std::vector<StParameter> Parameters(const CValueMap& setup) {
    const std::map<std::string, int> orders = Orders(setup);
    std::vector<StParameter> parameters;
    for (const auto& [key, value] : MapEntry(setup, "parameters")) {
        StParameter parameter;
        parameter.key = key.Text();
        parameter.standard.reset(value->Clone(EnTfOwnership::Copy));
        parameter.allowed = SplitList(TextEntry(value->Meta(), "val/enValues"));
        parameter.visibleIf = TextEntry(value->Meta(), "visible_if_rpn");
        parameter.text = CMarkup(WithoutKindSentence(TextEntry(value->Meta(), "desc")));
        if (const auto order = orders.find(parameter.key); order != orders.end()) {
            parameter.order = order->second;
        }
        parameters.push_back(std::move(parameter));
    }
    std::stable_sort(parameters.begin(), parameters.end(), [](const StParameter& a, const StParameter& b) {
        constexpr int last = std::numeric_limits<int>::max();
        return a.order.value_or(last) < b.order.value_or(last);
    });
    return parameters;
}

std::vector<std::string> Keywords(const CValueMap& setup) {
    std::vector<std::string> words;
    if (setup.HasEntry("keywords", EnValType::Vector)) {
        const CValueVector& keywords = *std::as_const(*setup.Entry("keywords", true)).Vector();
        for (int index = 0; index < static_cast<int>(keywords.Size()); ++index) {
            if (keywords.HasEntry(index, EnValType::String)) {
                words.push_back(keywords.Entry(index, true)->String().Text());
            }
        }
    }
    return words;
}

void SplitBrief(StNodeDescription& node, const std::string& body) {
    const std::size_t end = std::min(body.find("\n\n"), body.size());
    node.brief = CMarkup(body.substr(0, end));
    node.text = CMarkup(body.substr(end));
}

/// Takes over what stands in the text only.
void AddSection(StNodeDescription& node, const StSection& section) {
    constexpr std::string_view parameter = "PARAMETER ";
    if (section.header == "BRIEF") {
        SplitBrief(node, section.body);
    } else if (section.header == "NOTE") {
        node.notes.emplace_back(section.body);
    } else if (section.header == "SEE ALSO") {
        node.seeAlso = CMarkup(section.body);
    } else if (section.header.starts_with(parameter)) {
        const std::string key = section.header.substr(parameter.size());
        if (FindParameter(node, key) == nullptr) {
            node.furtherKeys.push_back({key, CMarkup(WithoutKindSentence(section.body))});
        }
    }
}

} // namespace

StNodeDescription Describe(const std::string& name, CPNode& node) {
    const auto map = std::make_shared<CValueMap>();
    node.GetPluginSetup(*map);
    const CValueMap& setup = *map;
    StNodeDescription description;
    description.map = map;
    description.name = name;
    description.type = TextEntry(setup, "pluginType");
    description.subType = TextEntry(setup, "subType");
    description.inputs = Ports(MapEntry(setup, "inputs"));
    description.outputs = Ports(MapEntry(setup, "outputs"));
    description.parameters = Parameters(setup);
    description.keywords = Keywords(setup);
    description.page = TextEntry(setup, "__nodekaDocumentation");
    for (const StSection& section : Sections(TextEntry(setup, "description"))) {
        AddSection(description, section);
    }
    return description;
}

const StParameter* FindParameter(const StNodeDescription& node, const std::string& key) {
    const auto found = std::find_if(node.parameters.begin(), node.parameters.end(),
                                    [&](const StParameter& parameter) { return parameter.key == key; });
    return found == node.parameters.end() ? nullptr : &*found;
}

bool HasOption(const StParameter& parameter) {
    // Descriptions are read without a parser: a test compares these with the options that it has.
    constexpr std::array<std::string_view, 10> common{"help",       "input",     "output", "plugin", "set",
                                                      "max-memory", "png-level", "format", "timing", "dry-run"};
    const std::string& key = parameter.key;
    const bool isName = !key.empty() && !key.starts_with('-') && std::all_of(key.begin(), key.end(), [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_' || letter == '-' || letter == '.';
    });
    return isName && std::find(common.begin(), common.end(), key) == common.end();
}

const char* KindWord(EnValType kind) {
    switch (kind) {
    case EnValType::Bool:
        return "bool";
    case EnValType::Long:
        return "long";
    case EnValType::Double:
        return "double";
    case EnValType::String:
        return "string";
    case EnValType::Map:
        return "map";
    case EnValType::Vector:
        return "vector";
    case EnValType::Pointer:
        return "pointer";
    }
    return "unknown";
}

} // namespace vessa
