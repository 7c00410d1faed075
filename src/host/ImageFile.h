#pragma once

#include "InputFile.h"
#include "OutputFile.h"
#include "ValueFile.h"

#include <initializer_list>
#include <optional>

// What the readers and writers of all image formats share.

namespace vessa {

using ElementTypes = std::vector<QUOR::IImage::CType>;

/// The element types that pixels of a kind can be read as, the usual one first. Binary elements are bytes too.
/// @{
ElementTypes TypesOfBits();
ElementTypes TypesOfBytes();
/// @}

/// "IMAGE_BINARY_FG, IMAGE_BINARY_BG or IMAGE_GREY_8"
std::string Listed(const ElementTypes& types);
/// "360x270", and "64x48x12" for three dimensions.
std::string Extents(const QUOR::CSize& size);

/// The type that is asked for, which must be among the possible ones, or the first of these. `pixels` says what the
/// file holds, as in "1-bit grey".
QUOR::IImage::CType ChosenType(const CInputFile& file, const std::string& pixels, const ElementTypes& possible,
                               const StReadOptions& options);

/// The product, or the largest number where the product is larger.
std::uint64_t LimitedProduct(std::initializer_list<std::uint64_t> factors);

/// Raises a `CFileError` if `packed` bytes of pixels can't come out of the file: compression makes data at most
/// `ratio` times smaller. Checked before memory is taken, since a few bytes can claim any size.
void RequirePlausible(const CInputFile& file, const QUOR::CSize& size, const std::string& pixels, std::uint64_t packed,
                      std::uint64_t ratio);

/// Raises a `CFileError` if `format` holds only images of the `possible` types, and this one is of another.
void RequireType(const std::string& file, const QUOR::CImage& image, const std::string& format,
                 const ElementTypes& possible);
/// Raises a `CFileError` if the image has attributes, which only TIFF holds.
void RequireNoAttributes(const std::string& file, const QUOR::CImage& image, const std::string& format);
/// Raises a `CFileError` if an extent is 0.
void RequirePixels(const std::string& file, const QUOR::CImage& image, const std::string& format);

bool IsBinary(const QUOR::IImage::CType& type);
/// The number of the first element that is neither 0 nor 1.
std::optional<std::size_t> FirstNonBit(const QUOR::CImage& image);

/// The pixels of a row of `IMAGE_RGB_8`, whose channels lie `plane` bytes apart, together and back.
/// @{
void InterleaveRgb(const unsigned char* red, std::size_t plane, unsigned char* pixels, std::size_t width);
void SplitRgb(const unsigned char* pixels, unsigned char* red, std::size_t plane, std::size_t width);
/// @}

} // namespace vessa
