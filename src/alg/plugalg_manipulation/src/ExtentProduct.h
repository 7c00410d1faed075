#pragma once

#include <cstdint>
#include <limits>

namespace QUOR::manipulation {

/// The product of two extents. One beyond 64 bits becomes negative, which no image takes, not even an empty one.
inline std::int64_t ExtentProduct(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<std::int64_t>::min() : product;
}

} // namespace QUOR::manipulation
