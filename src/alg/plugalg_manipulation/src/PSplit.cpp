// Cuts an image in two along one axis: the first output holds the elements in front of the cut, the second all others.
// The cut lies at the extent times the ratio, in single precision and truncated. Elements are moved as patterns of
// bits.

#include "PSplit.h"

#include "Axis.h"
#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Wrapping.h"

#include <algorithm>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Split";

constexpr const char* kText = R"(BRIEF
Split an image into two parts along one of the axes.

The position of the cut is given as a fraction of the extent of the input image in the
direction \a along. The first output image contains the data in front of it, the second
output image contains all the remaining data of the input image.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8,
IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
First output image of the same type as the input image.

OUTPUT 1
Second output image of the same type as the input image.

PARAMETER along
The type of this parameter is of type string. Direction in which the image is split,
one of \a X, \a Y, and \a Z. By default it is set to \a X.


PARAMETER split_ratio
The type of this parameter is of type double. Part of the extent that goes to the first
output image, a value from (0,1). By default it is set to \a 0.5.


KEYWORDS
split, divide, half, halve, partition
)";

/// The input is a sequence of rows, along y of planes, and along z it is one block: the start of each belongs to the
/// first part, the rest to the second. So it is read once, from its start to its end.
template <class T> void SplitImage(const CImage& input, EnAxis axis, CImage& first, CImage& second) {
    if (IsEmpty(input)) {
        return;
    }
    const auto [width, height, depth] = Extents(input);
    const std::int64_t blocks = axis == EnAxis::X ? height * depth : axis == EnAxis::Y ? depth : 1;
    const std::int64_t firstLength = static_cast<std::int64_t>(first.Size().Volume()) / blocks;
    const std::int64_t secondLength = static_cast<std::int64_t>(second.Size().Volume()) / blocks;
    const std::int64_t length = firstLength + secondLength;
    const std::int64_t step = RowsOfPage<T>(length);
    for (std::int64_t block = 0; block < blocks; block += step) {
        const std::int64_t count = std::min(step, blocks - block);
        const T* in = Elements<T>(input) + block * length;
        CopyElementRows(in, length, Elements<T>(first) + block * firstLength, firstLength, firstLength, count);
        CopyElementRows(in + firstLength, length, Elements<T>(second) + block * secondLength, secondLength,
                        secondLength, count);
    }
}

/// An image of the input's type and extents but for the extent along one axis.
std::unique_ptr<CImage> NewPart(const CImage& input, EnAxis axis, std::int64_t extent) {
    StExtents extents = Extents(input);
    ExtentAlong(extents, axis) = extent;
    return NewImage(input.Type(), CSize(extents.width, extents.height, extents.depth));
}

/// How many of `extent` elements lie in front of the cut.
std::int64_t CutAt(std::int64_t extent, float ratio) {
    // Single precision is meant: beyond 2^24 elements the cut is a rounded one.
    return TruncateTo64(static_cast<float>(extent) * ratio);
}

} // namespace

void CPSplit::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Split", "Manipulation");
    description.StringParameter("along", "X").Values("X, Y, Z").Order(0);
    description.DoubleParameter("split_ratio", 0.5).Order(1);
    description.ImageInput();
    description.ImageOutput();
    description.ImageOutput();
    description.Text(kText);
}

void CPSplit::NodeInit() {
    along = Parameters().EntryString("along", along);
    split_ratio = static_cast<float>(Parameters().EntryDouble("split_ratio", split_ratio));
    if (!(split_ratio > 0.0F && split_ratio < 1.0F)) {
        CString what("split_ratio of %1 is not a reasonable value. Please give a value from (0,1)");
        Fail(kWhere, what.Arg(static_cast<double>(split_ratio), 0));
    }
}

void CPSplit::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    RequireType(
        input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}, kWhere,
        "input image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor IMAGE_MONO_BINARY");
    const EnAxis axis = RequireAxis(along, kWhere, "parameter 'along' must be one of 'X', 'Y', or 'Z'.");

    StExtents extents = Extents(input);
    const std::int64_t extent = ExtentAlong(extents, axis);
    const std::int64_t cut = CutAt(extent, split_ratio);
    auto first = NewPart(input, axis, cut);
    auto second = NewPart(input, axis, WrappedDifference(extent, cut)); // a refused ratio may have cut anywhere
    DispatchWidth(input.Type(), kWhere, [&]<class T>(Element<T>) { SplitImage<T>(input, axis, *first, *second); });
    SetOutputs(*this, WrapImage(std::move(first)), WrapImage(std::move(second)));
}

} // namespace QUOR
