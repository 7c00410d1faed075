#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace QUOR::manipulation {

// Rows of large images lie apart by powers of two, so that all lines of a column fall into a few cache sets.
// Transposing therefore goes through small blocks of its own: whole lines in, a net of shuffles, whole lines out.

constexpr int kNet = 16;  ///< rows and columns of a shuffle net
constexpr int kTile = 64; ///< rows and columns of a block

/// Transposes 16 by 16 elements in blocks whose rows are `kTile` apart: four rounds that interleave row i with row i
/// + 8.
template <class T> [[gnu::always_inline]] inline void TransposeNet(const T* in, T* out) {
    typedef T Row __attribute__((vector_size(kNet * sizeof(T))));
    Row rows[kNet];
    for (int i = 0; i < kNet; ++i) {
        std::memcpy(&rows[i], in + i * kTile, sizeof(Row));
    }
    for (int round = 0; round < 4; ++round) {
        Row woven[kNet];
        for (int i = 0; i < kNet / 2; ++i) {
            woven[2 * i] =
                __builtin_shufflevector(rows[i], rows[i + 8], 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
            woven[2 * i + 1] = __builtin_shufflevector(rows[i], rows[i + 8], 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13,
                                                       29, 14, 30, 15, 31);
        }
        std::copy_n(woven, kNet, rows);
    }
    for (int i = 0; i < kNet; ++i) {
        std::memcpy(out + i * kTile, &rows[i], sizeof(Row));
    }
}

/// Writes a block of `width` columns and `height` rows, at most `kTile` each, as `width` rows.
template <class T>
[[gnu::always_inline]] inline void TransposeTile(const T* in, std::int64_t inStride, T* out, std::int64_t outStride,
                                                 int width, int height) {
    alignas(64) T source[kTile * kTile];
    alignas(64) T turned[kTile * kTile];
    for (int y = 0; y < height; ++y) {
        std::memcpy(source + y * kTile, in + y * inStride, static_cast<std::size_t>(width) * sizeof(T));
    }
    for (int y = 0; y < height; y += kNet) {
        for (int x = 0; x < width; x += kNet) {
            TransposeNet(source + y * kTile + x, turned + x * kTile + y);
        }
    }
    for (int x = 0; x < width; ++x) {
        std::memcpy(out + x * outStride, turned + x * kTile, static_cast<std::size_t>(height) * sizeof(T));
    }
}

/// out[x * outStride + y] = in[y * inStride + x] for `width` columns and `height` rows; a negative stride reverses.
template <class T>
[[gnu::always_inline]] inline void TransposePlane(const T* in, std::int64_t inStride, T* out, std::int64_t outStride,
                                                  std::int64_t width, std::int64_t height) {
    for (std::int64_t y = 0; y < height; y += kTile) {
        for (std::int64_t x = 0; x < width; x += kTile) {
            TransposeTile(in + y * inStride + x, inStride, out + x * outStride + y, outStride,
                          static_cast<int>(std::min<std::int64_t>(kTile, width - x)),
                          static_cast<int>(std::min<std::int64_t>(kTile, height - y)));
        }
    }
}

} // namespace QUOR::manipulation
