#pragma once

#include "CacheLine.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace QUOR::manipulation {

/// Sets `ends[i]` to 1 where an element differs in its bits from the next one, else to 0. The last element is an end;
/// there is one at least.
/// @{
void MarkRunEnds(const std::uint16_t* in, std::uint8_t* ends, std::int64_t count);
void MarkRunEnds(const std::uint32_t* in, std::uint8_t* ends, std::int64_t count);
void MarkRunEnds(const float* in, std::uint8_t* ends, std::int64_t count);
/// @}

/// Calls `visit(first, length)` for runs of elements with equal bits, in order and without gaps. Neighbouring regions
/// of a label image are long runs, so that a label is looked up once a run. A long run may be visited in several
/// pieces.
template <class T, class Visit> void ForEachRun(const T* in, std::int64_t count, Visit visit) {
    constexpr std::int64_t block = 2048;
    constexpr std::int64_t word = 8;                     // marks that are looked at together
    alignas(kLine) std::array<std::uint8_t, block> ends; // NOLINT(cppcoreguidelines-pro-type-member-init): marked below
    for (std::int64_t start = 0; start < count; start += block) {
        const std::int64_t size = std::min(block, count - start);
        MarkRunEnds(in + start, ends.data(), size);
        std::fill(ends.begin() + size, ends.begin() + (size + word - 1) / word * word, std::uint8_t{0});
        std::int64_t first = 0;
        for (std::int64_t base = 0; base < size; base += word) {
            std::uint64_t marks = 0;
            std::memcpy(&marks, ends.data() + base, sizeof(marks));
            static_assert(std::endian::native == std::endian::little, "the first mark must be the lowest byte");
            for (; marks != 0; marks &= marks - 1) {
                const std::int64_t end = base + std::countr_zero(marks) / 8;
                visit(start + first, end + 1 - first);
                first = end + 1;
            }
        }
    }
}

} // namespace QUOR::manipulation
