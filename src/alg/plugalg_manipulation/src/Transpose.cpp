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

/// Rows that follow one another in a block.
template <class T, int Stride> struct StBlockRows {
    const T* first;

    [[gnu::always_inline]] const T* operator[](int row) const { return first + Stride * row; }
};

/// Loads a row of each of the squares, which lie one below the other.
template <class T, int Squares, class Rows>
[[gnu::always_inline]] inline void LoadRow(const Rows& rows, int row, std::int64_t x, Vector<T, Squares>& loaded) {
    if constexpr (Squares == 1) {
        std::memcpy(&loaded, rows[row] + x, sizeof(loaded));
    } else {
        constexpr int half = Squares / 2;
        Vector<T, half> upper;
        Vector<T, half> lower;
        LoadRow<T, half>(rows, row, x, upper);
        LoadRow<T, half>(rows, row + kLanes<T> * half, x, lower);
        Join<T, half>(upper, lower, loaded, std::make_integer_sequence<int, kLanes<T> * Squares>{});
    }
}

/// Transposes squares with the side of 16 bytes that lie one below the other, from the column x of the rows on.
template <class T, int Squares, class Rows>
[[gnu::always_inline]] inline void TransposeSquares(const Rows& rows, std::int64_t x, Vector<T, Squares>* columns) {
    for (int row = 0; row < kLanes<T>; ++row) {
        LoadRow<T, Squares>(rows, row, x, columns[row]);
    }
    ShuffleRows<std::bit_width(unsigned{kLanes<T>}) - 1, T, Squares>(columns);
}

