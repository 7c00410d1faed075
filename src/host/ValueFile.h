#pragma once

#include "InputFile.h"
#include "OutputFile.h"
#include "vessa.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Reads values from files and writes them to files: images as PNG, TIFF and NumPy `.npy`, maps as JSON. The format
/// follows from the file name's ending. Nothing is converted in silence: what a format can't hold is refused.
///
/// The file name "-" is standard input or standard output. What is read there tells its format by its first bytes.
///
/// Every failure raises a `CFileError` whose text names the file, what was found there and what would be allowed.
namespace vessa {

enum class EnFormat { Png, Tiff, Npy, Json };

/// The formats by name, as in "tiff"; nothing for an unknown name.
std::optional<EnFormat> FormatByName(const std::string& name);
/// The names of all formats.
const std::vector<std::string>& FormatNames();
/// The endings of all formats' files, without their dots.
std::vector<std::string> KnownEndings();
/// The format that the file name's ending tells, in letters of either case; nothing for an unknown ending and for "-".
std::optional<EnFormat> FormatOf(const std::string& file);
/// The message about a file whose name's ending tells none.
std::string UnknownFormat(const std::string& file);

/// What is read.
struct StReadOptions {
    /// The element type to read an image as, where the file allows several; without one the file's usual type.
    std::optional<QUOR::IImage::CType> type;
};

/// How a value is written.
struct StWriteOptions {
    /// The format for standard output, TIFF for images and JSON for maps without one; other files tell their own.
    std::optional<EnFormat> format = std::nullopt;
    /// How hard PNG files are compressed: 0 not at all, 9 the most. The higher levels take several times as long as the
    /// first one to save a sixth.
    int pngLevel = 1;
};

/// The format of standard output for a map, or else for an image.
EnFormat StandardOutputFormat(bool isMap, const StWriteOptions& options);

/// The element types by name, as in "IMAGE_GREY_8"; nothing for an unknown name.
std::optional<QUOR::IImage::CType> TypeByName(const std::string& name);
/// All element types.
const std::vector<QUOR::IImage::CType>& AllTypes();

/// The value in a file: a `CValueOwnedPointer<CImage>`, or a `CValueMap` for JSON.
std::unique_ptr<QUOR::CValue> ReadValue(const std::string& file, const StReadOptions& options);

/// The same of a file that is open: its first bytes tell the format if its name doesn't.
std::unique_ptr<QUOR::CValue> ReadValue(const CInputFile& file, const StReadOptions& options);

/// Writes an image or a map whole, but not to its place yet: `Commit` moves the file there, and without it nothing of
/// it remains. The value isn't needed any more then.
std::unique_ptr<COutputFile> StageValue(const std::string& file, const QUOR::CValue& value,
                                        const StWriteOptions& options = {});

/// Writes an image or a map to its place.
void WriteValue(const std::string& file, const QUOR::CValue& value, const StWriteOptions& options = {});

} // namespace vessa
