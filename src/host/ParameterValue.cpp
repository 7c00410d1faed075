#include "ParameterValue.h"

#include "Errors.h"
#include "Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

using namespace QUOR;

namespace vessa {

namespace {

constexpr std::array kinds{EnValType::Bool, EnValType::Long, EnValType::Double, EnValType::String};

enum class EnNumber { Read, OutOfRange, None };

/// Reads a whole text as a number; a sign of plus is taken, too.
template <class T> EnNumber ReadNumber(std::string_view text, T& number) {
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || failure == std::errc::invalid_argument) {
        return EnNumber::None;
    }
    return failure == std::errc() ? EnNumber::Read : EnNumber::OutOfRange;
}

std::unique_ptr<CValue> ParseBool(const std::string& text) {
    if (text != "true" && text != "false") {
        throw CUseError("'" + text + "' is no bool: true or false");
    }
    return std::make_unique<CValueBool>(text == "true");
}

std::unique_ptr<CValue> ParseLong(const std::string& text) {
    Long number = 0;
    const EnNumber result = ReadNumber(text, number);
    if (result == EnNumber::Read) {
        return std::make_unique<CValueLong>(number);
    }
    const std::string range =
        std::to_string(std::numeric_limits<Long>::min()) + " to " + std::to_string(std::numeric_limits<Long>::max());
    throw CUseError("'" + text + "' is " + (result == EnNumber::OutOfRange ? "out of range" : "no long") +
                    ": a whole number from " + range);
}

/// The power of two that the unit behind a size stands for; nothing for no unit.
std::optional<unsigned> UnitOf(std::string_view text) {
    constexpr std::string_view letters = "KMGT";
    if (text.empty()) {
        return 0;
    }
    const std::size_t place = letters.find(text.front());
    if (place == std::string_view::npos || (text.size() > 1 && text.substr(1) != "iB")) {
        return std::nullopt;
    }
    return 10 * (static_cast<unsigned>(place) + 1);
}

/// Takes the decimal digits off the text's beginning.
std::string_view TakeDigits(std::string_view& text) {
    const std::string_view digits = text.substr(0, std::min(text.find_first_not_of("0123456789"), text.size()));
    text.remove_prefix(digits.size());
    return digits;
}

std::unique_ptr<CValue> ParseDouble(const std::string& text) {
    double number = 0.0;
    const EnNumber result = ReadNumber(text, number);
    if (result == EnNumber::Read) {
        return std::make_unique<CValueDouble>(number);
    }
    throw CUseError("'" + text + "' is " + (result == EnNumber::OutOfRange ? "out of range" : "no double") +
                    ": a number such as 3, -0.5 or 1e-3");
}

} // namespace

std::unique_ptr<CValue> ParseValue(EnValType kind, const std::string& text) {
    switch (kind) {
    case EnValType::Bool:
        return ParseBool(text);
    case EnValType::Long:
        return ParseLong(text);
    case EnValType::Double:
        return ParseDouble(text);
    case EnValType::String:
        return std::make_unique<CValueString>(CString(text));
    default:
        throw CUseError(std::string("a ") + KindWord(kind) + " can't be given as a text");
    }
}

std::unique_ptr<CValue> ParseValue(const StParameter& parameter, const std::string& text) {
    const auto& allowed = parameter.allowed;
    if (!allowed.empty() && std::find(allowed.begin(), allowed.end(), text) == allowed.end()) {
        throw CUseError("'" + text + "' is not allowed: one of " + Join(allowed, ", "));
    }
    return ParseValue(parameter.Kind(), text);
}

void OfferValues(const StParameter& parameter, CCompletion& completion) {
    const bool isBool = parameter.Kind() == EnValType::Bool;
    for (const std::string& text : isBool ? std::vector<std::string>{"true", "false"} : parameter.allowed) {
        completion.Offer(text);
    }
    if (parameter.Kind() == EnValType::String && parameter.allowed.empty()) {
        completion.OfferFiles();
    }
}

std::uint64_t ParseByteSize(const std::string& text) {
    std::string_view rest = text;
    const std::string_view digits = TakeDigits(rest);
    const bool hasPoint = rest.starts_with('.');
    rest.remove_prefix(hasPoint ? 1 : 0);
    const std::string fraction = hasPoint ? std::string(TakeDigits(rest)) : "";
    const auto unit = UnitOf(rest);
    // Parts of a byte are none.
    if (digits.empty() || !unit || hasPoint != !fraction.empty() || (hasPoint && *unit == 0)) {
        throw CUseError("'" + text +
                        "' is no size: a number of bytes, or one of K, M, G or T as in 512M or 1.5GiB, where K is 1024 "
                        "bytes and each next one 1024 times as much");
    }
    std::uint64_t whole = 0;
    const bool inRange = ReadNumber(digits, whole) == EnNumber::Read;
    if (!inRange || whole > std::numeric_limits<std::uint64_t>::max() >> *unit) {
        throw CUseError("'" + text + "' is out of range: a size of less than 2^64 bytes");
    }
    double part = 0.0;
    ReadNumber("0." + fraction, part);
    part = std::min(part, std::nextafter(1.0, 0.0)); // many nines would round up
    return (whole << *unit) + static_cast<std::uint64_t>(std::ldexp(part, static_cast<int>(*unit)));
}

std::unique_ptr<CValue> GuessValue(const std::string& text) {
    if (text == "true" || text == "false") {
        return ParseBool(text);
    }
    Long whole = 0;
    if (ReadNumber(text, whole) != EnNumber::None) {
        return ParseLong(text);
    }
    double number = 0.0;
    const bool hasDigit = text.find_first_of("0123456789") != std::string::npos; // "inf" and "nan" are words here
    if (hasDigit && ReadNumber(text, number) != EnNumber::None) {
        return ParseDouble(text);
    }
    return ParseValue(EnValType::String, text);
}

std::optional<EnValType> KindOf(std::string_view word) {
    const auto found = std::find_if(kinds.begin(), kinds.end(), [&](EnValType kind) { return word == KindWord(kind); });
    return found == kinds.end() ? std::nullopt : std::optional(*found);
}

std::string FormatValue(const CValue& value) {
    switch (value.GenericType()) {
    case EnValType::Bool:
        return value.Bool() ? "true" : "false";
    case EnValType::Long:
        return std::to_string(value.Long());
    case EnValType::Double: {
        std::array<char, 32> text{}; // the shortest form that gives the number back has at most 24 letters
        return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value.Double()).ptr};
    }
    case EnValType::String:
        return value.String().IsEmpty() ? "\"\"" : value.String().Text();
    default:
        return std::string("a ") + KindWord(value.GenericType());
    }
}

} // namespace vessa
