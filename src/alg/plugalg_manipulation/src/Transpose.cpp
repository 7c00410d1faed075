#include "Transpose.h"

#include "VectorVariants.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace QUOR::manipulation {

namespace {

/// How many elements a vector of 16 bytes has.
template <class T> constexpr int kLanes = 16 / sizeof(T);

/// How many elements a cache line has: the side of a tile.
template <class T> constexpr int kSide = 64 / sizeof(T);

template <class T> using Vector [[gnu::vector_size(16)]] = T;

/// Weaves the first or the second halves of two vectors: a0 b0 a1 b1 and so on.
template <int Half, class T, int... Lane>
[[gnu::always_inline]] inline void Weave(const Vector<T>& a, const Vector<T>& b, Vector<T>& woven,
                                         std::integer_sequence<int, Lane...> /*lanes*/) {
    constexpr int first = Half * kLanes<T> / 2;
    woven = __builtin_shufflevector(a, b, (first + Lane / 2 + Lane % 2 * kLanes<T>)...);
}

/// Weaves row i with row i + n/2, for all i of the n rows, as often as told, and stores the rows. One such weaving is a
/// perfect shuffle of the square of n by n elements; log2(n) of them swap its rows and columns.
template <int Rounds, class T> [[gnu::always_inline]] inline void ShuffleRows(const Vector<T>* rows, T* out) {
    constexpr int lanes = kLanes<T>;
    if constexpr (Rounds == 0) {
        for (int row = 0; row < lanes; ++row) {
            std::memcpy(out + kSide<T> * row, &rows[row], sizeof(Vector<T>));
        }
    } else {
        constexpr auto sequence = std::make_integer_sequence<int, lanes>{};
        Vector<T> woven[lanes];
        for (int row = 0; row < lanes / 2; ++row) {
            Weave<0, T>(rows[row], rows[row + lanes / 2], woven[2 * row], sequence);
            Weave<1, T>(rows[row], rows[row + lanes / 2], woven[2 * row + 1], sequence);
        }
        ShuffleRows<Rounds - 1, T>(woven, out);
    }
}

/// Transposes a square with the side of a vector, from one tile to another.
template <class T> [[gnu::always_inline]] inline void TransposeSquare(const T* in, T* out) {
    Vector<T> rows[kLanes<T>];
    for (int row = 0; row < kLanes<T>; ++row) {
        std::memcpy(&rows[row], in + kSide<T> * row, sizeof(Vector<T>));
    }
    ShuffleRows<std::bit_width(unsigned{kLanes<T>}) - 1, T>(rows, out);
}

/// Rows of a large image lie a power of two apart and compete for the same few lines of the cache. So a tile is
/// fetched and stored in whole lines, and transposed between two blocks of its own.
template <class T>
MANI_VECTOR_VARIANTS void TransposeTile(const T* in, std::int64_t inStride, T* out, std::int64_t outStride) {
    constexpr int side = kSide<T>;
    alignas(64) T source[side * side];
    alignas(64) T target[side * side];
    for (int y = 0; y < side; ++y) {
        std::memcpy(source + side * y, in + inStride * y, 64);
    }
    for (int y = 0; y < side; y += kLanes<T>) {
        for (int x = 0; x < side; x += kLanes<T>) {
            TransposeSquare(source + side * y + x, target + side * x + y);
        }
    }
    for (int x = 0; x < side; ++x) {
        std::memcpy(out + outStride * x, target + side * x, 64);
    }
}

/// What is left of a tile at the right or the lower edge: whole squares, too, of which only a part is fetched and
/// stored.
template <class T>
MANI_VECTOR_VARIANTS void TransposePart(const T* in, std::int64_t inStride, int width, int height, T* out,
                                        std::int64_t outStride) {
    constexpr int side = kSide<T>;
    alignas(64) T source[side * side] = {};
    alignas(64) T target[side * side];
    for (int y = 0; y < height; ++y) {
        std::copy_n(in + inStride * y, width, source + side * y);
    }
    for (int y = 0; y < height; y += kLanes<T>) {
        for (int x = 0; x < width; x += kLanes<T>) {
            TransposeSquare(source + side * y + x, target + side * x + y);
        }
    }
    for (int x = 0; x < width; ++x) {
        std::copy_n(target + side * x, height, out + outStride * x);
    }
}

/// Tiles that follow one another down a column store neighbouring lines.
template <class T>
void TransposeBlock(const T* in, std::int64_t inStride, std::int64_t width, std::int64_t height, T* out,
                    std::int64_t outStride) {
    constexpr std::int64_t side = kSide<T>;
    for (std::int64_t x = 0; x < width; x += side) {
        for (std::int64_t y = 0; y < height; y += side) {
            const T* tile = in + inStride * y + x;
            T* place = out + outStride * x + y;
            const std::int64_t columns = std::min(side, width - x);
            const std::int64_t rows = std::min(side, height - y);
            if (columns == side && rows == side) {
                TransposeTile(tile, inStride, place, outStride);
            } else {
                TransposePart(tile, inStride, static_cast<int>(columns), static_cast<int>(rows), place, outStride);
            }
        }
    }
}

} // namespace

template <class T>
void TransposePlane(const T* in, std::int64_t inStride, std::int64_t width, std::int64_t height, T* out,
                    std::int64_t outStride) {
    constexpr std::int64_t side = kSide<T>;
    constexpr std::int64_t blockSide = 16 * side;
    for (std::int64_t top = 0; top < height; top += blockSide) {
        for (std::int64_t left = 0; left < width; left += blockSide) {
            const std::int64_t columns = std::min(blockSide, width - left);
            const std::int64_t rows = std::min(blockSide, height - top);
            TransposeBlock(in + inStride * top + left, inStride, columns, rows, out + outStride * left + top,
                           outStride);
        }
    }
}

template void TransposePlane(const std::uint8_t*, std::int64_t, std::int64_t, std::int64_t, std::uint8_t*,
                             std::int64_t);
template void TransposePlane(const std::uint16_t*, std::int64_t, std::int64_t, std::int64_t, std::uint16_t*,
                             std::int64_t);
template void TransposePlane(const std::uint32_t*, std::int64_t, std::int64_t, std::int64_t, std::uint32_t*,
                             std::int64_t);
template void TransposePlane(const std::uint64_t*, std::int64_t, std::int64_t, std::int64_t, std::uint64_t*,
                             std::int64_t);
template void TransposePlane(const float*, std::int64_t, std::int64_t, std::int64_t, float*, std::int64_t);

} // namespace QUOR::manipulation
