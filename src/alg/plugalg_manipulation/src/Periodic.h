#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// The coordinate on a periodic axis: from 0 up to, but not including `extent`, which is above 0. Negative coordinates
/// count from the end.
inline std::int64_t Periodic(std::int64_t coordinate, std::int64_t extent) {
    const std::int64_t remainder = coordinate % extent;
    return remainder < 0 ? remainder + extent : remainder;
}

} // namespace QUOR::manipulation
