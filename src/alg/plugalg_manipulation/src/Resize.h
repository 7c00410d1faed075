#pragma once

#include "image/Image.h"

#include <memory>

// The ways in which Resize computes a plane of a new size. The input is a plane with elements, of type IMAGE_GREY_F or
// IMAGE_GREY_8; the factors are those of the axes. A size that no image can have raises the image's own exception.

namespace QUOR::manipulation {

/// Interpolates between the four nearest elements. The first elements of both images coincide, so that past the last
/// one the last row and column repeat.
std::unique_ptr<CImage> ResizeBilinear(const CImage& input, double factorX, double factorY);

/// The mean of a window of elements for each element of the output, which is of floats for every input.
std::unique_ptr<CImage> ResizeBoxMean(const CImage& input, double factorX, double factorY);

/// Smooths with a Gaussian kernel about the true position of each element, along rows and then along columns.
std::unique_ptr<CImage> ResizeGauss(const CImage& input, double factorX, double factorY);

} // namespace QUOR::manipulation
