#include "Rows.h"

#include "Blocks.h"
#include "VectorVariants.h"

#include <algorithm>
#include <cstring>

namespace QUOR::manipulation {

namespace {

template <class T>
void CopyAnyRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
                 std::int64_t rows) {
    for (std::int64_t y = 0; y < rows; ++y) {
        CopyElements(in + inStride * y, out + outStride * y, width);
    }
}

template <class T>
void PlaceAnyRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
                  std::int64_t rows, T fill) {
    for (std::int64_t y = 0; y < rows - 1; ++y) {
        T* row = out + outStride * y;
        CopyElements(in + inStride * y, row, width);
        std::fill(row + width, row + outStride, fill);
    }
    CopyElements(in + inStride * (rows - 1), out + outStride * (rows - 1), width);
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)

/// A vector as long as a cache line.
template <class T> using Line [[gnu::vector_size(kLine)]] = T;

/// Copies lines. All are loaded before one is stored: a load waits for a store to the same place of another page.
template <int Lines, class T> [[gnu::always_inline]] inline void CopyLines(const T* in, T* out) {
    Line<T> lines[Lines];
    for (int line = 0; line < Lines; ++line) {
        std::memcpy(&lines[line], in + kLineElements<T> * line, kLine);
    }
    for (int line = 0; line < Lines; ++line) {
        std::memcpy(out + kLineElements<T> * line, &lines[line], kLine);
    }
}

/// Copies a row of a line or more. The last line overlaps the one before.
template <class T> [[gnu::always_inline]] inline void CopyShortRow(const T* in, T* out, std::int64_t width) {
    constexpr std::int64_t line = kLineElements<T>;
    std::int64_t x = 0;
    for (; x + 4 * line <= width; x += 4 * line) {
        CopyLines<4>(in + x, out + x);
    }
    for (; x + line <= width; x += line) {
        CopyLines<1>(in + x, out + x);
    }
    if (x < width) {
        CopyLines<1>(in + width - line, out + width - line);
    }
}

template <class T>
[[gnu::target("avx512f")]] void CopyShortRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride,
                                              std::int64_t width, std::int64_t rows) {
    for (std::int64_t y = 0; y < rows; ++y) {
        CopyShortRow(in + inStride * y, out + outStride * y, width);
    }
}

/// What is set behind a row may reach into the place of the next one, which is copied after that.
template <class T>
[[gnu::target("avx512f")]] void PlaceShortRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride,
                                               std::int64_t width, std::int64_t rows, T fill) {
    constexpr std::int64_t line = kLineElements<T>;
    T filled[line];
    std::fill_n(filled, line, fill);
    for (std::int64_t y = 0; y < rows - 1; ++y) {
        T* row = out + outStride * y;
        CopyShortRow(in + inStride * y, row, width);
        for (std::int64_t x = width; x < outStride; x += line) {
            CopyLines<1>(filled, row + x);
        }
    }
    CopyShortRow(in + inStride * (rows - 1), out + outStride * (rows - 1), width);
}

/// From a line up to a page: a call of `memcpy` takes as long as it copies one of these rows.
template <class T> bool AreShort(std::int64_t width) {
    constexpr std::int64_t page = 4096 / sizeof(T);
    return width >= kLineElements<T> && width < page && __builtin_cpu_supports("avx512f");
}

template <class T> auto ChooseCopyRows(std::int64_t width) {
    return AreShort<T>(width) ? &CopyShortRows<T> : &CopyAnyRows<T>;
}

template <class T> auto ChoosePlaceRows(std::int64_t width) {
    return AreShort<T>(width) ? &PlaceShortRows<T> : &PlaceAnyRows<T>;
}

#else

template <class T> auto ChooseCopyRows(std::int64_t /*width*/) { return &CopyAnyRows<T>; }

template <class T> auto ChoosePlaceRows(std::int64_t /*width*/) { return &PlaceAnyRows<T>; }

#endif

} // namespace

template <class T>
void CopyRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
              std::int64_t rows) {
    ChooseCopyRows<T>(width)(in, inStride, out, outStride, width, rows);
}

template <class T>
void PlaceRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
               std::int64_t rows, T fill) {
    ChoosePlaceRows<T>(width)(in, inStride, out, outStride, width, rows, fill);
}

template void CopyRows(const std::uint8_t*, std::int64_t, std::uint8_t*, std::int64_t, std::int64_t, std::int64_t);
template void CopyRows(const std::uint16_t*, std::int64_t, std::uint16_t*, std::int64_t, std::int64_t, std::int64_t);
template void CopyRows(const std::uint32_t*, std::int64_t, std::uint32_t*, std::int64_t, std::int64_t, std::int64_t);
template void CopyRows(const std::uint64_t*, std::int64_t, std::uint64_t*, std::int64_t, std::int64_t, std::int64_t);
template void CopyRows(const float*, std::int64_t, float*, std::int64_t, std::int64_t, std::int64_t);

template void PlaceRows(const std::uint8_t*, std::int64_t, std::uint8_t*, std::int64_t, std::int64_t, std::int64_t,
                        std::uint8_t);
template void PlaceRows(const std::uint16_t*, std::int64_t, std::uint16_t*, std::int64_t, std::int64_t, std::int64_t,
                        std::uint16_t);
template void PlaceRows(const std::uint32_t*, std::int64_t, std::uint32_t*, std::int64_t, std::int64_t, std::int64_t,
                        std::uint32_t);
template void PlaceRows(const std::uint64_t*, std::int64_t, std::uint64_t*, std::int64_t, std::int64_t, std::int64_t,
                        std::uint64_t);
template void PlaceRows(const float*, std::int64_t, float*, std::int64_t, std::int64_t, std::int64_t, float);

} // namespace QUOR::manipulation
