#pragma once

#include "vessa.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Reads values from files and writes them to files: images as PNG, TIFF and NumPy `.npy`, maps as JSON. The format
/// follows from the file name's ending. Nothing is converted in silence: what a format can't hold is refused.
///
/// Every failure raises a `CFileError` whose text names the file, what was found there and what would be allowed.
namespace vessa {

/// A file that can't be read or written as asked.
class CFileError {
public:
    explicit CFileError(std::string message) : m_message(std::move(message)) {}
    const std::string& Message() const { return m_message; }

private:
    std::string m_message;
};

/// What is read, and how much of it.
struct StReadOptions {
    /// The element type to read an image as, where the file allows several; without one the file's usual type.
    std::optional<QUOR::IImage::CType> type;
    /// The most bytes that an image may have; checked before memory is taken.
    std::size_t mostBytes = std::size_t{1} << 34;
};

/// The element types by name, as in "IMAGE_GREY_8"; nothing for an unknown name.
std::optional<QUOR::IImage::CType> TypeByName(const std::string& name);
/// All element types.
const std::vector<QUOR::IImage::CType>& AllTypes();

/// The value in a file: a `CValueOwnedPointer<CImage>`, or a `CValueMap` for JSON.
std::unique_ptr<QUOR::CValue> ReadValue(const std::string& file, const StReadOptions& options);

/// Writes an image or a map. The file appears whole under its name or not at all: it is written beside its place and
/// then moved there.
void WriteValue(const std::string& file, const QUOR::CValue& value);

/// The endings of all formats, without their dots.
std::vector<std::string> KnownEndings();

/// True if the file name's ending is one of a format that `WriteValue` writes.
bool IsKnownFormat(const std::string& file);

} // namespace vessa
