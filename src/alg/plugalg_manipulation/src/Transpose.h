#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// Swaps rows and columns of a plane, which isn't empty: element x of row y becomes element y of row x. Strides are the
/// elements from one row to the next and may be negative: a plane that is read or written from its last row on is
/// turned by a quarter.
///
/// Made for unsigned integers of 8, 16, 32 and 64 bits, as patterns of bits, and for floats.
template <class T>
void TransposePlane(const T* in, std::int64_t inStride, std::int64_t width, std::int64_t height, T* out,
                    std::int64_t outStride);

} // namespace QUOR::manipulation
