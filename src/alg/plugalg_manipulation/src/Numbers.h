#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

namespace QUOR::manipulation {

/// The number cut toward zero to 32 bits; the most negative integer for what these can't hold and for a NaN.
inline std::int32_t TruncateTo32(double number) {
    constexpr double below = -2147483649.0;
    constexpr double above = 2147483648.0;
    return number > below && number < above ? static_cast<std::int32_t>(number)
                                            : std::numeric_limits<std::int32_t>::min();
}

/// The number cut toward zero to 64 bits; the most negative integer for what these can't hold and for a NaN.
inline std::int64_t TruncateTo64(double number) {
    constexpr double least = -9223372036854775808.0;
    constexpr double above = 9223372036854775808.0;
    return number >= least && number < above ? static_cast<std::int64_t>(number)
                                             : std::numeric_limits<std::int64_t>::min();
}

/// The element that a number becomes. Integer elements take the low bits of the truncated number, never a clamped one:
/// -1 gives 255 and 300 gives 44 as a byte. 8 and 16 bits are cut from a 32-bit integer, 32 bits from a 64-bit one.
template <class T> T ElementFromNumber(double number) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(number);
    } else if constexpr (sizeof(T) < 4) {
        return static_cast<T>(TruncateTo32(number));
    } else if constexpr (sizeof(T) == 4) {
        return static_cast<T>(TruncateTo64(number));
    } else {
        constexpr double half = 9223372036854775808.0; // from here on a signed integer can't hold the number
        constexpr std::uint64_t top = std::uint64_t{1} << 63;
        if (number >= half && number < 2.0 * half) {
            return top + static_cast<std::uint64_t>(number - half);
        }
        return static_cast<std::uint64_t>(TruncateTo64(number));
    }
}

} // namespace QUOR::manipulation
