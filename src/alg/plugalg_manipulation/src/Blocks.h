#pragma once

#include "Elements.h"
#include "image/Rows.h"

#include <algorithm>
#include <array>
#include <bit>

namespace QUOR::manipulation {

/// A place in an image.
struct StPlace {
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;
};

/// The number of the element at a place, in storage order.
inline std::int64_t ElementNumber(const StExtents& extents, const StPlace& place) {
    return place.x + extents.width * (place.y + extents.height * place.z);
}

/// Elements as the bytes that they are made of.
/// @{
template <class T> const unsigned char* Bytes(const T* elements) {
    return reinterpret_cast<const unsigned char*>(elements);
}
template <class T> unsigned char* Bytes(T* elements) { return reinterpret_cast<unsigned char*>(elements); }
/// @}

/// Copies `count` elements, bit for bit.
template <class T> void CopyElements(const T* in, T* out, std::int64_t count) {
    if (count > 0) {
        CopyBytes(Bytes(in), Bytes(out), static_cast<std::size_t>(count) * sizeof(T));
    }
}

/// Copies rows of elements. Strides are the elements from one row to the next. A single row is copied here: where a
/// page holds no more than one, a further call for each row would be felt.
template <class T>
void CopyElementRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
                     std::int64_t rows) {
    constexpr std::int64_t bytes = sizeof(T);
    if (rows == 1) {
        CopyElements(in, out, width);
    } else {
        CopyRows(Bytes(in), inStride * bytes, Bytes(out), outStride * bytes, width * bytes, rows);
    }
}

/// How many rows of a width begin in a page of memory, one at least. What gathers or parts rows goes through that many
/// at a time: more would be read or written in places too far apart, fewer take a call for each short row.
template <class T> std::int64_t RowsOfPage(std::int64_t width) {
    constexpr std::int64_t page = 4096 / sizeof(T);
    return std::max<std::int64_t>(page / width, 1);
}

/// Copies rows, of which there is one at least, and sets what lies in the output between one row and the next to
/// `fill`.
template <class T>
void PlaceElementRows(const T* in, std::int64_t inStride, T* out, std::int64_t outStride, std::int64_t width,
                      std::int64_t rows, T fill) {
    constexpr std::int64_t bytes = sizeof(T);
    std::array<T, sizeof(BytePattern) / bytes> pattern;
    pattern.fill(fill);
    PlaceRows(Bytes(in), inStride * bytes, Bytes(out), outStride * bytes, width * bytes, rows,
              std::bit_cast<BytePattern>(pattern));
}

/// Copies the elements with the given numbers. Eight are loaded at a time, none of which then waits for a store that
/// might be to its place, or to that of a number.
template <class T, class Number>
[[gnu::always_inline]] inline void PickElements(const T* in, const Number* numbers, std::int64_t count, T* out) {
    constexpr std::int64_t step = 8;
    std::int64_t i = 0;
    for (; i + step <= count; i += step) {
        T picked[step];
        for (std::int64_t k = 0; k < step; ++k) {
            picked[k] = in[numbers[i + k]];
        }
        std::copy_n(picked, step, out + i);
    }
    for (; i < count; ++i) {
        out[i] = in[numbers[i]];
    }
}

/// The rows of a cuboid that two images have in common, or where rows or planes follow one another without a gap in
/// both of them, the blocks that these make: as a cuboid with rows of that length.
inline StExtents CommonRuns(const StExtents& cuboid, const StExtents& a, const StExtents& b) {
    if (cuboid.width != a.width || cuboid.width != b.width) {
        return cuboid;
    }
    if (cuboid.height != a.height || cuboid.height != b.height) {
        return {cuboid.width * cuboid.height, 1, cuboid.depth};
    }
    return {cuboid.width * cuboid.height * cuboid.depth, 1, 1};
}

/// Copies a cuboid, which isn't empty, from one image into another: `in` and `out` point to its first element in images
/// of the given extents. Rows and planes that follow one another without a gap in both images are copied as one block.
template <class T>
void CopyCuboid(const T* in, const StExtents& inExtents, T* out, const StExtents& outExtents, const StExtents& cuboid) {
    const StExtents runs = CommonRuns(cuboid, inExtents, outExtents);
    for (std::int64_t z = 0; z < runs.depth; ++z) {
        CopyElementRows(in + inExtents.width * inExtents.height * z, inExtents.width,
                        out + outExtents.width * outExtents.height * z, outExtents.width, runs.width, runs.height);
    }
}

/// Writes every element of an image once: those of the cuboid at `at` are copied, all others become `fill`. `in` points
/// to the cuboid's first element in an image of the extents `inExtents`; the cuboid lies inside the output.
template <class T>
void PlaceCuboid(const T* in, const StExtents& inExtents, T* out, const StExtents& outExtents, const StPlace& at,
                 const StExtents& cuboid, T fill) {
    const std::int64_t end = outExtents.width * outExtents.height * outExtents.depth;
    if (cuboid.width <= 0 || cuboid.height <= 0 || cuboid.depth <= 0) {
        std::fill_n(out, end, fill);
        return;
    }
    const StExtents runs = CommonRuns(cuboid, inExtents, outExtents);
    std::int64_t written = 0; // elements from the start of the output on
    for (std::int64_t z = 0; z < runs.depth; ++z) {
        const std::int64_t run = ElementNumber(outExtents, {at.x, at.y, at.z + z});
        std::fill(out + written, out + run, fill);
        PlaceElementRows(in + inExtents.width * inExtents.height * z, inExtents.width, out + run, outExtents.width,
                         runs.width, runs.height, fill);
        written = run + outExtents.width * (runs.height - 1) + runs.width;
    }
    std::fill(out + written, out + end, fill);
}

} // namespace QUOR::manipulation
