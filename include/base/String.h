#pragma once

#include "base/Types.h"

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QUOR {

/// The string of the value classes: bytes, with numbered placeholders for messages.
class VESSA_API CString {
public:
    /// As a length: up to the terminating NUL.
    static constexpr std::size_t NPOS = static_cast<std::size_t>(-1);

    CString() = default;
    /// A copy of `text`; null gives the empty string.
    CString(const char* text);        // NOLINT(google-explicit-constructor): literals stand for strings everywhere
    CString(const std::string& text); // NOLINT(google-explicit-constructor)
    CString(const char* text, std::size_t length);

    const char* Str() const { return m_text.c_str(); }
    operator const char*() const { return m_text.c_str(); } // NOLINT(google-explicit-constructor)
    const std::string& Text() const { return m_text; }
    std::size_t Length() const { return m_text.size(); }
    bool IsEmpty() const { return m_text.empty(); }

    /// True if this string has exactly the `length` bytes at `text`; null is the empty string. Here, so that the
    /// compiler knows the length of a literal.
    bool Equal(const char* text, std::size_t length = NPOS) const {
        if (text == nullptr) {
            return m_text.empty();
        }
        return m_text == (length == NPOS ? std::string_view(text) : std::string_view(text, length));
    }

    /// Puts an argument in the place of the placeholder with the lowest number, `%1` to `%99`, wherever that
    /// stands. Text that came from an argument is never searched for placeholders. Without a placeholder the
    /// string stays as it is. `width` is the least number of characters, filled with blanks on the left.
    /// @{
    CString& Arg(const char* text);
    CString& Arg(const std::string& text);
    CString& Arg(Long number, int width);
    CString& Arg(long long number, int width);
    /// The number as a stream writes it by default, with six significant digits.
    CString& Arg(double number, int width);
    /// @}

    /// Replaces the string by `format` with the conversions of `printf`.
    CString& Printf(const char* format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.Equal(b); }
    friend auto operator<=>(const CString& a, const CString& b) { return a.m_text <=> b.m_text; }

private:
    CString& FillPlaceholder(std::string_view argument);

    std::string m_text;
    std::vector<std::pair<std::size_t, std::size_t>> m_filled; ///< first and past-the-end byte of each argument
};

VESSA_API std::ostream& operator<<(std::ostream& stream, const CString& text);

/// Operations on plain texts.
class VESSA_API CStringTools {
public:
    /// `text` with each `%NAME%` replaced by the environment variable of that name. What names no variable that
    /// is set stays as it stands; null gives the empty string.
    static std::string UnwrapEnvVars(const char* text);
};

} // namespace QUOR
