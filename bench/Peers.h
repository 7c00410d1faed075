#pragma once

// The libraries that nodes are measured against, as far as they are found where this is built. A peer that needs one
// is added to a case by `.OPENCV_PEER(name, work)` or `.VIPS_PEER(name, work)`, which add nothing without it.

#include "Case.h"

#include <string>

#if defined(BENCH_OPENCV)
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#define OPENCV_PEER(...) Peer(__VA_ARGS__)
#else
#define OPENCV_PEER(...) NoPeer()
#endif

#if defined(BENCH_VIPS)
#include <vips/vips8>
#define VIPS_PEER(...) Peer(__VA_ARGS__)
#else
#define VIPS_PEER(...) NoPeer()
#endif

namespace QUOR::bench {

/// Has the peers run on one thread, and keeps them from remembering results.
void SetUpPeers();

/// The names and versions of the libraries found.
std::string PeersFound();

/// The elements as peers ask for them: their views aren't const, though none of them writes to its inputs.
inline std::uint8_t* BytesOf(const CImage& image) { return const_cast<std::uint8_t*>(Elements<std::uint8_t>(image)); }

#if defined(BENCH_OPENCV)

/// Slices of an image, one below the other, without a copy.
inline cv::Mat Slices(const CImage& image, std::int64_t first, std::int64_t count) {
    const CSize& size = image.Size();
    return {static_cast<int>(size.y * count), static_cast<int>(size.x), image.Type() == IMAGE_GREY_F ? CV_32F : CV_8U,
            BytesOf(image) + first * size.x * size.y * image.Type().pixelBytes};
}

inline cv::Mat Slice(const CImage& image, std::int64_t number = 0) { return Slices(image, number, 1); }

inline cv::Mat AllSlices(const CImage& image) { return Slices(image, 0, image.Size().z); }

#endif

#if defined(BENCH_VIPS)

inline vips::VImage VipsImage(const CImage& image) {
    return vips::VImage::new_from_memory(BytesOf(image), image.Buffer().Size(), static_cast<int>(image.Size().x),
                                         static_cast<int>(image.Size().y), 1,
                                         image.Type() == IMAGE_GREY_F ? VIPS_FORMAT_FLOAT : VIPS_FORMAT_UCHAR);
}

/// Computes what an image is to be, into fresh memory that is freed again.
inline void Compute(const vips::VImage& image) {
    std::size_t bytes = 0;
    g_free(image.write_to_memory(&bytes));
}

#endif

} // namespace QUOR::bench
