#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// Planes of one size, one below the other: row y of plane p is row `height * p + y` of them all. Strides are the
/// elements from one row or plane to the next.
template <class T> struct StStack {
    const T* first = nullptr;
    std::int64_t stride = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t planeStride = 0;
    std::int64_t planes = 1;
};

/// Swaps rows and columns of a stack, which isn't empty: element x of row y becomes element y of row x. Strides of rows
/// may be negative: a plane that is read or written from its last row on is turned by a quarter.
///
/// Made for unsigned integers of 8, 16, 32 and 64 bits, as patterns of bits, and for floats.
template <class T> void Transpose(const StStack<T>& in, T* out, std::int64_t outStride);

} // namespace QUOR::manipulation
