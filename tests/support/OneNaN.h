#pragma once

#include "NodeTest.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QUOR::test {

/// A copy of an image whose NaN are all the same: which one a sum of two of them gives is left to the compiler.
inline ImagePtr WithOneNaN(const CImage& image) {
    auto copy = std::make_unique<CImage>(image);
    if (image.Type() == IMAGE_GREY_F) {
        auto* elements = static_cast<float*>(copy->Buffer().Data());
        std::replace_if(
            elements, elements + image.Size().Elements(), [](float element) { return std::isnan(element); },
            std::numeric_limits<float>::quiet_NaN());
    }
    return copy;
}

} // namespace QUOR::test
