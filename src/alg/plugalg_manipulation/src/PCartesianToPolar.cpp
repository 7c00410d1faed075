// Unrolls each plane around its centre: out(r, a) = in(r * cos(t) + cx, r * sin(t) + cy) with t = a / R, where R is the
// number of radii, half the diagonal. Positions outside the plane give 0, bilinear results are truncated.

#include "PCartesianToPolar.h"

#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "PolarMix.h"
#include "RowSampling.h"
#include "Value/ValueScalar.h"
#include "base/VectorVariants.h"

#include <cmath>
#include <numbers>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) CartesianToPolar::Run";

constexpr const char* kText = R"(BRIEF
Transforms an image from cartesian to polar coordinates.

Each column of the output image is a radius, each row an angle. The central pixel of the input image is the origin. The
angle runs clockwise, the first row corresponds to the line starting from the image center in positive x-direction. Grey
values are interpolated bilinearly, positions outside the input image are set to zero.

INPUT 0
Input image in cartesian coordinates.

OUTPUT 0
Output image in polar coordinates.

NOTE
for 3d images, plugin transforms from cartesian to cylindrical coordinates

KEYWORDS
coordinate transformation

SEE ALSO
PolarToCartesian
)";

/// Nothing is added before truncation. The negative zero leaves every number as it is, zeros of both signs too.
constexpr double kNoRounding = -0.0;

template <class T>
VESSA_VECTOR_VARIANTS void MixBlock(const StCorners<T>& corners, const StCells& cells, T* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = ElementFromMix<T>(StPolarTaps(corners, i).Mix(cells.fx[i], cells.fy[i]));
    }
}

/// The bilinear rule, as `SampleAlongLines` takes it.
template <class T> class CUnroll {
public:
    explicit CUnroll(std::int64_t width) : m_width(static_cast<std::int32_t>(width)) {}

    static StArea Served(double width, double height) { return {0.0, width, 0.0, height}; }
    static StArea Inner(double width, double height) { return {0.0, width - 1.0, 0.0, height - 1.0}; }

    static T Pixel(const StPlane<T>& plane, double sx, double sy) {
        return PolarPixel(plane.elements, plane.width, plane.height, sx, sy, kNoRounding);
    }

    void Prepare(const StRowLines& lines, std::int64_t first, int count) {
        FindCells(lines, first, count, m_width, m_cells);
    }
    void Block(const StPlane<T>& plane, T* out, int count) {
        LoadCorners(plane.elements, plane.width, m_cells.element, count, m_corners);
        MixBlock(m_corners, m_cells, out, count);
    }

private:
    std::int32_t m_width;
    StCells m_cells;
    StCorners<T> m_corners;
};

/// The number of radii, half the diagonal, by the number of angles, the pixels on the outermost circle.
CSize PolarSize(const CSize& size) {
    const auto square = [](std::int64_t extent) {
        const auto wide = static_cast<std::uint64_t>(extent);
        return static_cast<double>(static_cast<std::int64_t>(wide * wide));
    };
    const std::int64_t radii = TruncateTo64(std::ceil(std::sqrt(square(size.y) * 0.25 + square(size.x) * 0.25)));
    const auto radius = static_cast<double>(radii);
    return {radii, TruncateTo64(std::ceil((radius + radius) * std::numbers::pi)), size.z};
}

double Centre(std::int64_t extent) { return (static_cast<double>(extent) - 1.0) * 0.5; }

template <class T> void Unroll(const CImage& input, CImage& output) {
    const auto [width, height, depth] = Extents(input);
    const double cx = Centre(width);
    const double cy = Centre(height);
    const auto radii = static_cast<double>(output.Size().x);
    const auto lines = [&](std::int64_t row) {
        const double t = static_cast<double>(row) / radii;
        return StRowLines{{0.0, std::cos(t), 0.0, cx}, {0.0, std::sin(t), 0.0, cy}};
    };
    SampleAlongLines<CUnroll<T>>(input, output, lines, T{0});
}

void SetLong(CValueMap& map, const char* key, Long number) { map.SetEntry(key, std::make_unique<CValueLong>(number)); }

} // namespace

void CPCartesianToPolar::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "CartesianToPolar", "Manipulation");
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPCartesianToPolar::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32}, kWhere,
                "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32.");

    const CSize& size = input.Size();
    auto output = NewImage(input.Type(), PolarSize(size));
    if (IsEmpty(input)) {
        output->Buffer().Set(0);
    } else {
        DispatchNumber<float, std::uint8_t, std::uint16_t, std::uint32_t>(
            input.Type(), kWhere, [&]<class T>(Element<T>) { Unroll<T>(input, *output); });
    }
    CValueMap& attributes = output->Attributes();
    SetLong(attributes, "CartesianToPolar/original-size-x", static_cast<Long>(size.x));
    SetLong(attributes, "CartesianToPolar/original-size-y", static_cast<Long>(size.y));
    SetLong(attributes, "CartesianToPolar/offset-x", TruncateTo32(Centre(size.x)));
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
