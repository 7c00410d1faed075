// Mirrors an image along any of its axes: out(x, y, z) = in(W - 1 - x, H - 1 - y, D - 1 - z), each coordinate reversed
// only if its flag is set. Elements are moved as patterns of bits, so that every float survives.

#include "PFlip.h"

#include "Blocks.h"
#include "Description.h"
#include "Inputs.h"
#include "Output.h"
#include "Reverse.h"

#include <utility>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Flip";

constexpr const char* kText = R"(BRIEF
Flips/reflects an image in the specified axis directions.

Flips/reflects the input image in the X, Y, and/or Z directions.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_D, IMAGE_GREY_8,
IMAGE_GREY_16,  IMAGE_GREY_32, IMAGE_MONO_BINARY.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER flip_x
The type of this parameter is of type bool. flips the input image in x-direction.
By default it is set to \a false.


PARAMETER flip_y
The type of this parameter is of type bool. flips the input image in y-direction.
By default it is set to \a false.


PARAMETER flip_z
The type of this parameter is of type bool. flips the input image in z-direction.
By default it is set to \a false.


KEYWORDS
flip axes, axis, left to right, mirror, reflect
)";

/// Axes that follow one another and are flipped alike are one long axis: without flips all of an image is one row, and
/// so it is if all axes are flipped.
template <class T> void FlipImage(const CImage& input, CImage& output, bool flipX, bool flipY, bool flipZ) {
    auto [width, height, depth] = Extents(input);
    if (flipX == flipY) {
        width *= std::exchange(height, 1);
        flipY = flipZ;
        height = std::exchange(depth, 1);
        flipZ = false;
    }
    if (flipX == flipY) {
        width *= std::exchange(height, 1);
    }
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    const auto moveRow = flipX ? &ReverseElements<T> : &CopyElements<T>;
    for (std::int64_t z = 0; z < depth; ++z) {
        const std::int64_t sourcePlane = flipZ ? depth - 1 - z : z;
        for (std::int64_t y = 0; y < height; ++y) {
            const std::int64_t sourceRow = flipY ? height - 1 - y : y;
            moveRow(in + width * (sourceRow + height * sourcePlane), out, width);
            out += width;
        }
    }
}

} // namespace

void CPFlip::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Flip", "Manipulation");
    description.BoolParameter("flip_x", false).Toggle().Order(0);
    description.BoolParameter("flip_y", false).Toggle().Order(1);
    description.BoolParameter("flip_z", false).Toggle().Order(2);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPFlip::NodeInit() {
    flip_x = Parameters().EntryBool("flip_x", false);
    flip_y = Parameters().EntryBool("flip_y", false);
    flip_z = Parameters().EntryBool("flip_z", false);
}

void CPFlip::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(
        input,
        {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_D, IMAGE_BINARY_FG, IMAGE_BINARY_BG},
        kWhere,
        "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_D, or "
        "IMAGE_BINARY_FG.");

    auto output = NewImage(input.Type(), input.Size());
    if (!IsEmpty(input)) {
        DispatchWidth(input.Type(), kWhere,
                      [&]<class T>(Element<T>) { FlipImage<T>(input, *output, flip_x, flip_y, flip_z); });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
