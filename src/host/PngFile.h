#pragma once

#include "InputFile.h"
#include "OutputFile.h"
#include "ValueFile.h"

namespace vessa {

/// Reads 1-bit grey as binary, 8- and 16-bit grey and 8-bit RGB, interlaced or not.
std::unique_ptr<QUOR::CImage> ReadPng(const CInputFile& file, const StReadOptions& options);

/// Raises a `CFileError` for an image that PNG can't hold. The dimension count isn't kept: one slice of a volume is
/// read back as an image of two dimensions.
void CheckPng(const std::string& file, const QUOR::CImage& image);
/// Writes an image that has passed `CheckPng`, compressed by a level of 0 to 9.
void WritePng(COutputFile& file, const QUOR::CImage& image, int level);

} // namespace vessa
