#pragma once

#include "CacheLine.h"
#include "RowLines.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace QUOR::manipulation {

// Interpolation along a row runs in blocks that stay in the nearest cache, in passes that become vectors each by
// itself: positions, loads, arithmetic. Loads are inlined into the nodes' functions.

constexpr int kBlock = 256;

/// Where the positions of a block lie: the element to the upper left and the fractions of the way to its neighbours.
struct StCells {
    alignas(kLine) std::int32_t element[kBlock];
    double fx[kBlock];
    double fy[kBlock];
};

/// True if the elements of a plane can be numbered in 32 bits, which is what becomes vectors on all processors.
inline bool FitsCells(std::int64_t width, std::int64_t height) {
    return width <= 0 || height <= std::numeric_limits<std::int32_t>::max() / width;
}

/// The cells under the columns from `first` on, all of whose positions are inside the plane.
void FindCells(const StRowLines& lines, std::int64_t first, int count, std::int32_t width, StCells& cells);

/// The elements at the corners of each cell of a block, as pairs from the upper and from the lower row.
template <class T> struct StCorners {
    alignas(kLine) T upper[2 * kBlock];
    T lower[2 * kBlock];
};

template <class T>
[[gnu::always_inline]] inline void LoadCorners(const T* plane, std::int64_t width, const std::int32_t* element,
                                               int count, StCorners<T>& corners) {
    for (int i = 0; i < count; ++i) {
        const T* corner = plane + element[i];
        std::memcpy(&corners.upper[2 * i], corner, 2 * sizeof(T));
        std::memcpy(&corners.lower[2 * i], corner + width, 2 * sizeof(T));
    }
}

/// The element that an interpolated number becomes, by truncation and low bits. The number lies near the range of the
/// elements that it was made of, so that it needs no guard.
template <class T> [[gnu::always_inline]] inline T ElementFromMix(double number) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(number);
    } else if constexpr (sizeof(T) < 4) {
        return static_cast<T>(static_cast<std::int32_t>(number));
    } else {
        return static_cast<T>(static_cast<std::int64_t>(number));
    }
}

} // namespace QUOR::manipulation
