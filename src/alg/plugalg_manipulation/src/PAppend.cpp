// Joins two images along one axis: the first lies at the origin, the second behind it, out(x + X, y, z) = in1(x, y, z)
// along x and likewise along y and z. Across the axis both begin at 0; what neither covers becomes the background.
// Elements keep their values; only 32 and 64 bits are rounded on their way to a float.

#include "PAppend.h"

#include "Axis.h"
#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Wrapping.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <type_traits>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Append";

constexpr const char* kText = R"(BRIEF
Combines two images by appending one to the other.

The second input image is placed behind the first one in the direction \a along.
If the images do not have equal size, the two dimensions of the append border
of the smaller image are extended to the maximal size. The additional space is
filled with \a background_value.

INPUT 0
First input image of type IMAGE_GREY_F, IMAGE_GREY_8,
IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

INPUT 1
Second input image of the type IMAGE_GREY_F, IMAGE_GREY_8,
IMAGE_GREY_16, IMAGE_GREY_32, or IMAGE_MONO_BINARY.

OUTPUT 0
Output image with the same type as the first input image if upcast is FALSE,
or wider type of both input image types.

PARAMETER along
The type of this parameter is of type string. Direction in which the second image is appended
to the first image, one of \a X, \a Y, and \a Z. By default it is set to \a X.


PARAMETER background_value
The type of this parameter is of type double. Pixel gray value for additional space.
By default it is set to \a 0.0.


PARAMETER upcast
The type of this parameter is of type bool. If it is \a false, both input images must have
the same type, which is the type of the output image. If it is \a true, the output image has
the wider type of both input image types. By default it is set to \a false.


KEYWORDS
append, combine, join, attach, side

SEE ALSO
Replicate, ReplicateRow, ReplicateColumn
)";

/// The type that two kinds of elements have in common: a float before any integer, else the one of more bits.
template <class A, class B>
using Wider = std::conditional_t<std::is_same_v<A, float>, A,
                                 std::conditional_t<std::is_same_v<B, float> || (sizeof(B) > sizeof(A)), B, A>>;

template <class R, class T> R Converted(T element) {
    if constexpr (std::is_same_v<T, std::uint64_t> && std::is_same_v<R, float>) {
        // From 2^63 on the number is rounded twice, before and after it is made positive: that is the rule.
        constexpr float wrap = 18446744073709551616.0F;
        const auto number = static_cast<float>(static_cast<std::int64_t>(element));
        return number < 0.0F ? number + wrap : number;
    } else {
        return static_cast<R>(element);
    }
}

template <class T, class R> VESSA_VECTOR_VARIANTS void ConvertElements(const T* in, R* out, std::int64_t count) {
    for (std::int64_t i = 0; i < count; ++i) {
        out[i] = Converted<R>(in[i]);
    }
}

/// Writes what an image has of `rows` rows of plane `z`, from row `y` on. `out` points to that row's first element in
/// an image with rows of the length `stride`.
template <class T, class R>
void WriteRows(const T* in, const StExtents& extents, std::int64_t y, std::int64_t z, std::int64_t rows, R* out,
               std::int64_t stride) {
    const std::int64_t first = std::max<std::int64_t>(y, 0);
    const std::int64_t end = std::min(y + rows, extents.height);
    if (first >= end || z < 0 || z >= extents.depth) {
        return;
    }
    in += ElementNumber(extents, {0, first, z});
    out += stride * (first - y);
    if constexpr (std::is_same_v<T, R>) {
        CopyElementRows(in, extents.width, out, stride, extents.width, end - first);
    } else {
        for (std::int64_t row = 0; row < end - first; ++row) {
            ConvertElements(in + extents.width * row, out + stride * row, extents.width);
        }
    }
}

/// The extents if each plane is taken for a row.
StExtents PlanesAsRows(const StExtents& extents) { return {extents.width * extents.height, extents.depth, 1}; }

