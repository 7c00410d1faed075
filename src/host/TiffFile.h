#pragma once

#include "InputFile.h"
#include "OutputFile.h"
#include "ValueFile.h"

namespace vessa {

/// Reads the pages of a TIFF file as the slices of an image. Attributes, type and dimension count come from the
/// description that `WriteTiff` leaves; without one, a single page is an image of two dimensions, several are one of
/// three.
std::unique_ptr<QUOR::CImage> ReadTiff(const CInputFile& file, const StReadOptions& options);

/// Raises a `CFileError` for an image that TIFF can't hold.
void CheckTiff(const std::string& file, const QUOR::CImage& image);

/// The size up to which files have the classic form, whose offsets have 32 bits; larger ones become BigTIFF.
constexpr std::uint64_t kMostClassicBytes = 0xffffffff;

/// Writes an image that has passed `CheckTiff`, uncompressed, one page for each slice. Binary images take one bit for
/// an element if all elements are 0 or 1.
void WriteTiff(COutputFile& file, const QUOR::CImage& image, std::uint64_t mostClassicBytes = kMostClassicBytes);

} // namespace vessa
