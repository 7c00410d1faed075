#include "base/String.h"

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <ostream>

namespace QUOR {

namespace {

struct StPlaceholder {
    std::size_t position;
    std::size_t length;
    int number;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// The placeholder `%1` to `%99` that begins at `position`, if one does.
std::optional<StPlaceholder> PlaceholderAt(std::string_view text, std::size_t position) {
    if (text[position] != '%' || position + 1 >= text.size() || !IsDigit(text[position + 1])) {
        return std::nullopt;
    }
    StPlaceholder found{position, 2, text[position + 1] - '0'};
    if (position + 2 < text.size() && IsDigit(text[position + 2])) {
        found.length = 3;
        found.number = found.number * 10 + (text[position + 2] - '0');
    }
    if (found.number == 0) {
        return std::nullopt;
    }
    return found;
}

using Spans = std::vector<std::pair<std::size_t, std::size_t>>; // first and past-the-end bytes

/// The placeholders with the lowest number, in their order. What stands in the spans is no placeholder.
std::vector<StPlaceholder> LowestPlaceholders(std::string_view text, const Spans& spans) {
    std::vector<StPlaceholder> lowest;
    auto span = spans.cbegin();
    for (std::size_t position = 0; position < text.size();) {
        if (span != spans.cend() && position == span->first) {
            position = span->second;
            ++span;
            continue;
        }
        const auto found = PlaceholderAt(text, position);
        if (!found) {
            ++position;
            continue;
        }
        if (!lowest.empty() && found->number < lowest.front().number) {
            lowest.clear();
        }
        if (lowest.empty() || found->number == lowest.front().number) {
            lowest.push_back(*found);
        }
        position += found->length;
    }
    return lowest;
}

std::string Widened(std::string_view text, int width) {
    const std::size_t least = width > 0 ? static_cast<std::size_t>(width) : 0;
    const std::size_t blanks = text.size() < least ? least - text.size() : 0;
    return std::string(blanks, ' ').append(text);
}

template <class Number, class... Format> std::string Formatted(Number number, int width, Format... format) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format...).ptr;
    return Widened(std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data())), width);
}

} // namespace

CString::CString(const char* text) : m_text(text == nullptr ? "" : text) {}

CString::CString(const std::string& text) : m_text(text) {}

CString::CString(const char* text, std::size_t length) {
    if (text != nullptr) {
        m_text.assign(text, length == NPOS ? std::strlen(text) : length);
    }
}

CString& CString::Arg(const char* text) { return FillPlaceholder(text == nullptr ? "" : text); }

CString& CString::Arg(const std::string& text) { return FillPlaceholder(text); }

CString& CString::Arg(Long number, int width) { return FillPlaceholder(Formatted(number, width)); }

CString& CString::Arg(long long number, int width) { return FillPlaceholder(Formatted(number, width)); }

CString& CString::Arg(double number, int width) {
    return FillPlaceholder(Formatted(number, width, std::chars_format::general, 6));
}

CString& CString::FillPlaceholder(std::string_view argument) {
    std::string result;
    Spans spans;
    std::size_t copied = 0; // bytes of the old text that stand in the result
    auto filled = m_filled.cbegin();
    const auto keepSpansBefore = [&](std::size_t end) {
        for (; filled != m_filled.cend() && filled->second <= end; ++filled) {
            const std::size_t first = result.size() + (filled->first - copied);
            spans.emplace_back(first, first + (filled->second - filled->first));
        }
    };
    for (const StPlaceholder& placeholder : LowestPlaceholders(m_text, m_filled)) {
        keepSpansBefore(placeholder.position);
        result.append(m_text, copied, placeholder.position - copied);
        if (!argument.empty()) {
            spans.emplace_back(result.size(), result.size() + argument.size());
        }
        result += argument;
        copied = placeholder.position + placeholder.length;
    }
    keepSpansBefore(m_text.size());
    result.append(m_text, copied);
    m_text = std::move(result);
    m_filled = std::move(spans);
    return *this;
}

CString& CString::Printf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) {
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    m_text = std::move(text);
    m_filled.clear();
    return *this;
}

std::ostream& operator<<(std::ostream& stream, const CString& text) { return stream << text.Text(); }

std::string CStringTools::UnwrapEnvVars(const char* text) {
    const std::string_view source(text == nullptr ? "" : text);
    std::string result;
    std::size_t position = 0;
    while (position < source.size()) {
        const std::size_t open = source.find('%', position);
        const std::size_t close = open == std::string_view::npos ? open : source.find('%', open + 1);
        if (close == std::string_view::npos) {
            break;
        }
        const std::string name(source.substr(open + 1, close - open - 1));
        const char* value = name.empty() ? nullptr : std::getenv(name.c_str());
        result.append(source.substr(position, open - position));
        if (value != nullptr) {
            result += value;
            position = close + 1;
        } else {
            // The second sign may open a name of its own.
            result.append(source.substr(open, close - open));
            position = close;
        }
    }
    return result.append(source.substr(position));
}

} // namespace QUOR
