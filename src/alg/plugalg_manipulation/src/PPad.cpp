// Puts an image on a larger canvas: out(x, y, z) = in(x - pad_left, y - pad_top, z - pad_front) where that lies inside
// the image, else the fill. A negative margin counts as 0. The fill reaches integer elements truncated toward zero by
// its low bits, never clamped.

#include "PPad.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "Wrapping.h"

#include <algorithm>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Pad";

constexpr const char* kText = R"(BRIEF
Enlarge an image by padding it with constant pixels on the image edges.

The image is embedded into a larger one, with a separate margin on each of its six sides.
All margins are filled with \a value.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
Padded output image of the same type as the input image.

PARAMETER pad_left
The type of this parameter is of type long. below x: number of columns added to the left of the image.
By default it is set to \a 0.

PARAMETER pad_right
The type of this parameter is of type long. above x: number of columns added to the right of the image.
By default it is set to \a 0.

PARAMETER pad_top
The type of this parameter is of type long. below y: number of rows added at the top of the image.
By default it is set to \a 0.

PARAMETER pad_bottom
The type of this parameter is of type long. above y: number of rows added at the bottom of the image.
By default it is set to \a 0.

PARAMETER pad_front
The type of this parameter is of type long. below z: number of slices added at the front of the image.
By default it is set to \a 0.

PARAMETER pad_back
The type of this parameter is of type long. above z: number of slices added at the back of the image.
By default it is set to \a 0.

PARAMETER value
The type of this parameter is of type double. (long or double) pixel value for the added rows and columns.
By default it is set to \a 0.0.

NOTE
The parameter \a pad_top here refers to padding in the y-direction below y=0.

KEYWORDS
pad, embed, enlarge, add border, add edges
)";

/// Sums up in 32 bits, which wrap: canvases that need more come out smaller or negative.
std::int64_t PaddedExtent(std::int64_t before, std::int64_t after, std::int64_t extent) {
    return WrappedTo32(WrappedSum(WrappedSum(before, after), extent));
}

/// How many of an axis' elements lie on the canvas, which can be smaller than the image where its extent has wrapped.
std::int64_t OnCanvas(std::int64_t extent, std::int64_t before, std::int64_t canvas) {
    return std::clamp<std::int64_t>(canvas - before, 0, extent);
}

template <class T> void PadImage(const CImage& input, CImage& output, const StPlace& at, T fill) {
    const StExtents image = Extents(input);
    const StExtents canvas = Extents(output);
    const StExtents cuboid{OnCanvas(image.width, at.x, canvas.width), OnCanvas(image.height, at.y, canvas.height),
                           OnCanvas(image.depth, at.z, canvas.depth)};
    PlaceCuboid(Elements<T>(input), image, Elements<T>(output), canvas, at, cuboid, fill);
}

} // namespace

void CPPad::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Pad", "Manipulation");
    description.LongParameter("pad_left", 0).Order(0);
    description.LongParameter("pad_right", 0).Order(1);
    description.LongParameter("pad_top", 0).Order(2);
    description.LongParameter("pad_bottom", 0).Order(3);
    description.LongParameter("pad_front", 0).Order(4);
    description.LongParameter("pad_back", 0).Order(5);
    description.DoubleParameter("value", 0.0).Order(6);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPPad::NodeInit() {
    const auto read = [this](const char* key, std::int64_t& field) {
        field = Parameters().EntryLong(key, static_cast<Long>(field));
    };
    read("pad_left", pad_left);
    read("pad_right", pad_right);
    read("pad_top", pad_top);
    read("pad_bottom", pad_bottom);
    read("pad_front", pad_front);
    read("pad_back", pad_back);
    ReadNumber(Parameters(), "value", value);
}

void CPPad::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");

    for (std::int64_t* margin : {&pad_left, &pad_right, &pad_top, &pad_bottom, &pad_front, &pad_back}) {
        *margin = std::max<std::int64_t>(*margin, 0);
    }
    const auto [width, height, depth] = Extents(input);
    auto output = NewImage(input.Type(),
                           CSize(PaddedExtent(pad_left, pad_right, width), PaddedExtent(pad_top, pad_bottom, height),
                                 PaddedExtent(pad_front, pad_back, depth)));
    // Only now: an image that can't be made fails first, whatever its type.
    RequireType(input, {IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_F, IMAGE_GREY_32, IMAGE_BINARY_FG}, kWhere,
                "first input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor "
                "IMAGE_MONO_BINARY.");
    if (!IsEmpty(*output)) {
        DispatchNumber<std::uint8_t, std::uint16_t, float, std::uint32_t>(
            input.Type(), kWhere, [&]<class T>(Element<T>) {
                PadImage<T>(input, *output, {pad_left, pad_top, pad_front}, ElementFromNumber<T>(value));
            });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
