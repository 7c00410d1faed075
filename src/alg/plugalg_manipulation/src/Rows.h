#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// Copies rows. Strides are the elements from one row to the next.
///
/// Made, as the next one, for unsigned integers of 8, 16, 32 and 64 bits, as patterns of bits, and for floats.
template <class T>
void CopyRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
              std::int64_t rows);

/// Copies rows, of which there is one at least, and sets what lies in the output between one row and the next to
/// `fill`.
template <class T>
void PlaceRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
               std::int64_t rows, T fill);

} // namespace QUOR::manipulation
