#include "Markup.h"

#include "Text.h"

#include <algorithm>

namespace vessa {

namespace {

using EnSort = StMarkupPart::EnSort;

constexpr std::string_view kArgument = "\\a ";
constexpr std::string_view kFormula = "\\f$";

void AddText(std::vector<StMarkupPart>& parts, std::string_view text) {
    if (parts.empty() || parts.back().sort != EnSort::Text) {
        parts.push_back({EnSort::Text, {}});
    }
    parts.back().text.append(text);
}

/// The word that the text begins with, without the marks of the sentence behind it: "0.0" of "0.0. Else".
std::string_view LeadingWord(std::string_view text) {
    constexpr std::string_view blanks = " \t\n";
    constexpr std::string_view sentenceMarks = ".,;:!?)";
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    return word.substr(0, word.find_last_not_of(sentenceMarks) + 1);
}

/// Takes a part that begins with a mark off the text.
void TakeMarked(std::vector<StMarkupPart>& parts, std::string_view& text, std::string_view mark) {
    text.remove_prefix(mark.size());
    const std::size_t end = mark == kArgument ? LeadingWord(text).size() : text.find(kFormula);
    if (end == 0 || end == std::string_view::npos) {
        return;
    }
    parts.push_back({mark == kArgument ? EnSort::Argument : EnSort::Formula, std::string(text.substr(0, end))});
    text.remove_prefix(end + (mark == kFormula ? kFormula.size() : 0));
}

} // namespace

std::vector<StMarkupPart> MarkupParts(std::string_view source) {
    std::vector<StMarkupPart> parts;
    while (!source.empty()) {
        if (source.starts_with(kArgument)) {
            TakeMarked(parts, source, kArgument);
        } else if (source.starts_with(kFormula)) {
            TakeMarked(parts, source, kFormula);
        } else if (source.starts_with("\\\n") || source == "\\") {
            source.remove_prefix(1);
        } else {
            const std::size_t end = std::min(source.find('\\', 1), source.size());
            AddText(parts, source.substr(0, end));
            source.remove_prefix(end);
        }
    }
    return parts;
}

std::string CMarkup::Plain() const {
    std::string plain;
    for (const StMarkupPart& part : MarkupParts(m_source)) {
        plain += part.text;
    }
    return plain;
}

std::string CMarkup::Line() const { return OneLine(Plain()); }

} // namespace vessa
