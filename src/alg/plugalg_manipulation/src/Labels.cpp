#include "Labels.h"

#include "base/VectorVariants.h"

#include <algorithm>
#include <bit>

namespace QUOR::manipulation {

namespace {

/// The bits of the largest finite number that isn't negative; 0 without one. Such numbers are ordered as their bits
/// are, and a maximum of integers becomes a vector where one of floats would have to keep the order of NaNs.
VESSA_VECTOR_VARIANTS std::uint32_t LargestBits(const float* in, std::int64_t count) {
    constexpr std::uint32_t infinity = 0x7F800000U; // from here on: infinite, NaN and negative numbers
    std::uint32_t largest = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint32_t>(in[i]);
        largest = std::max(largest, bits < infinity ? bits : 0U);
    }
    return largest;
}

} // namespace

std::int64_t LargestLabel(const float* in, std::int64_t count) {
    return LabelOf(std::bit_cast<float>(LargestBits(in, count)));
}

} // namespace QUOR::manipulation
