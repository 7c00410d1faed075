#include "Transpose.h"

#include "CacheLine.h"
#include "base/VectorVariants.h"

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

/// The side of a tile: a cache line.
template <class T> constexpr int kSide = kLineElements<T>;

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

/// Loads a row of each of the squares, which lie one below the other in lines that follow one another.
template <class T, int Squares> [[gnu::always_inline]] inline void LoadRow(const T* row, Vector<T, Squares>& loaded) {
    if constexpr (Squares == 1) {
        std::memcpy(&loaded, row, sizeof(loaded));
    } else {
        constexpr int half = Squares / 2;
        Vector<T, half> upper;
        Vector<T, half> lower;
        LoadRow<T, half>(row, upper);
        LoadRow<T, half>(row + kSide<T> * kLanes<T> * half, lower);
        Join<T, half>(upper, lower, loaded, std::make_integer_sequence<int, kLanes<T> * Squares>{});
    }
}

/// Transposes squares that lie one below the other. So many pass through the shuffles together.
template <class T, int Squares>
[[gnu::always_inline]] inline void TransposeSquares(const T* first, Vector<T, Squares>* columns) {
    constexpr int lanes = kLanes<T>;
    for (int row = 0; row < lanes; ++row) {
        LoadRow<T, Squares>(first + kSide<T> * row, columns[row]);
    }
    ShuffleRows<std::bit_width(unsigned{lanes}) - 1, T, Squares>(columns);
}

