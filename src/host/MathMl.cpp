#include "MathMl.h"

#include "Html.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace vessa {

namespace {

struct StSymbol {
    std::string_view name;
    const char* element;
    const char* text;
};

/// The commands that stand for one sign.
constexpr std::array<StSymbol, 22> kSymbols{
    {{"alpha", "mi", "\u03b1"}, {"beta", "mi", "\u03b2"},   {"gamma", "mi", "\u03b3"}, {"delta", "mi", "\u03b4"},
     {"theta", "mi", "\u03b8"}, {"lambda", "mi", "\u03bb"}, {"mu", "mi", "\u03bc"},    {"pi", "mi", "\u03c0"},
     {"sigma", "mi", "\u03c3"}, {"phi", "mi", "\u03c6"},    {"omega", "mi", "\u03c9"}, {"infty", "mi", "\u221e"},
     {"cdot", "mo", "\u22c5"},  {"times", "mo", "\u00d7"},  {"pm", "mo", "\u00b1"},    {"le", "mo", "\u2264"},
     {"leq", "mo", "\u2264"},   {"ge", "mo", "\u2265"},     {"geq", "mo", "\u2265"},   {"ne", "mo", "\u2260"},
     {"in", "mo", "\u2208"},    {"ldots", "mo", "\u2026"}}};

bool IsLetter(char letter) { return std::isalpha(static_cast<unsigned char>(letter)) != 0; }
bool IsDigit(char letter) { return std::isdigit(static_cast<unsigned char>(letter)) != 0; }

/// Reads a formula from its start to its end.
class CFormulaReader {
public:
    explicit CFormulaReader(std::string_view tex) : m_rest(tex) {}

    /// All terms up to the end of the formula, or of the group that is open.
    std::string Terms() {
        std::string terms;
        for (SkipBlanks(); !m_rest.empty() && !(m_rest.front() == '}' && m_groups > 0); SkipBlanks()) {
            terms += WithScripts(Atom());
        }
        return terms;
    }

private:
    static constexpr int kMostGroups = 32; // deeper ones are signs, so that no text can exhaust the stack

    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t\n"), m_rest.size())); }

    /// Takes the letters off the rest for which `isPart` holds.
    template <class IsPart> std::string_view TakeWhile(IsPart isPart) {
        const auto* end = std::find_if_not(m_rest.begin(), m_rest.end(), isPart);
        const std::string_view taken = m_rest.substr(0, static_cast<std::size_t>(end - m_rest.begin()));
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    bool TakeSign(char sign) {
        SkipBlanks();
        const bool isThere = m_rest.starts_with(sign);
        m_rest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    std::string Sign() {
        const std::string sign = Escaped(m_rest.substr(0, 1));
        m_rest.remove_prefix(1);
        return Element("mo", sign);
    }

    std::string Group() {
        ++m_groups;
        std::string terms = Terms();
        --m_groups;
        TakeSign('}');
        return Element("mrow", terms);
    }

    /// What an index, an exponent or a command applies to.
    std::string Atom() {
        SkipBlanks();
        if (m_rest.empty()) {
            return Element("mrow", "");
        }
        if (m_groups < kMostGroups && TakeSign('{')) {
            return Group();
        }
        if (m_groups < kMostGroups && m_rest.size() > 1 && m_rest.front() == '\\' && IsLetter(m_rest[1])) {
            return Command();
        }
        if (IsLetter(m_rest.front())) {
            const std::string_view letter = m_rest.substr(0, 1);
            m_rest.remove_prefix(1);
            return Element("mi", std::string(letter));
        }
        if (IsDigit(m_rest.front())) {
            return Element("mn", std::string(TakeWhile([](char sign) { return IsDigit(sign) || sign == '.'; })));
        }
        return Sign();
    }

    std::string Command() {
        m_rest.remove_prefix(1);
        const std::string_view name = TakeWhile(IsLetter);
        ++m_groups; // an argument may be a command again
        std::string element;
        if (name == "frac") {
            const std::string above = Atom();
            element = Element("mfrac", above + Atom());
        } else if (name == "sqrt") {
            element = Element("msqrt", Atom());
        } else {
            element = Symbol(name);
        }
        --m_groups;
        return element;
    }

    static std::string Symbol(std::string_view name) {
        const auto* found =
            std::find_if(kSymbols.begin(), kSymbols.end(), [&](const StSymbol& symbol) { return symbol.name == name; });
        return found == kSymbols.end() ? Element("mtext", std::string(name)) : Element(found->element, found->text);
    }

    std::string WithScripts(const std::string& base) {
        const bool hasIndex = TakeSign('_');
        const std::string index = hasIndex ? Atom() : "";
        const bool hasExponent = TakeSign('^');
        const std::string exponent = hasExponent ? Atom() : "";
        if (hasIndex && hasExponent) {
            return Element("msubsup", base + index + exponent);
        }
        return hasIndex ? Element("msub", base + index) : hasExponent ? Element("msup", base + exponent) : base;
    }

    std::string_view m_rest;
    int m_groups = 0;
};

} // namespace

std::string MathMl(std::string_view tex) { return Element("math", CFormulaReader(tex).Terms()); }

} // namespace vessa
