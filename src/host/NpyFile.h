#pragma once

#include "InputFile.h"
#include "OutputFile.h"
#include "ValueFile.h"

namespace vessa {

/// Reads an array of two dimensions (rows, columns) or three (slices, rows, columns). One of bytes whose first
/// dimension is 3 can be read as the red, green and blue plane of an `IMAGE_RGB_8`, and with that type only it may have
/// four dimensions (3, slices, rows, columns).
std::unique_ptr<QUOR::CImage> ReadNpy(const CInputFile& file, const StReadOptions& options);

/// Raises a `CFileError` for an image that npy can't hold.
void CheckNpy(const std::string& file, const QUOR::CImage& image);
/// Writes an image that has passed `CheckNpy`. Binary elements become booleans if all of them are 0 or 1.
void WriteNpy(COutputFile& file, const QUOR::CImage& image);

} // namespace vessa
