#pragma once

#include "Elements.h"
#include "VectorVariants.h"

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

namespace {

/// Copies a row of at least 64 bytes. The last step overlaps the one before it.
template <class Byte> MANI_VECTOR_VARIANTS void CopyRowByBlocks(const Byte* in, Byte* out, std::size_t bytes) {
    constexpr std::size_t block = 64;
    for (std::size_t i = 0; i + block < bytes; i += block) {
        std::memcpy(out + i, in + i, block);
    }
    std::memcpy(out + bytes - block, in + bytes - block, block);
}

} // namespace

/// Copies `count` elements, bit for bit, between images that don't overlap.
template <class T> void CopyElements(const T* in, T* out, std::int64_t count) {
    // Between these sizes the C library's copy is up to three times slower wherever source and destination lie alike
    // in their memory pages, as rows of images do.
    constexpr std::size_t least = 256;
    constexpr std::size_t most = 4096;
    const std::size_t bytes = count > 0 ? static_cast<std::size_t>(count) * sizeof(T) : 0;
    if (bytes >= least && bytes < most) {
        CopyRowByBlocks(reinterpret_cast<const unsigned char*>(in), reinterpret_cast<unsigned char*>(out), bytes);
    } else if (bytes > 0) {
        std::memcpy(out, in, bytes);
    }
}

/// Copies a cuboid of elements from one image into another: `in` and `out` point to its first element in images of the
/// given extents. Rows and planes that follow one another without a gap in both images are copied as one block.
template <class T>
void CopyCuboid(const T* in, const StExtents& inExtents, T* out, const StExtents& outExtents, const StExtents& cuboid) {
    StExtents runs = cuboid; // rows, until they are found to hang together
    if (runs.width == inExtents.width && runs.width == outExtents.width) {
        runs = {runs.width * runs.height, 1, runs.depth};
        if (cuboid.height == inExtents.height && cuboid.height == outExtents.height) {
            runs = {runs.width * runs.depth, 1, 1};
        }
    }
    if (runs.width <= 0) {
        return;
    }
    for (std::int64_t z = 0; z < runs.depth; ++z) {
        for (std::int64_t y = 0; y < runs.height; ++y) {
            CopyElements(in + inExtents.width * (y + inExtents.height * z),
                         out + outExtents.width * (y + outExtents.height * z), runs.width);
        }
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
    std::int64_t written = 0; // elements from the start of the output on
    for (std::int64_t z = 0; z < cuboid.depth; ++z) {
        for (std::int64_t y = 0; y < cuboid.height; ++y) {
            const std::int64_t row = ElementNumber(outExtents, {at.x, at.y + y, at.z + z});
            std::fill(out + written, out + row, fill);
            CopyElements(in + inExtents.width * (y + inExtents.height * z), out + row, cuboid.width);
            written = row + cuboid.width;
        }
    }
    std::fill(out + written, out + end, fill);
}

} // namespace QUOR::manipulation