template <class A, class B>
void AppendImages(const CImage& first, const CImage& second, EnAxis axis, double background, CImage& output) {
    using R = Wider<A, B>;
    const auto fill = ElementFromNumber<R>(background);
    StExtents a = Extents(first);
    StExtents b = Extents(second);
    StExtents canvas = Extents(output);
    // Rows of one width hang together in both images and the output: to append them along z is to append planes
    // along y, and along y is along x.
    while (axis != EnAxis::X && a.width == b.width) {
        axis = axis == EnAxis::Z ? EnAxis::Y : EnAxis::X;
        a = PlanesAsRows(a);
        b = PlanesAsRows(b);
        canvas = PlanesAsRows(canvas);
    }
    const StPlace at{axis == EnAxis::X ? a.width : 0, axis == EnAxis::Y ? a.height : 0,
                     axis == EnAxis::Z ? a.depth : 0};
    const bool covered = first.Size().Volume() + second.Size().Volume() == output.Size().Volume();
    const std::int64_t step = RowsOfPage<R>(canvas.width);
    R* out = Elements<R>(output);
    for (std::int64_t z = 0; z < canvas.depth; ++z) {
        for (std::int64_t y = 0; y < canvas.height; y += step) {
            const std::int64_t rows = std::min(step, canvas.height - y);
            if (!covered) {
                std::fill_n(out, canvas.width * rows, fill);
            }
            WriteRows(Elements<A>(first), a, y, z, rows, out, canvas.width);
            WriteRows(Elements<B>(second), b, y - at.y, z - at.z, rows, out + at.x, canvas.width);
            out += canvas.width * rows;
        }
    }
}

/// The widest type of both images; a float counts as the widest, although it can't hold every integer.
const IImage::CType& WiderType(const IImage::CType& first, const IImage::CType& second) {
    for (const IImage::CType* type : {&IMAGE_GREY_F, &IMAGE_GREY_64, &IMAGE_GREY_32, &IMAGE_GREY_16, &IMAGE_GREY_8}) {
        if (first == *type || second == *type) {
            return *type;
        }
    }
    return first;
}

CSize AppendedSize(StExtents a, StExtents b, EnAxis axis) {
    StExtents both{std::max(a.width, b.width), std::max(a.height, b.height), std::max(a.depth, b.depth)};
    ExtentAlong(both, axis) = WrappedSum(ExtentAlong(a, axis), ExtentAlong(b, axis));
    return {both.width, both.height, both.depth};
}

} // namespace

void CPAppend::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Append", "Manipulation");
    description.StringParameter("along", "X").Values("X, Y, Z").Order(0);
    description.DoubleParameter("background_value", 0.0).Order(1);
    description.BoolParameter("upcast", false).Toggle().Order(2);
    description.ImageInput();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPAppend::NodeInit() {
    along = Parameters().EntryString("along", "X");
    background_value = Parameters().EntryDouble("background_value", 0.0);
}

void CPAppend::Run() {
    CValue& firstValue = RequireValue(*this, 0, kWhere, "input image 0 is NULL");
    CValue& secondValue = RequireValue(*this, 1, kWhere, "input image 1 is NULL");
    RequireImageValue(firstValue, kWhere, "input 0 is not an image");
    RequireImageValue(secondValue, kWhere, "input 1 is not an image");
    const CImage& first = RequireImage(firstValue, kWhere, "input image 0 is NULL");
    const CImage& second = RequireImage(secondValue, kWhere, "input image 1 is NULL");
    const auto types = {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, IMAGE_BINARY_FG};
    RequireType(first, types, kWhere,
                "image A type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, nor "
                "IMAGE_MONO_BINARY");
    RequireType(second, types, kWhere,
                "image B type is not IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32, IMAGE_GREY_64, nor "
                "IMAGE_MONO_BINARY");
    if (!Parameters().EntryBool("upcast", false) && first.Type() != second.Type()) {
        Fail(kWhere, "images have different types, change input types or toggle parameter 'upcast' to true");
    }
    const EnAxis axis = RequireAxis(along, kWhere, "parameter 'along' must be one of X, Y, or Z.");

    auto output = NewImage(WiderType(first.Type(), second.Type()), AppendedSize(Extents(first), Extents(second), axis));
    if (!IsEmpty(*output)) {
        DispatchNumber<float, std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>(
            first.Type(), kWhere, [&]<class A>(Element<A>) {
                DispatchNumber<float, std::uint8_t, std::uint16_t, std::uint32_t, std::uint64_t>(
                    second.Type(), kWhere,
                    [&]<class B>(Element<B>) { AppendImages<A, B>(first, second, axis, background_value, *output); });
            });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
