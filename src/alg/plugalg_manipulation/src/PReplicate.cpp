// Repeats an image along one axis: out(x, y, z) = in(x mod X, y, z) along x, and likewise along y and z. Whole images
// recur, not each row or slice by itself. Elements are moved as patterns of bits.

#include "PReplicate.h"

#include "Axis.h"
#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "ExtentProduct.h"
#include "Inputs.h"
#include "Output.h"

#include <algorithm>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Replicate::Run";

constexpr const char* kText = R"(BRIEF
Replicates an image in a given direction.

The output image consists of \a count copies of the input image, one behind the other
in the direction \a along.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8,
IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_BINARY_FG.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER along
The type of this parameter is of type string. Direction in which the image is replicated,
one of \a X, \a Y, and \a Z. By default it is set to \a X.


PARAMETER count
The type of this parameter is of type long. Number of copies of the input image in the
output image. By default it is set to \a 1, i.e. output image equals
input image.
)";

/// Writes `count` copies of each block of bytes one behind the other, for blocks that follow one another in the input.
/// The start of a block's output serves as the pattern once it holds more copies than the input does: it grows with
/// each copy, while that stays in the nearest cache.
void RepeatShortBlocks(const std::uint8_t* in, std::int64_t length, std::int64_t blocks, std::uint8_t* out,
                       std::int64_t count) {
    constexpr std::int64_t enough = 8192;
    const std::int64_t total = length * count;
    const std::int64_t step = RowsOfPage<std::uint8_t>(total);
    for (std::int64_t block = 0; block < blocks; block += step) {
        const std::int64_t rows = std::min(step, blocks - block);
        std::uint8_t* copies = out + block * total;
        CopyElementRows(in + block * length, length, copies, total, length, rows);
        std::int64_t pattern = length;
        for (std::int64_t written = length; written < total;) {
            const std::int64_t width = std::min(pattern, total - written);
            CopyElementRows(copies, total, copies + written, total, width, rows);
            written += width;
            pattern = pattern < enough ? written : pattern;
        }
    }
}

/// The same for long blocks, in pieces, each of which is read from memory for the first copy and from the cache for the
/// others.
void RepeatLongBlocks(const std::uint8_t* in, std::int64_t length, std::int64_t blocks, std::uint8_t* out,
                      std::int64_t count, std::int64_t piece) {
    for (std::int64_t block = 0; block < blocks; ++block, in += length, out += length * count) {
        for (std::int64_t first = 0; first < length; first += piece) {
            for (std::int64_t copy = 0; copy < count; ++copy) {
                CopyElements(in + first, out + first + copy * length, std::min(piece, length - first));
            }
        }
    }
}

/// A row along x, a plane along y, and the volume along z is a block whose copies follow one another. Pieces are read
/// from the nearest cache where the caches hold the output, too; else from the second, as memory is written faster in
/// long runs.
void ReplicateImage(const CImage& input, EnAxis axis, std::int64_t count, CImage& output) {
    const auto [width, height, depth] = Extents(input);
    const std::int64_t rows = axis == EnAxis::X ? 1 : height;
    const std::int64_t slices = axis == EnAxis::Z ? depth : 1;
    const std::int64_t length = width * rows * slices * input.Type().pixelBytes;
    const std::int64_t blocks = (height / rows) * (depth / slices);
    constexpr std::int64_t cached = std::int64_t{4} << 20;
    const std::int64_t piece = length <= cached / count ? 1 << 14 : 1 << 17;
    const auto* in = Elements<std::uint8_t>(input);
    auto* out = Elements<std::uint8_t>(output);
    if (length < piece) {
        RepeatShortBlocks(in, length, blocks, out, count);
    } else {
        RepeatLongBlocks(in, length, blocks, out, count, piece);
    }
}

} // namespace

void CPReplicate::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Replicate", "Manipulation");
    description.StringParameter("along", "X").Values("X, Y, Z");
    description.LongParameter("count", 1);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPReplicate::NodeInit() {
    along = Parameters().EntryString("along", "X");
    count = Parameters().EntryLong("count", 1);
}

void CPReplicate::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}, kWhere,
                "first image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_BINARY_FG");
    const EnAxis axis = RequireAxis(along, kWhere, "Parameter 'along' must be one of 'X', 'Y', or 'Z'.");
    if (count < 1) {
        Fail(kWhere, "Parameter 'count' must be greater than zero.");
    }

    StExtents extents = Extents(input);
    ExtentAlong(extents, axis) = ExtentProduct(ExtentAlong(extents, axis), count);
    auto output = NewImage(input.Type(), CSize(extents.width, extents.height, extents.depth));
    if (!IsEmpty(input)) {
        ReplicateImage(input, axis, count, *output);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
