#pragma once

#include "Completion.h"
#include "ValueFile.h"

#include <optional>
#include <string>

/// The files that inputs and outputs are read from and written to, as people name them.
namespace vessa {

/// What an input reads: a file, as an element type if one is given. An input without a file stays empty.
struct StInputFile {
    std::string file;
    std::optional<QUOR::IImage::CType> type;
    friend bool operator==(const StInputFile&, const StInputFile&) = default;
};

/// The input that FILE, FILE@TYPE or "none" names. What follows an `@` is a type if it is a plain word: no file that
/// can be read ends in one. Raises a `CUseError` about an unknown type.
StInputFile ParseInput(const std::string& text);

/// The file that FILE or "none" names; "" for the latter: the output isn't written.
std::string ParseOutput(const std::string& text);

/// What the shells offer in the place of these.
/// @{
void OfferInputs(CCompletion& completion);
void OfferOutputs(CCompletion& completion);
/// @}

/// The element type of this name. Raises a `CUseError` if there is none.
QUOR::IImage::CType TypeNamed(const std::string& name);

/// Raises a `CUseError` if the file's name tells no known format. A standard stream is of any format.
void CheckInputFile(const std::string& file);

/// Raises a `CUseError` if a map, or else an image, can't be written to the file.
void CheckOutputFile(const std::string& file, bool isMap, const StWriteOptions& options);

} // namespace vessa