/// Transposes the first columns of a tile, as many as a square has, to lines.
template <int Squares, class T>
[[gnu::always_inline]] inline void TransposeColumns(const T* tile, T (&lines)[kLanes<T>][kSide<T>]) {
    for (int top = 0; top < kSide<T>; top += kLanes<T> * Squares) {
        Vector<T, Squares> columns[kLanes<T>];
        TransposeSquares<T, Squares>(tile + kSide<T> * top, columns);
        for (int column = 0; column < kLanes<T>; ++column) {
            std::memcpy(&lines[column][top], &columns[column], sizeof(columns[column]));
        }
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
template <class T> bool ShouldStream(const T* out, std::int64_t outStride, std::int64_t width, std::int64_t rows) {
    constexpr std::int64_t cached = std::int64_t{8} << 20;
    const std::int64_t strideBytes = std::abs(outStride) * static_cast<std::int64_t>(sizeof(T));
    return width % kSide<T> == 0 && strideBytes % kLine == 0 && reinterpret_cast<std::uintptr_t>(out) % kLine == 0 &&
           strideBytes > cached / rows;
}

/// How many lines, side by side, are fetched from a row at a time. Rows of a large image lie a power of two apart and
/// compete for the same few places of the caches: of lines that are fetched one by one, many are gone before the
/// others of their neighbourhood are asked for.
constexpr int kRun = 2;

/// The lines of a block: half of the first cache.
constexpr int kBlockLines = 256;

/// A part of a stack: as many columns and rows, from the column `left` of the row `y` of a plane on.
struct StPart {
    std::int64_t left;
    std::int64_t y;
    std::int64_t plane;
    int width;
    int height;
};

/// A part of a stack that was fetched: its lines from left to right, and of each of these all rows, as many as there is
/// room for, one behind the other. The last line ends where the part ends.
// Lines are fetched before they are read. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
template <class T> struct StBlock {
    int rows = 0;
    alignas(kLine) T lines[kBlockLines][kSide<T>];
};

/// Calls `fetch` with where each row of a part begins, and with where its first line goes. What steers the loops is
/// passed by value: the compiler takes bytes that are stored for anything that is known by its place.
template <class T, class Fetch>
[[gnu::always_inline]] inline void ForEachRow(const StStack<T> in, const StPart part, StBlock<T>& block,
                                              const Fetch fetch) {
    std::int64_t y = part.y;
    std::int64_t plane = part.plane;
    for (int row = 0; row < part.height; y = 0, ++plane) {
        const T* first = in.first + in.planeStride * plane + part.left;
        const auto end = static_cast<int>(std::min<std::int64_t>(part.height, row + in.height - y));
        for (; row < end; ++row, ++y) {
            fetch(first + in.stride * y, block.lines[row]);
        }
    }
}

/// Asks the memory for the lines of a row that the next part, to the right, is made of. Where lines of memory begin
/// elsewhere, the first one is there already: it holds the end of this part, too.
template <class T> [[gnu::always_inline]] inline void FetchAhead(const T* next) {
    constexpr int toRead = 0;
    constexpr int intoSecondCache = 2;
    for (std::int64_t line = 1; line <= kRun; ++line) {
        __builtin_prefetch(next + kSide<T> * line - 1, toRead, intoSecondCache);
    }
}

/// Fetches a part whose rows have so many whole lines, and perhaps some elements more. These are fetched with the
/// elements before them, as a whole line.
template <int Lines, class T>
[[gnu::always_inline]] inline void FetchLines(const StStack<T> in, const StPart part, StBlock<T>& block) {
    constexpr std::int64_t side = kSide<T>;
    const std::int64_t step = side * block.rows;
    const bool hasMore = part.width > side * Lines;
    const bool hasNext = part.left + part.width + side * kRun <= in.width;
    ForEachRow(in, part, block, [=](const T* from, T* to) {
        for (int line = 0; line < Lines; ++line) {
            std::memcpy(to + step * line, from + side * line, kLine);
        }
        if (hasMore) {
            std::memcpy(to + step * Lines, from + part.width - side, kLine);
        }
        if (hasNext) {
            FetchAhead(from + part.width);
        }
    });
}

/// Fetches a part of a stack whose rows are shorter than a line, but not than a square.
template <class T>
[[gnu::always_inline]] inline void FetchPieces(const StStack<T> in, const StPart part, StBlock<T>& block) {
    constexpr int lanes = kLanes<T>;
    ForEachRow(in, part, block, [=](const T* from, T* to) {
        T* first = to + kSide<T> - part.width;
        for (int left = 0; left < part.width; left += lanes) {
            const int column = std::min(left, part.width - lanes);
            std::memcpy(first + column, from + column, sizeof(T) * lanes);
        }
    });
}

template <class T>
[[gnu::always_inline]] inline void FetchBlock(const StStack<T>& in, const StPart& part, StBlock<T>& block) {
    static_assert(kRun == 2);
    if (in.width < kSide<T>) {
        FetchPieces(in, part, block);
    } else if (part.width < kSide<T>) {
        FetchLines<0>(in, part, block);
    } else if (part.width < 2 * kSide<T>) {
        FetchLines<1>(in, part, block);
    } else {
        FetchLines<2>(in, part, block);
    }
}

/// Where in a block a column begins that has as many beside it as a square has.
template <class T> const T* FindColumn(const StBlock<T>& block, int width, int column) {
    constexpr int side = kSide<T>;
    const int whole = width / side;
    return column + kLanes<T> <= side * whole ? block.lines[block.rows * (column / side)] + column % side
                                              : block.lines[block.rows * whole] + (column + side - width);
}

/// Moves a part of a stack that is as wide as a square and as high as a line, or more. At the right and at the lower
/// edge, what lies before it is moved once more rather than a part of a line.
///
/// The lines of an output row that a block has leave one after the other, or they would evict each other.
template <bool Streams, int Squares, class T>
[[gnu::always_inline]] inline void MovePart(const StStack<T>& in, const StPart part, StBlock<T>& block, T* out,
                                            const std::int64_t outStride) {
    constexpr int side = kSide<T>;
    constexpr int lanes = kLanes<T>;
    FetchBlock(in, part, block);
    for (int left = 0; left < part.width; left += lanes) {
        const int column = std::min(left, part.width - lanes);
        const T* first = FindColumn(block, part.width, column);
        for (int top = 0; top < part.height; top += side) {
            const int row = std::min(top, part.height - side);
            alignas(kLine) T lines[lanes][side];
            TransposeColumns<Squares>(first + side * row, lines);
            std::int64_t place = outStride * column + row;
            for (int line = 0; line < lanes; ++line, place += outStride) {
                StoreLine<Streams>(lines[line], out + place);
            }
        }
    }
}

template <bool Streams, class T>
VESSA_VECTOR_VARIANTS void MovePartBySquares(const StStack<T>& in, const StPart& part, StBlock<T>& block, T* out,
                                             std::int64_t outStride) {
    MovePart<Streams, 1>(in, part, block, out, outStride);
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)

/// The same where a vector is a line: all squares of a tile's columns pass through the shuffles together.
template <bool Streams, class T>
[[gnu::target("avx512bw,avx512vl")]] void MovePartByLines(const StStack<T>& in, const StPart& part, StBlock<T>& block,
                                                          T* out, std::int64_t outStride) {
    MovePart<Streams, kLine / 16>(in, part, block, out, outStride);
}

template <bool Streams, class T> auto ChooseMovePart() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") ? &MovePartByLines<Streams, T>
                                                                                    : &MovePartBySquares<Streams, T>;
}

#else

template <bool Streams, class T> auto ChooseMovePart() { return &MovePartBySquares<Streams, T>; }

#endif

/// Moves a part of a stack that is less high than a line, but not than a square: square by square.
template <class T>
VESSA_VECTOR_VARIANTS void MoveLowPart(const StStack<T>& in, const StPart& part, StBlock<T>& block, T* out,
                                       std::int64_t outStride) {
    constexpr int lanes = kLanes<T>;
    FetchBlock(in, part, block);
    for (int left = 0; left < part.width; left += lanes) {
        const int column = std::min(left, part.width - lanes);
        const T* first = FindColumn(block, part.width, column);
        for (int top = 0; top < part.height; top += lanes) {
            const int row = std::min(top, part.height - lanes);
            Vector<T, 1> columns[lanes];
            TransposeSquares<T, 1>(first + kSide<T> * row, columns);
            for (int line = 0; line < lanes; ++line) {
                std::memcpy(out + outStride * (column + line) + row, &columns[line], sizeof(columns[line]));
            }
        }
    }
}

/// Moves a part of a stack that is narrower or less high than a square: only what there is is fetched and stored.
template <class T>
VESSA_VECTOR_VARIANTS void MoveThinPart(const StStack<T>& in, const StPart& part, StBlock<T>& block, T* out,
                                        std::int64_t outStride) {
    constexpr int side = kSide<T>;
    constexpr int lanes = kLanes<T>;
    const std::size_t rowBytes = sizeof(T) * static_cast<std::size_t>(part.width);
    ForEachRow(in, part, block, [=](const T* from, T* to) { std::memcpy(to, from, rowBytes); });
    for (int left = 0; left < part.width; left += lanes) {
        const int columns = std::min(lanes, part.width - left);
        for (int top = 0; top < part.height; top += side) {
            const int rows = std::min(side, part.height - top);
            alignas(kLine) T lines[lanes][side];
            TransposeColumns<1>(block.lines[top] + left, lines);
            for (int line = 0; line < columns; ++line) {
                std::copy_n(lines[line], rows, out + outStride * (left + line) + top);
            }
        }
    }
}

/// Moves a stack part by part, each as wide as so many lines. The last rows are a line at least, if there are as many.
template <class T, class MovePartFunction>
void MoveParts(const StStack<T>& in, std::int64_t run, MovePartFunction movePart, T* out, std::int64_t outStride) {
    constexpr std::int64_t side = kSide<T>;
    const std::int64_t height = in.height * in.planes;
    StBlock<T> block;
    block.rows = static_cast<int>(kBlockLines / run);
    for (std::int64_t next = 0; next < height; next += block.rows) {
        const std::int64_t top = std::max<std::int64_t>(0, std::min(next, height - side));
        const int rows = static_cast<int>(std::min<std::int64_t>(block.rows, height - top));
        StPart part{0, top % in.height, top / in.height, 0, rows};
        for (; part.left < in.width; part.left += part.width) {
            part.width = static_cast<int>(std::min(side * run, in.width - part.left));
            movePart(in, part, block, out + outStride * part.left + top, outStride);
        }
    }
}

} // namespace

template <class T> void Transpose(const StStack<T>& in, T* out, std::int64_t outStride) {
    const std::int64_t height = in.height * in.planes;
    const std::int64_t run = in.width <= kSide<T> ? 1 : kRun;
    if (std::min(in.width, height) < kLanes<T>) {
        MoveParts(in, 1, &MoveThinPart<T>, out, outStride);
    } else if (height < kSide<T>) {
        MoveParts(in, run, &MoveLowPart<T>, out, outStride);
    } else if (ShouldStream(out, outStride, height, in.width)) {
        MoveParts(in, run, ChooseMovePart<true, T>(), out, outStride);
        EndStreams();
    } else {
        MoveParts(in, run, ChooseMovePart<false, T>(), out, outStride);
    }
}

template void Transpose(const StStack<std::uint8_t>&, std::uint8_t*, std::int64_t);
template void Transpose(const StStack<std::uint16_t>&, std::uint16_t*, std::int64_t);
template void Transpose(const StStack<std::uint32_t>&, std::uint32_t*, std::int64_t);
template void Transpose(const StStack<std::uint64_t>&, std::uint64_t*, std::int64_t);
template void Transpose(const StStack<float>&, float*, std::int64_t);

} // namespace QUOR::manipulation
