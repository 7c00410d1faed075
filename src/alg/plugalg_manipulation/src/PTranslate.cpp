// Shifts an image's content by whole elements: out(x, y, z) = in(x - dx, y - dy, z - dz), which is the background where
// that lies outside the image, or with `wrap` the element there on a periodic lattice. The background of byte types is
// cut toward zero and keeps its low bits.

#include "PTranslate.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "Periodic.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Translate";

constexpr const char* kText = R"(BRIEF
Shift image.

Translate the image by given offsets in all three orientations. The offsets can be negative.
For pixels not covered by the translation the pixel value is assigned to the background value bg_value.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER offset_x
The type of this parameter is of type long. pixel offset for the translation in x-direction.
By default it is set to \a 0.

PARAMETER offset_y
The type of this parameter is of type long. pixel offset for the translation in y-direction.
By default it is set to \a 0.

PARAMETER offset_z
The type of this parameter is of type long. pixel offset for the translation in z-direction.
By default it is set to \a 0.

PARAMETER bg_value
The type of this parameter is of type double. pixel value for those pixels not covered by the translation.
By default it is set to \a 0.0.

PARAMETER wrap
The type of this parameter is of type bool. translation can be performed as on a periodic lattice.
This can be useful for images in polar coordinates.
By default it is set to \a false.

KEYWORDS
shift, translate, move, wrap around, offset
)";

/// The part of an axis that stays on the canvas when it is shifted.
struct StOverlap {
    std::int64_t from;  ///< where it starts in the input
    std::int64_t to;    ///< where it starts in the output
    std::int64_t count; ///< below 1 if nothing stays
};

StOverlap Overlap(std::int64_t extent, std::int64_t offset) {
    return {std::max<std::int64_t>(-offset, 0), std::max<std::int64_t>(offset, 0), extent - std::abs(offset)};
}

template <class T> void Shift(const CImage& input, CImage& output, const StPlace& offset, T background) {
    const StExtents extents = Extents(input);
    const StOverlap columns = Overlap(extents.width, offset.x);
    const StOverlap rows = Overlap(extents.height, offset.y);
    const StOverlap planes = Overlap(extents.depth, offset.z);
    const StExtents kept{columns.count, rows.count, planes.count};
    const bool stays = kept.width > 0 && kept.height > 0 && kept.depth > 0;
    const std::int64_t first = stays ? ElementNumber(extents, {columns.from, rows.from, planes.from}) : 0;
    PlaceCuboid(Elements<T>(input) + first, extents, Elements<T>(output), extents, {columns.to, rows.to, planes.to},
                kept, background);
}

/// Each row comes in two pieces: what the shift pushes out at its end goes to its start.
template <class T> void ShiftPeriodically(const CImage& input, CImage& output, const StPlace& offset) {
    auto [width, height, depth] = Extents(input);
    StPlace shift{Periodic(offset.x, width), Periodic(offset.y, height), Periodic(offset.z, depth)};
    for (int axis = 0; axis < 2 && shift.x == 0; ++axis) { // rows that stay whole make one longer row of each plane
        shift = {width * shift.y, shift.z, 0};
        width *= height;
        height = std::exchange(depth, 1);
    }
    const std::int64_t kept = width - shift.x;
    T* out = Elements<T>(output);
    for (std::int64_t z = 0; z < depth; ++z) {
        const std::int64_t sourcePlane = Periodic(z - shift.z, depth);
        for (std::int64_t y = 0; y < height; ++y) {
            const T* row = Elements<T>(input) + width * (Periodic(y - shift.y, height) + height * sourcePlane);
            CopyElements(row, out + shift.x, kept); // reads go on in order
            CopyElements(row + kept, out, shift.x);
            out += width;
        }
    }
}

/// An offset may be given as a double, whose fraction is cut.
std::int64_t Offset(const CValueMap& parameters, const char* key) {
    if (parameters.HasEntry(key, EnValType::Double)) {
        return TruncateTo32(parameters.EntryDouble(key));
    }
    return parameters.EntryLong(key, 0);
}

} // namespace

void CPTranslate::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Translate", "Manipulation");
    description.LongParameter("offset_x", 0).Order(0);
    description.LongParameter("offset_y", 0).Order(1);
    description.LongParameter("offset_z", 0).Order(2);
    description.DoubleParameter("bg_value", 0.0).Order(3);
    description.BoolParameter("wrap", false).Order(4);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPTranslate::NodeInit() {
    done = 0;
    offset_x = Offset(Parameters(), "offset_x");
    offset_y = Offset(Parameters(), "offset_y");
    offset_z = Offset(Parameters(), "offset_z");
    ReadNumber(Parameters(), "bg_value", bg_value);
    run_once = Parameters().EntryBool("run_once", false);
    wrap = Parameters().EntryBool("wrap", false);
}

void CPTranslate::Run() {
    if (run_once && done == 1) {
        return;
    }
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    // The words name IMAGE_BINARY_FG twice and leave out IMAGE_BINARY_BG, which is accepted.
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_BINARY_BG}, kWhere,
                "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_BINARY_FG, or IMAGE_BINARY_FG");

    auto output = NewImage(input.Type(), input.Size());
    const StPlace offset{offset_x, offset_y, offset_z};
    if (!IsEmpty(input)) {
        DispatchNumber<float, std::uint8_t>(input.Type(), kWhere, [&]<class T>(Element<T>) {
            if (wrap) {
                ShiftPeriodically<T>(input, *output, offset);
            } else {
                Shift<T>(input, *output, offset, ElementFromNumber<T>(bg_value));
            }
        });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
    done = 1;
}

} // namespace QUOR
