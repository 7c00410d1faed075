#pragma once

#include "Cells.h"

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

/// The same for a block of positions away from the last column and row.
template <class T>
[[gnu::always_inline]] inline void MixPolar(const StCorners<T>& corners, const StCells& cells, double rounding, T* out,
                                            int count) {
    for (int i = 0; i < count; ++i) {
        const double fx = cells.fx[i];
        const double fy = cells.fy[i];
        const double gx = 1.0 - fx;
        const double gy = 1.0 - fy;
        const double upper0 = corners.upper[2 * i];
        const double upper1 = corners.upper[2 * i + 1];
        const double lower0 = corners.lower[2 * i];
        const double lower1 = corners.lower[2 * i + 1];
        out[i] = ElementFromMix<T>(upper0 * (gx * gy) + lower0 * (gx * fy) + upper1 * (gy * fx) + lower1 * (fx * fy) +
                                   rounding);
    }
}

} // namespace QUOR::manipulation
