// Permutes the axes of an image: with the axes "YZX", out(y, z, x) = in(x, y, z), letter i being the input axis that
// becomes axis i of the output. Elements are moved as patterns of bits.

#include "PSwitchAxes.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "Transpose.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) SwitchAxes::Run";

constexpr const char* kText = R"(BRIEF
Plugin to switch image axes

Gives the axes of the input image another order. Directions are kept, axes are renamed: with
\a axes YXZ, what was a row becomes a column. The output counts as three-dimensional.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER axes
The type of this parameter is of type string. defines the axes to be switched; letter i
names the input axis that becomes axis i of the output. Possible values are:
XYZ: no transfomation
XZY: y and z are switched
YXZ: x and y are switched
YZX: y becomes x, z becomes y, and x becomes z
ZYX: x and z are switched
ZXY: z becomes x, x becomes y, and y becomes z
Each value is a uniqe order of the axes.
By default it is set to \a XYZ.
)";

constexpr std::array<std::string_view, 6> kOrders{"XYZ", "XZY", "YXZ", "YZX", "ZYX", "ZXY"};

/// An axis of the image: its elements and the steps from one to the next.
struct StAxis {
    std::int64_t extent;
    std::int64_t inStride;
    std::int64_t outStride;
};

/// The axes of the input, x first.
std::array<StAxis, 3> Axes(const StExtents& input, std::string_view order) {
    std::array<StAxis, 3> axes{
        {{input.width, 1, 0}, {input.height, input.width, 0}, {input.depth, input.width * input.height, 0}}};
    std::int64_t stride = 1;
    for (const char letter : order) {
        StAxis& axis = axes[static_cast<std::size_t>(letter - 'X')];
        axis.outStride = stride;
        stride *= axis.extent;
    }
    return axes;
}

/// Axes of a single element have no order: of the others, those come first by which the input and the output run on
/// from one element to the next. If that is one axis, rows are copied; if they are two, planes are transposed.
template <class T> void MoveElements(const CImage& input, CImage& output, std::string_view order) {
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    std::array<StAxis, 3> axes = Axes(Extents(input), order);
    const auto last =
        std::stable_partition(axes.begin(), axes.end(), [](const StAxis& axis) { return axis.extent > 1; });
    const auto nearer = [](const StAxis& a, const StAxis& b) { return a.outStride < b.outStride; };
    if (std::is_sorted(axes.begin(), last, nearer)) {
        std::memcpy(out, in, input.Buffer().Size());
        return;
    }
    const auto& [row, second, third] = axes;
    const StAxis& column = *std::min_element(axes.begin(), last, nearer);
    if (&column == &row) {
        for (std::int64_t z = 0; z < third.extent; ++z) {
            CopyElementRows(in + third.inStride * z, second.inStride, out + third.outStride * z, second.outStride,
                            row.extent, second.extent);
        }
        return;
    }
    const StAxis& planes = &column == &second ? third : second;
    StStack<T> stack{in, column.inStride, row.extent, column.extent, planes.inStride, planes.extent};
    if (planes.outStride == column.extent) { // in the output, too, each plane goes on where the one before ends
        Transpose(stack, out, row.outStride);
        return;
    }
    stack.planes = 1;
    for (std::int64_t plane = 0; plane < planes.extent; ++plane) {
        stack.first = in + planes.inStride * plane;
        Transpose(stack, out + planes.outStride * plane, row.outStride);
    }
}

} // namespace

void CPSwitchAxes::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "SwitchAxes", "Manipulation");
    description.StringParameter("axes", "XYZ").Values("XYZ, XZY, YXZ, YZX, ZYX, ZXY");
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPSwitchAxes::NodeInit() { axes = Parameters().EntryString("axes", "XYZ"); }

void CPSwitchAxes::Run() {
    CValue& value = RequireValue(*this, 0, kWhere, "input 0 is NULL");
    RequireImageValue(value, kWhere, "input 0 is not an image");
    const CImage& input = RequireImage(value, kWhere, "input 0 is null image");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_BINARY_FG}, kWhere,
                "image type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, nor IMAGE_MONO_BINARY");
    const auto order = std::find(kOrders.begin(), kOrders.end(), axes.Text());
    if (order == kOrders.end()) {
        Fail(kWhere, "Unknown transformation '" + axes.Text() + "'.");
    }

    // Always three extents: the output of an image of two dimensions counts as one of three.
    const std::array<std::int64_t, 3> extents{input.Size().x, input.Size().y, input.Size().z};
    const auto extent = [&](std::size_t axis) { return extents[static_cast<std::size_t>((*order)[axis] - 'X')]; };
    auto output = NewImage(input.Type(), CSize(extent(0), extent(1), extent(2)));
    if (!IsEmpty(input)) {
        DispatchWidth(input.Type(), kWhere, [&]<class T>(Element<T>) { MoveElements<T>(input, *output, *order); });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