template <class T, class Rows>
[[gnu::always_inline]] inline void TransposeSquare(const Rows& rows, std::int64_t x, T* out, std::int64_t outStride) {
    Vector<T, 1> columns[kLanes<T>];
    TransposeSquares<T, 1>(rows, x, columns);
    for (int column = 0; column < kLanes<T>; ++column) {
        std::memcpy(out + outStride * column, &columns[column], sizeof(columns[column]));
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
template <class T> [[gnu::always_inline]] inline void FetchTile(const T* const* rows, std::int64_t x, T* tile) {
    for (int row = 0; row < kSide<T>; ++row) {
        std::memcpy(tile + kSide<T> * row, rows[row] + x, kLine);
    }
}

/// Stored in whole lines, too.
template <bool Streams, class T>
MANI_VECTOR_VARIANTS void TransposeTile(const T* const* rows, std::int64_t x, T* out, std::int64_t outStride) {
    constexpr int side = kSide<T>;
    alignas(kLine) T source[side * side];
    alignas(kLine) T target[side * side];
    FetchTile(rows, x, source);
    for (int row = 0; row < side; row += kLanes<T>) {
        for (int column = 0; column < side; column += kLanes<T>) {
            const StBlockRows<T, side> square{source + side * row};
            TransposeSquare(square, column, target + side * column + row, side);
        }
    }
    for (int column = 0; column < side; ++column) {
        StoreLine<Streams>(target + side * column, out + outStride * column);
    }
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)

/// The same where a vector is a line: all squares of a column pass through the shuffles together and come out as lines.
template <bool Streams, class T>
[[gnu::target("avx512bw,avx512vl")]] void TransposeTileByLines(const T* const* rows, std::int64_t x, T* out,
                                                               std::int64_t outStride) {
    constexpr int side = kSide<T>;
    constexpr int squares = side / kLanes<T>;
    alignas(kLine) T source[side * side];
    FetchTile(rows, x, source);
    for (int column = 0; column < side; column += kLanes<T>) {
        Vector<T, squares> lines[kLanes<T>];
        TransposeSquares<T, squares>(StBlockRows<T, side>{source}, column, lines);
        for (int line = 0; line < kLanes<T>; ++line) {
            StoreLine<Streams>(&lines[line], out + outStride * (column + line));
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
[[gnu::always_inline]] inline void TransposeSquarePart(const T* const* rows, std::int64_t x, int width, int height,
                                                       T* out, std::int64_t outStride) {
    constexpr int lanes = kLanes<T>;
    T source[lanes * lanes] = {};
    T target[lanes * lanes];
    for (int row = 0; row < height; ++row) {
        std::copy_n(rows[row] + x, width, source + lanes * row);
    }
    TransposeSquare(StBlockRows<T, lanes>{source}, 0, target, lanes);
    for (int column = 0; column < width; ++column) {
        std::copy_n(target + lanes * column, height, out + outStride * column);
    }
}

/// What is left of a tile at the right or the lower edge.
template <class T>
MANI_VECTOR_VARIANTS void TransposeTilePart(const T* const* rows, std::int64_t x, int width, int height, T* out,
                                            std::int64_t outStride) {
    constexpr int lanes = kLanes<T>;
    for (int row = 0; row < height; row += lanes) {
        for (int column = 0; column < width; column += lanes) {
            T* place = out + outStride * column + row;
            const int columns = std::min(lanes, width - column);
            const int count = std::min(lanes, height - row);
            if (columns == lanes && count == lanes) {
                TransposeSquare(rows + row, x + column, place, outStride);
            } else {
                TransposeSquarePart(rows + row, x + column, columns, count, place, outStride);
            }
        }
    }
}

/// Finds where some rows of a stack begin, from the row `y` on.
template <class T> void FindRows(const StStack<T>& in, std::int64_t y, std::int64_t count, const T** rows) {
    std::int64_t plane = y / in.height;
    std::int64_t row = y % in.height;
    for (std::int64_t found = 0; found < count; row = 0, ++plane) {
        const T* first = in.first + in.planeStride * plane;
        for (; row < in.height && found < count; ++row, ++found) {
            rows[found] = first + in.stride * row;
        }
    }
}

/// The part of a stack from the column `left` and the row `top` on. Tiles that follow one another along a row fetch
/// neighbouring lines.
template <bool Streams, class T>
void TransposeBlock(const StStack<T>& in, std::int64_t left, std::int64_t width, std::int64_t top, std::int64_t height,
                    T* out, std::int64_t outStride) {
    constexpr std::int64_t side = kSide<T>;
    const auto transposeTile = ChooseTransposeTile<Streams, T>();
    const T* rows[side];
    for (std::int64_t y = top; y < top + height; y += side) {
        const std::int64_t count = std::min(side, top + height - y);
        FindRows(in, y, count, rows);
        for (std::int64_t x = left; x < left + width; x += side) {
            const std::int64_t columns = std::min(side, left + width - x);
            T* place = out + outStride * x + y;
            if (columns == side && count == side) {
                transposeTile(rows, x, place, outStride);
            } else {
                TransposeTilePart(rows, x, static_cast<int>(columns), static_cast<int>(count), place, outStride);
            }
        }
    }
}

} // namespace

template <class T> void Transpose(const StStack<T>& in, T* out, std::int64_t outStride) {
    constexpr std::int64_t blockSide = 16 * kSide<T>;
    const std::int64_t height = in.height * in.planes;
    const bool streams = ShouldStream(out, outStride, in.width);
    const auto transposeBlock = streams ? &TransposeBlock<true, T> : &TransposeBlock<false, T>;
    for (std::int64_t top = 0; top < height; top += blockSide) {
        for (std::int64_t left = 0; left < in.width; left += blockSide) {
            transposeBlock(in, left, std::min(blockSide, in.width - left), top, std::min(blockSide, height - top), out,
                           outStride);
        }
    }
    if (streams) {
        EndStreams();
    }
}

template void Transpose(const StStack<std::uint8_t>&, std::uint8_t*, std::int64_t);
template void Transpose(const StStack<std::uint16_t>&, std::uint16_t*, std::int64_t);
template void Transpose(const StStack<std::uint32_t>&, std::uint32_t*, std::int64_t);
template void Transpose(const StStack<std::uint64_t>&, std::uint64_t*, std::int64_t);
template void Transpose(const StStack<float>&, float*, std::int64_t);

} // namespace QUOR::manipulation
