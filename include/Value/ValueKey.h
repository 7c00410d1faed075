#pragma once

#include "base/Types.h"

#include <compare>
#include <string>
#include <utility>

namespace QUOR {

/// A key into a container: a number for vectors, a text for maps. A text with `/` is a path through nested maps.
class VESSA_API CValue_Key {
public:
    /// The key of no entry: what a search without success gives.
    CValue_Key() = default;
    CValue_Key(const char* text); // NOLINT(google-explicit-constructor): keys are written as literals
    CValue_Key(int index) : CValue_Key(static_cast<long long>(index)) {}   // NOLINT(google-explicit-constructor)
    CValue_Key(long long index) : m_kind(EnKind::Index), m_index(index) {} // NOLINT(google-explicit-constructor)
    explicit CValue_Key(std::string text) : m_kind(EnKind::Text), m_text(std::move(text)) {}

    bool IsNone() const { return m_kind == EnKind::None; }
    bool IsIndex() const { return m_kind == EnKind::Index; }
    bool IsText() const { return m_kind == EnKind::Text; }

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

    EnKind m_kind = EnKind::None;
    long long m_index = 0;
    std::string m_text;
};

} // namespace QUOR
