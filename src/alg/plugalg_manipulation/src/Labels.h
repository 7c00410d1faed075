#pragma once

#include <cstdint>

namespace QUOR::manipulation {

/// The label for which a float element counts: its number cut toward zero, the largest integer for what 64 bits can't
/// hold. 0, which is no label, for numbers below 1, NaN and infinite ones.
inline std::int64_t LabelOf(float element) {
    constexpr float above = 9223372036854775808.0F;
    constexpr float most = 3.40282346638528859812e38F; // the largest finite number
    if (!(element >= 1.0F) || element > most) {
        return 0;
    }
    return element < above ? static_cast<std::int64_t>(element) : INT64_MAX;
}

/// The largest label of any element, 0 without one.
std::int64_t LargestLabel(const float* in, std::int64_t count);

} // namespace QUOR::manipulation
