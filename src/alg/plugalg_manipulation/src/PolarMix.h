#pragma once

#include "Cells.h"

#include <cmath>

namespace QUOR::manipulation {

/// The bilinear rule of the polar nodes for one position of a plane, with `rounding` added to what is computed. In the
/// last column and row only the neighbours that exist count; the last element of both is taken as it is.
template <class T>
T PolarPixel(const T* plane, std::int64_t width, std::int64_t height, double sx, double sy, double rounding) {
    const auto ix = static_cast<std::int64_t>(sx);
    const auto iy = static_cast<std::int64_t>(sy);
    const double fx = sx - static_cast<double>(ix);
    const double fy = sy - static_cast<double>(iy);
    const T* corner = plane + iy * width + ix;
    const bool lastColumn = ix == width - 1;
    const bool lastRow = iy == height - 1;
    if (lastColumn && lastRow) {
        return *corner;
    }
    const auto v = [&](std::int64_t right, std::int64_t below) {
        return static_cast<double>(corner[below * width + right]);
    };
    if (lastColumn) {
        return ElementFromMix<T>(v(0, 0) * (1.0 - fy) + v(0, 1) * fy + rounding);
    }
    if (lastRow) {
        return ElementFromMix<T>(v(0, 0) * (1.0 - fx) + v(1, 0) * fx + rounding);
    }
    const double gx = 1.0 - fx;
    const double gy = 1.0 - fy;
    return ElementFromMix<T>(v(0, 0) * (gx * gy) + v(0, 1) * (gx * fy) + v(1, 0) * (gy * fx) + v(1, 1) * (fx * fy) +
                             rounding);
}

/// The four elements around a position away from the last column and row.
struct StPolarTaps {
    double v00, v01, v10, v11;

    template <class T>
    [[gnu::always_inline]] StPolarTaps(const StCorners<T>& corners, int i)
        : v00(corners.upper[2 * i]), v01(corners.lower[2 * i]), v10(corners.upper[2 * i + 1]),
          v11(corners.lower[2 * i + 1]) {}

    /// The same rule, without the rounding.
    [[gnu::always_inline]] double Mix(double fx, double fy) const {
        const double gx = 1.0 - fx;
        const double gy = 1.0 - fy;
        return v00 * (gx * gy) + v01 * (gx * fy) + v10 * (gy * fx) + v11 * (fx * fy);
    }

    /// At least as much as the mix changes when a fraction changes by 1.
    [[gnu::always_inline]] double Greatest() const {
        return std::fabs(v00) + std::fabs(v01) + std::fabs(v10) + std::fabs(v11);
    }
};

} // namespace QUOR::manipulation
