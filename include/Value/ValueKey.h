#pragma once

#include "base/Types.h"

#include <compare>
#include <string>
#include <string_view>
#include <utility>

namespace QUOR {

/// A key into a container: a number for vectors, a text for maps. A text with `/` is a path through nested maps.
class VESSA_API CValue_Key {
public:
    /// The key of no entry: what a search without success gives.
    CValue_Key() = default;
    /// Inline, so that the compiler does all of it for a literal: nodes look up their parameters at each run.
    CValue_Key(const char* text) // NOLINT(google-explicit-constructor): keys are written as literals
        : m_kind(text == nullptr ? EnKind::None : EnKind::Text), m_text(text == nullptr ? "" : text),
          m_isPath(text != nullptr && HasSlash(text)) {}
    CValue_Key(int index) : CValue_Key(static_cast<long long>(index)) {}   // NOLINT(google-explicit-constructor)
    CValue_Key(long long index) : m_kind(EnKind::Index), m_index(index) {} // NOLINT(google-explicit-constructor)
    explicit CValue_Key(std::string text) : m_kind(EnKind::Text), m_text(std::move(text)), m_isPath(HasSlash(m_text)) {}

    bool IsNone() const { return m_kind == EnKind::None; }
    bool IsIndex() const { return m_kind == EnKind::Index; }
    bool IsText() const { return m_kind == EnKind::Text; }
    /// A text with a `/`.
    bool IsPath() const { return m_isPath; }

    /// The number of a number key, 0 for others.
    long long Index() const { return m_index; }
    /// The text of a text key, "" for others.
    const std::string& Text() const { return m_text; }
    /// The key as it is written in messages.
    std::string ToString() const;

    /// Numbers come before texts, numbers by value and texts by their bytes.
    friend auto operator<=>(const CValue_Key& a, const CValue_Key& b) = default; // NOLINT(modernize-use-nullptr)
    friend bool operator==(const CValue_Key& a, const CValue_Key& b) = default;

private:
    enum class EnKind : int { None, Index, Text };

    static bool HasSlash(std::string_view text) { return text.find('/') != std::string_view::npos; }

    EnKind m_kind = EnKind::None;
    long long m_index = 0;
    std::string m_text;
    bool m_isPath = false;
};

} // namespace QUOR
