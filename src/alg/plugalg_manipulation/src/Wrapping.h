#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// Arithmetic that wraps around where signed integers would overflow. Extents that have wrapped are no mistake yet: an
/// image without elements may have others of any size, and what no image can have is refused where one is made.
/// @{
inline std::int64_t WrappedSum(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

inline std::int64_t WrappedDifference(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

inline std::int32_t WrappedProduct(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The low 32 bits, with their sign.
inline std::int32_t WrappedTo32(std::int64_t number) { return static_cast<std::int32_t>(number); }
/// @}

} // namespace QUOR::manipulation
