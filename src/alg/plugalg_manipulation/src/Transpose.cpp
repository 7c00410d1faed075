#include "Transpose.h"

#include "VectorVariants.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace QUOR::manipulation {

namespace {

/// How many elements 16 bytes have: the side of a square.
template <class T> constexpr int kLanes = 16 / sizeof(T);

/// How many elements a cache line has: the side of a tile.
template <class T> constexpr int kSide = kLine / sizeof(T);

/// A row of each of some squares, one square behind the other.
template <class T, int Squares> using Vector [[gnu::vector_size(16 * Squares)]] = T;

/// Weaves the first or the second halves of two rows: a0 b0 a1 b1 and so on.
template <int Half, class T, int Squares, int... Lane>
[[gnu::always_inline]] inline void Weave(const Vector<T, Squares>& a, const Vector<T, Squares>& b,
                                         Vector<T, Squares>& woven, std::integer_sequence<int, Lane...> /*lanes*/) {
    constexpr int lanes = kLanes<T>;
    woven = __builtin_shufflevector(
        a, b, (Lane / lanes * lanes + Half * lanes / 2 + Lane % lanes / 2 + Lane % 2 * lanes * Squares)...);
}

/// Weaves row i with row i + n/2, for all i of the n rows, as often as told. One such weaving is a perfect shuffle of
/// the square of n by n elements; log2(n) of them swap its rows and columns.
template <int Rounds, class T, int Squares> [[gnu::always_inline]] inline void ShuffleRows(Vector<T, Squares>* rows) {
    constexpr int lanes = kLanes<T>;
    if constexpr (Rounds > 0) {
        constexpr auto sequence = std::make_integer_sequence<int, lanes * Squares>{};
        Vector<T, Squares> woven[lanes];
        for (int row = 0; row < lanes / 2; ++row) {
            Weave<0, T, Squares>(rows[row], rows[row + lanes / 2], woven[2 * row], sequence);
            Weave<1, T, Squares>(rows[row], rows[row + lanes / 2], woven[2 * row + 1], sequence);
        }
        ShuffleRows<Rounds - 1, T, Squares>(woven);
        std::copy_n(woven, lanes, rows);
    }
}

template <class T, int Squares, int... Lane>
[[gnu::always_inline]] inline void Join(const Vector<T, Squares>& a, const Vector<T, Squares>& b,
                                        Vector<T, 2 * Squares>& joined, std::integer_sequence<int, Lane...> /*lanes*/) {
    joined = __builtin_shufflevector(a, b, Lane...);
}

/// Loads a row of each of the squares, which lie one below the other.
template <class T, int Squares>
[[gnu::always_inline]] inline void LoadRow(const T* in, std::int64_t inStride, Vector<T, Squares>& row) {
    if constexpr (Squares == 1) {
        std::memcpy(&row, in, sizeof(row));
    } else {
        constexpr int half = Squares / 2;
        Vector<T, half> upper;
        Vector<T, half> lower;
        LoadRow<T, half>(in, inStride, upper);
        LoadRow<T, half>(in + inStride * kLanes<T> * half, inStride, lower);
        Join<T, half>(upper, lower, row, std::make_integer_sequence<int, kLanes<T> * Squares>{});
    }
}

/// Transposes squares with the side of 16 bytes that lie one below the other.
template <class T, int Squares>
[[gnu::always_inline]] inline void TransposeSquares(const T* in, std::int64_t inStride, Vector<T, Squares>* rows) {
    for (int row = 0; row < kLanes<T>; ++row) {
        LoadRow<T, Squares>(in + inStride * row, inStride, rows[row]);
    }
    ShuffleRows<std::bit_width(unsigned{kLanes<T>}) - 1, T, Squares>(rows);
}

template <class T>
[[gnu::always_inline]] inline void TransposeSquare(const T* in, std::int64_t inStride, T* out, std::int64_t outStride) {
    Vector<T, 1> rows[kLanes<T>];
    TransposeSquares<T, 1>(in, inStride, rows);
    for (int row = 0; row < kLanes<T>; ++row) {
        std::memcpy(out + outStride * row, &rows[row], sizeof(rows[row]));
    }
}

/// Stores a cache line. One of an output that no cache holds goes past the caches, which would read it from memory
/// first only to have it written over.
template <bool Streams> [[gnu::always_inline]] inline void StoreLine(const void* line, void* out) {
#if defined(__SSE2__)
    if constexpr (Streams) {
        for (int part = 0; part < 4; ++part) {
            _mm_stream_si128(static_cast<__m128i*>(out) + part,
                             _mm_load_si128(static_cast<const __m128i*>(line) + part));
        }
        return;
    }
#endif
    std::memcpy(out, line, kLine);
}

/// Other threads see what was stored past the caches only after this.
void EndStreams() {
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

/// True for an output whose rows are whole cache lines and that is larger than what the caches keep for the next node,
/// beside an input of the same size.
template <class T> bool ShouldStream(const T* out, std::int64_t outStride, std::int64_t rows) {
    constexpr std::int64_t cached = std::int64_t{8} << 20;
    const std::int64_t strideBytes = std::abs(outStride) * static_cast<std::int64_t>(sizeof(T));
    return strideBytes % kLine == 0 && reinterpret_cast<std::uintptr_t>(out) % kLine == 0 &&
           strideBytes > cached / rows;
}

/// Rows of a large image lie a power of two apart and compete for the same few lines of the cache. So a tile is
/// fetched in whole lines into a block of its own.
template <class T> [[gnu::always_inline]] inline void FetchTile(const T* in, std::int64_t inStride, T* tile) {
    for (int y = 0; y < kSide<T>; ++y) {
        std::memcpy(tile + kSide<T> * y, in + inStride * y, kLine);
    }
}

/// Stored in whole lines, too.
template <bool Streams, class T>
MANI_VECTOR_VARIANTS void TransposeTile(const T* in, std::int64_t inStride, T* out, std::int64_t outStride) {
    constexpr int side = kSide<T>;
    alignas(kLine) T source[side * side];
    alignas(kLine) T target[side * side];
    FetchTile(in, inStride, source);
    for (int y = 0; y < side; y += kLanes<T>) {
        for (int x = 0; x < side; x += kLanes<T>) {
            TransposeSquare(source + side * y + x, side, target + side * x + y, side);
        }
    }
    for (int x = 0; x < side; ++x) {
        StoreLine<Streams>(target + side * x, out + outStride * x);
    }
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)

/// The same where a vector is a line: all squares of a column pass through the shuffles together and come out as lines.
template <bool Streams, class T>
[[gnu::target("arch=x86-64-v4")]] void TransposeTileByLines(const T* in, std::int64_t inStride, T* out,
                                                            std::int64_t outStride) {
    constexpr int side = kSide<T>;
    constexpr int squares = side / kLanes<T>;
    alignas(kLine) T source[side * side];
    FetchTile(in, inStride, source);
    for (int x = 0; x < side; x += kLanes<T>) {
        Vector<T, squares> lines[kLanes<T>];
        TransposeSquares<T, squares>(source + x, side, lines);
        for (int line = 0; line < kLanes<T>; ++line) {
            StoreLine<Streams>(&lines[line], out + outStride * (x + line));
        }
    }
}

template <bool Streams, class T> auto ChooseTransposeTile() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") ? &TransposeTileByLines<Streams, T>
                                                                                    : &TransposeTile<Streams, T>;
}

#else

template <bool Streams, class T> auto ChooseTransposeTile() { return &TransposeTile<Streams, T>; }

#endif

/// What is left of a square at the right or the lower edge: a whole one, of which only a part is fetched and stored.
template <class T>
[[gnu::always_inline]] inline void TransposeSquarePart(const T* in, std::int64_t inStride, int width, int height,
                                                       T* out, std::int64_t outStride) {
    constexpr int lanes = kLanes<T>;
    T source[lanes * lanes] = {};
    T target[lanes * lanes];
    for (int y = 0; y < height; ++y) {
        std::copy_n(in + inStride * y, width, source + lanes * y);
    }
    TransposeSquare(source, lanes, target, lanes);
    for (int x = 0; x < width; ++x) {
        std::copy_n(target + lanes * x, height, out + outStride * x);
    }
}

/// What is left of a tile at the right or the lower edge.
template <class T>
MANI_VECTOR_VARIANTS void TransposeTilePart(const T* in, std::int64_t inStride, int width, int height, T* out,
                                            std::int64_t outStride) {
    constexpr int lanes = kLanes<T>;
    for (int y = 0; y < height; y += lanes) {
        for (int x = 0; x < width; x += lanes) {
            const T* square = in + inStride * y + x;
            T* place = out + outStride * x + y;
            const int columns = std::min(lanes, width - x);
            const int rows = std::min(lanes, height - y);
            if (columns == lanes && rows == lanes) {
                TransposeSquare(square, inStride, place, outStride);
            } else {
                TransposeSquarePart(square, inStride, columns, rows, place, outStride);
            }
        }
    }
}

/// Tiles that follow one another along a row fetch neighbouring lines.
template <bool Streams, class T>
void TransposeBlock(const T* in, std::int64_t inStride, std::int64_t width, std::int64_t height, T* out,
                    std::int64_t outStride) {
    constexpr std::int64_t side = kSide<T>;
    const auto transposeTile = ChooseTransposeTile<Streams, T>();
    for (std::int64_t y = 0; y < height; y += side) {
        for (std::int64_t x = 0; x < width; x += side) {
            const T* tile = in + inStride * y + x;
            T* place = out + outStride * x + y;
            const std::int64_t columns = std::min(side, width - x);
            const std::int64_t rows = std::min(side, height - y);
            if (columns == side && rows == side) {
                transposeTile(tile, inStride, place, outStride);
            } else {
                TransposeTilePart(tile, inStride, static_cast<int>(columns), static_cast<int>(rows), place, outStride);
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
    const bool streams = ShouldStream(out, outStride, width);
    const auto transposeBlock = streams ? &TransposeBlock<true, T> : &TransposeBlock<false, T>;
    for (std::int64_t top = 0; top < height; top += blockSide) {
        for (std::int64_t left = 0; left < width; left += blockSide) {
            const std::int64_t columns = std::min(blockSide, width - left);
            const std::int64_t rows = std::min(blockSide, height - top);
            transposeBlock(in + inStride * top + left, inStride, columns, rows, out + outStride * left + top,
                           outStride);
        }
    }
    if (streams) {
        EndStreams();
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
