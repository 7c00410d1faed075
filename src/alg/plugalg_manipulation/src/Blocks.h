#pragma once

#include "Elements.h"
#include "Rows.h"

#include <algorithm>
#include <cstring>

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

/// Copies a block of bytes. A load that follows a store to the same place of another page waits for it, so that
/// `memcpy` takes two to five times as long for rows shorter than a page and for longer ones that are shifted by a few
/// bytes only: those are copied in pieces that it loads whole before it stores them. (`memmove` is never turned into a
/// loop of single words.)
inline void CopyBytes(const std::uint8_t* in, std::uint8_t* out, std::size_t bytes) {
    constexpr std::size_t piece = 512;
    constexpr std::uintptr_t page = 4096;
    const std::uintptr_t shift = (reinterpret_cast<std::uintptr_t>(out) - reinterpret_cast<std::uintptr_t>(in)) % page;
    if (bytes < page || (shift > 0 && shift < 64)) {
        for (; bytes > piece; bytes -= piece) {
            std::memmove(out, in, piece);
            in += piece;
            out += piece;
        }
    }
    std::memcpy(out, in, bytes);
}

/// Copies `count` elements, bit for bit.
template <class T> void CopyElements(const T* in, T* out, std::int64_t count) {
    if (count > 0) {
        CopyBytes(reinterpret_cast<const std::uint8_t*>(in), reinterpret_cast<std::uint8_t*>(out),
                  static_cast<std::size_t>(count) * sizeof(T));
    }
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
        CopyRows(in + inExtents.width * inExtents.height * z, inExtents.width,
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
        PlaceRows(in + inExtents.width * inExtents.height * z, inExtents.width, out + run, outExtents.width, runs.width,
                  runs.height, fill);
        written = run + outExtents.width * (runs.height - 1) + runs.width;
    }
    std::fill(out + written, out + end, fill);
}

} // namespace QUOR::manipulation
