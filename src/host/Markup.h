#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The mark-up in the texts of descriptions: `\a WORD` names an argument, `\f$...\f$` encloses a formula in TeX, and a
/// backslash before a line end stands for nothing.
namespace vessa {

/// A text with its mark-up, so that nobody shows it without choosing what becomes of the marks.
class CMarkup {
public:
    CMarkup() = default;
    explicit CMarkup(std::string source) : m_source(std::move(source)) {}

    const std::string& Source() const { return m_source; }
    /// The text without marks: arguments as their words, formulas as their TeX. Its lines are kept.
    std::string Plain() const;
    /// The same as one line.
    std::string Line() const;

private:
    std::string m_source;
};

/// A part of a text that is all of one sort.
struct StMarkupPart {
    enum class EnSort { Text, Argument, Formula };
    EnSort sort;
    std::string text; ///< without marks
};

/// The parts of a text in their order; a mark without its counterpart or word is dropped.
std::vector<StMarkupPart> MarkupParts(std::string_view source);

} // namespace vessa
