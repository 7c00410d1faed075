#pragma once

#include "Completion.h"
#include "NodeDescription.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// Parameter values as texts. What can't be read raises a `CUseError` that tells the text and what is allowed.
namespace vessa {

/// The value of a kind that `text` stands for.
std::unique_ptr<QUOR::CValue> ParseValue(QUOR::EnValType kind, const std::string& text);

/// The value for a declared parameter, checked against its allowed texts.
std::unique_ptr<QUOR::CValue> ParseValue(const StParameter& parameter, const std::string& text);

/// What the shells offer as a text for a declared parameter: allowed texts and truth values. A text of any other form
/// can be that of a path.
void OfferValues(const StParameter& parameter, CCompletion& completion);

/// The value of the kind that `text` looks like: a boolean for "true" and "false", an integer, a floating number, or a
/// text for all else.
std::unique_ptr<QUOR::CValue> GuessValue(const std::string& text);

/// The bytes of a size such as "1048576", "512M" or "1.5GiB". K, M, G and T are powers of 1024, with or without "iB"; a
/// part of a byte is dropped.
std::uint64_t ParseByteSize(const std::string& text);

/// The kind of a word as `KindWord` gives it; nothing for kinds whose values can't be written as a text.
std::optional<QUOR::EnValType> KindOf(std::string_view word);

/// The value as it would be typed; an empty text as two quotation marks.
std::string FormatValue(const QUOR::CValue& value);

} // namespace vessa
