#pragma once

#include "vessa.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QUOR::bench {

using Images = std::vector<std::unique_ptr<CImage>>;

template <class T> const T* Elements(const CImage& image) { return static_cast<const T*>(image.Buffer().Data()); }
template <class T> T* Elements(CImage& image) { return static_cast<T*>(image.Buffer().Data()); }

/// The given parts as a list: an initializer list can't hold what can't be copied.
template <class... Part> Images ListOf(Part... parts) {
    Images images;
    (images.push_back(std::move(parts)), ...);
    return images;
}

/// @name Pictures to run nodes on, the same ones each time
/// Of type `IMAGE_GREY_8` or `IMAGE_GREY_F`, with elements from 0 to below 256.
/// @{

/// Noise.
std::unique_ptr<CImage> Noise(const IImage::CType& type, const CSize& size);
/// Noise from `least` to below `most`.
std::unique_ptr<CImage> Noise(const IImage::CType& type, const CSize& size, double least, double most);
/// Noise with a frame of zeros, an eighth of each extent wide.
std::unique_ptr<CImage> FramedNoise(const IImage::CType& type, const CSize& size);
/// Noise in an ellipse that lies aslant, zeros around it.
std::unique_ptr<CImage> Ellipse(const IImage::CType& type, const CSize& size);
/// Noise in polar coordinates, which a square of about so many columns becomes: as many angles as the longest circle
/// has elements.
std::unique_ptr<CImage> PolarNoise(const IImage::CType& type, std::int64_t side);
/// Ones at every tenth place or so, zeros elsewhere.
std::unique_ptr<CImage> Sparse(const IImage::CType& type, const CSize& size);
/// About `regions` regions with wavy edges and gaps between them: labels from 1 on, 0 in the gaps. Byte labels are
/// taken modulo 256.
std::unique_ptr<CImage> Labels(const IImage::CType& type, const CSize& size, std::int64_t regions);
/// A table whose every second row or so repeats an earlier one.
std::unique_ptr<CImage> Table(const IImage::CType& type, std::int64_t columns, std::int64_t rows);
/// The same with columns and rows exchanged.
std::unique_ptr<CImage> TurnedTable(const IImage::CType& type, std::int64_t columns, std::int64_t rows);
/// @}

} // namespace QUOR::bench
