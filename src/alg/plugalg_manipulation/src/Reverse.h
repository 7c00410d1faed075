#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// out[i] = in[count - 1 - i], as patterns of bits. Made for unsigned integers of 8, 16, 32 and 64 bits and for floats.
template <class T> void ReverseElements(const T* in, T* out, std::int64_t count);

} // namespace QUOR::manipulation
