#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace QUOR::manipulation {

/// An entry for each byte.
template <class V> using ByteTable = std::array<V, 256>;

/// How many bytes are looked at together: neighbouring labels are mostly the same.
constexpr std::int64_t kByteChunk = 32;

/// True if the `kByteChunk` bytes from `in` on are the same.
inline bool IsUniformChunk(const std::uint8_t* in) {
    std::array<std::uint64_t, kByteChunk / 8> words; // NOLINT(cppcoreguidelines-pro-type-member-init): copied next
    std::memcpy(words.data(), in, sizeof(words));
    return words[0] == std::rotl(words[0], 8) && words[0] == words[1] && words[0] == words[2] && words[0] == words[3];
}

/// Writes `table[in[i]]` to `out[i]`.
template <class V> void LookUpBytes(const std::uint8_t* in, std::int64_t count, const ByteTable<V>& table, V* out) {
    std::int64_t i = 0;
    for (; i + kByteChunk <= count; i += kByteChunk) {
        if (IsUniformChunk(in + i)) {
            std::fill_n(out + i, kByteChunk, table[in[i]]);
        } else {
            std::transform(in + i, in + i + kByteChunk, out + i, [&](std::uint8_t byte) { return table[byte]; });
        }
    }
    std::transform(in + i, in + count, out + i, [&](std::uint8_t byte) { return table[byte]; });
}

/// The same for entries of a byte: by permutes of vectors where the processor has them.
void LookUpBytes(const std::uint8_t* in, std::int64_t count, const ByteTable<std::uint8_t>& table, std::uint8_t* out);

} // namespace QUOR::manipulation
