#pragma once

#include "image/Image.h"

namespace QUOR {

/// Copies regions of images. Attributes aren't copied.
class VESSA_API CImageExtraction {
public:
    /// Copies `region` of the first slice of `source` into `destination`, which must have its type and the region's
    /// width and height. An empty region copies nothing. Raises a `CException` if the region leaves the source or the
    /// destination doesn't match.
    static void Rect(IImage& destination, const IImage& source, const CRect& region);

    /// The same for a region of a volume. The order of the arguments differs from `Rect`.
    static void Box(const IImage& source, IImage& destination, const CBox& region);
};

} // namespace QUOR
