#include "Runs.h"

#include "base/VectorVariants.h"

#include <type_traits>

namespace QUOR::manipulation {

namespace {

// Neighbours are compared as patterns of bits, so that a run of one NaN is a run too.
template <class T> auto BitsOf(T element) {
    if constexpr (std::is_same_v<T, float>) {
        return std::bit_cast<std::uint32_t>(element);
    } else {
        return element;
    }
}

template <class T> VESSA_VECTOR_VARIANTS void MarkEnds(const T* in, std::uint8_t* ends, std::int64_t count) {
    for (std::int64_t i = 0; i + 1 < count; ++i) {
        ends[i] = BitsOf(in[i]) != BitsOf(in[i + 1]) ? 1 : 0;
    }
    ends[count - 1] = 1;
}

} // namespace

void MarkRunEnds(const std::uint16_t* in, std::uint8_t* ends, std::int64_t count) { MarkEnds(in, ends, count); }

void MarkRunEnds(const std::uint32_t* in, std::uint8_t* ends, std::int64_t count) { MarkEnds(in, ends, count); }

void MarkRunEnds(const float* in, std::uint8_t* ends, std::int64_t count) { MarkEnds(in, ends, count); }

} // namespace QUOR::manipulation
