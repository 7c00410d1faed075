#include "Description.h"

#include "Value/ValuePointer.h"
#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"
#include "image/Image.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace QUOR::manipulation {

namespace {

/// One section of a description text.
struct StSection {
    std::string_view header; ///< as in "INPUT 0"
    std::string body;
};

bool IsHeader(std::string_view line) {
    constexpr std::array<std::string_view, 4> whole{"BRIEF", "NOTE", "KEYWORDS", "SEE ALSO"};
    constexpr std::array<std::string_view, 3> named{"INPUT ", "OUTPUT ", "PARAMETER "};
    return std::find(whole.begin(), whole.end(), line) != whole.end() ||
           std::any_of(named.begin(), named.end(), [&](std::string_view word) { return line.starts_with(word); });
}

/// Takes away the blank line that ends a section and the line end before it.
std::string WithoutEnd(std::string body) {
    for (int lineEnds = 0; lineEnds < 2 && body.ends_with('\n'); ++lineEnds) {
        body.pop_back();
    }
    return body;
}

std::vector<StSection> Sections(std::string_view text) {
    std::vector<StSection> sections;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (IsHeader(line)) {
            sections.push_back({line, {}});
        } else if (!sections.empty()) {
            sections.back().body.append(line).append("\n");
        }
    }
    if (!sections.empty()) {
        sections.back().body += '\n'; // the text's end counts as a blank line
    }
    for (StSection& section : sections) {
        section.body = WithoutEnd(std::move(section.body));
    }
    return sections;
}

std::vector<std::string> SplitAtCommas(std::string_view list) {
    std::vector<std::string> words;
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        std::string_view word = list.substr(0, end);
        list.remove_prefix(std::min(end + 1, list.size()));
        while (word.starts_with(' ')) {
            word.remove_prefix(1);
        }
        while (word.ends_with(' ')) {
            word.remove_suffix(1);
        }
        words.emplace_back(word);
    }
    return words;
}

void SetText(CValueMap& map, const char* key, const std::string& text) {
    map.SetEntry(key, std::make_unique<CValueString>(CString(text)));
}

/// The side information of a port or parameter; null if it isn't declared.
CValueMap* MetaOf(CValueMap& setup, const char* map, std::string_view entry) {
    const CValue_Key path(std::string(map).append("/").append(entry));
    return setup.HasEntry(path) ? &setup.Entry(path, true)->Meta() : nullptr;
}

void SetLabel(CValueMap& meta, const std::string& body) {
    if (!meta.HasEntry("label")) {
        SetText(meta, "label", body);
    }
}

void AddKeywords(CValueMap& setup, const std::string& body) {
    if (!setup.HasEntry("keywords")) {
        setup.SetEntry("keywords", std::make_unique<CValueVector>());
    }
    CValueVector& keywords = *setup.Entry("keywords", true)->Vector();
    for (const std::string& word : SplitAtCommas(body)) {
        keywords.PushBack(new CValueString(CString(word)));
    }
}

void AddSection(CValueMap& setup, const StSection& section) {
    const std::string_view header = section.header;
    const auto named = [&](std::string_view word) { return header.starts_with(word); };
    const std::string_view name = header.substr(std::min(header.find(' '), header.size() - 1) + 1);
    if (named("PARAMETER ")) {
        if (CValueMap* meta = MetaOf(setup, "parameters", name)) {
            SetText(*meta, "desc", section.body);
        }
    } else if (named("INPUT ")) {
        if (CValueMap* meta = MetaOf(setup, "inputs", name)) {
            SetLabel(*meta, section.body);
            if (!meta->HasEntry("optional")) {
                meta->SetEntry("optional", std::make_unique<CValueBool>(section.body.starts_with("Optional")));
            }
        }
    } else if (named("OUTPUT ")) {
        if (CValueMap* meta = MetaOf(setup, "outputs", name)) {
            SetLabel(*meta, section.body);
        }
    } else if (header == "KEYWORDS") {
        AddKeywords(setup, section.body);
    }
}

std::unique_ptr<CValue> ImagePort() { return std::make_unique<CValueOwnedPointer<CImage>>(nullptr, 1); }

} // namespace

CParameterHints& CParameterHints::Hint(const char* path, const char* text) {
    SetText(*MetaOf(*m_setup, "parameters", m_key), path, text);
    return *this;
}

CParameterHints& CParameterHints::Toggle() { return Hint("gui/boolean", "togglebutton"); }

CParameterHints& CParameterHints::Values(const char* allowed) { return Hint("val/enValues", allowed); }

CParameterHints& CParameterHints::VisibleIf(const char* condition) { return Hint("visible_if_rpn", condition); }

CParameterHints& CParameterHints::Order(int number) {
    SetText(*m_setup, ("gui/order/" + std::to_string(number)).c_str(), m_key);
    return *this;
}

CDescription::CDescription(CValueMap& setup, const char* name, const char* subType) : m_setup(setup), m_name(name) {
    SetText(setup, "pluginType", "Image");
    SetText(setup, "subType", subType);
    SetText(setup, "name", name);
    setup.SetEntry("parameters", std::make_unique<CValueMap>());
    setup.SetEntry("inputs", std::make_unique<CValueMap>());
    setup.SetEntry("outputs", std::make_unique<CValueMap>());
}

CParameterHints CDescription::Parameter(const char* key, std::unique_ptr<CValue> value) {
    m_setup.Entry("parameters", true)->Map()->SetEntry(key, std::move(value));
    return {m_setup, key};
}

CParameterHints CDescription::BoolParameter(const char* key, bool value) {
    return Parameter(key, std::make_unique<CValueBool>(value));
}

CParameterHints CDescription::LongParameter(const char* key, Long value) {
    return Parameter(key, std::make_unique<CValueLong>(value));
}

CParameterHints CDescription::DoubleParameter(const char* key, double value) {
    return Parameter(key, std::make_unique<CValueDouble>(value));
}

CParameterHints CDescription::StringParameter(const char* key, const CString& value) {
    return Parameter(key, std::make_unique<CValueString>(value));
}

void CDescription::Port(const char* side, std::unique_ptr<CValue> value, const char* label) {
    if (label != nullptr) {
        SetText(value->Meta(), "label", label);
    }
    CValueMap& ports = *m_setup.Entry(side, true)->Map();
    ports.SetEntry(CValue_Key(std::to_string(ports.Size())), std::move(value));
}

void CDescription::ImageInput(const char* label) { Port("inputs", ImagePort(), label); }

void CDescription::MapInput() { Port("inputs", std::make_unique<CValueMap>(), nullptr); }

void CDescription::ImageOutput() { Port("outputs", ImagePort(), nullptr); }

void CDescription::MapOutput() { Port("outputs", std::make_unique<CValueMap>(), nullptr); }

void CDescription::Text(const char* text) {
    SetText(m_setup, "description", text);
    for (const StSection& section : Sections(text)) {
        AddSection(m_setup, section);
    }
    const std::string page = std::string("P") + m_name;
    SetText(m_setup, "__nodekaDocumentation", "%QUORDIR%/doc/nodeka/html/manipulation/" + page + "/index.html");
}

} // namespace QUOR::manipulation
