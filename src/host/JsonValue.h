#pragma once

#include "vessa.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

/// Maps as JSON. Every value comes back as it was, with its kind: integers and floating numbers are told apart by the
/// form of the number ("1" and "1.0"), empty vector slots are null, and what JSON lacks is written with a dollar sign:
/// {"$double": "nan"}, "inf" or "-inf" for numbers that aren't finite, the key "$int:N" for the integer key N. A text
/// key that begins with '$' gets another one in front; "$schema" needs none, since editors look for it.
namespace vessa {

/// The deepest nesting of maps and vectors, so that a file can't exhaust the stack.
constexpr std::size_t kMostLevels = 64;

/// The forms of a number and of a key.
/// @{
nlohmann::json JsonFromNumber(double number);
std::string JsonFromKey(const QUOR::CValue_Key& key);
/// @}

/// How a JSON text is written.
struct StJsonForm {
    int indent = -1;    ///< blanks for each level; -1 puts all into one line
    bool ascii = false; ///< other letters are escaped
};

/// The JSON text of a map. Raises a `CFileError`, whose text begins with `where`, for what JSON can't hold: pointers,
/// texts that aren't UTF-8, and side information of values.
std::string JsonFromMap(const QUOR::CValueMap& map, const std::string& where, const StJsonForm& form = {});

/// The map of a JSON text. Raises a `CFileError`, whose text begins with `where`, for a text that is no JSON object
/// and for what `JsonFromMap` would not write.
std::unique_ptr<QUOR::CValueMap> MapFromJson(std::string_view text, const std::string& where);

} // namespace vessa
