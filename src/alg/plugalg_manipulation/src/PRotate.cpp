// Turns each plane of an image clockwise about its centre: out(x, y) = in((xx * c - yy * s) + cxi, (xx * s + yy * c) +
// cyi) with xx and yy counted from the output's centre, c the cosine and s the negated sine of the angle. Positions
// outside the plane leave the background, missing neighbours take the value of the base pixel, bytes are truncated.
// Bicubic splines need all of their neighbours, but for one column and one row, which are extrapolated; they round
// bytes. Whole turns and, if the output may change its size, quarter and half turns move elements without
// interpolation.

#include "PRotate.h"

#include "Blocks.h"
#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Parameters.h"
#include "Periodic.h"
#include "Reverse.h"
#include "RowSampling.h"
#include "Transpose.h"
#include "Wrapping.h"
#include "base/VectorVariants.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <numbers>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) Rotate";
constexpr const char* kMethods = "NEAREST_NEIGHBOR, BILINEAR, BICUBIC_SPLINES";

constexpr const char* kText = R"(BRIEF
2d clockwise image rotation.

Rotates the input image clockwise about its center by the angle \a angle, given in degrees. The output image either has
the size of the input image or, if \a resize is true, is large enough to hold the whole rotated image. Multiples of 360
degrees and, if \a resize is true, multiples of 90 degrees copy the pixels without interpolation. Otherwise the pixels are
interpolated by the method \a method:
NEAREST_NEIGHBOR takes the pixel next to the source position.
BILINEAR interpolates linearly between the four pixels around the source position.
BICUBIC_SPLINES uses cubic convolution over 4 x 4 pixels, where the derivative at a pixel is half the difference of its
two neighbors. Images of type IMAGE_GREY_8 may get wrong pixels from over- or undershoot.

INPUT 0
Input image of type IMAGE_GREY_F or IMAGE_GREY_8.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER angle
The type of this parameter is of type double. clockwise rotation angle in degrees.
By default it is set to \a 0.


PARAMETER bg_value
The type of this parameter is of type double. pixel value for background.
By default it is set to \a 0.


PARAMETER resize
The type of this parameter is of type bool. if true, adjust the size of the output image to the rotated image, otherwise
keep the size of the input image.
By default it is set to \a false.


PARAMETER method
The type of this parameter is of type string. interpolation method: NEAREST_NEIGHBOR, BILINEAR or BICUBIC_SPLINES.
By default it is set to \a BILINEAR.


PARAMETER verbose
The type of this parameter is of type bool. print plugin feedback to log area.
By default it is set to \a false.


PARAMETER pImgIn
pointer to the input image


PARAMETER pImgOut
pointer to the output image


PARAMETER fAngle
rotation angle in degrees


PARAMETER fBgValue
pixel value for background


PARAMETER bResize
if true, adjust the size of the output image


NOTE
Rotating a 3d image results in the 2d rotation of each single slide.

KEYWORDS
rotate, angle, degree, pi, transform, nearest neighbor, bilinear interpolation, bicubic splines

SEE ALSO
Reorient
)";

/// The element at the upper left of a position and its neighbours. The band from -1 to 0 counts as the first column or
/// row; past the last one, all missing neighbours take the value of the base pixel and not of the nearest neighbour.
template <class T> struct StNeighbours {
    T p00, p10, p01, p11;
    double fx, fy;

    StNeighbours(const StPlane<T>& plane, double sx, double sy) : fx(sx - std::floor(sx)), fy(sy - std::floor(sy)) {
        const auto ix = static_cast<std::int64_t>(std::floor(sx));
        const auto iy = static_cast<std::int64_t>(std::floor(sy));
        const std::int64_t cx = std::max<std::int64_t>(ix, 0);
        const std::int64_t cy = std::max<std::int64_t>(iy, 0);
        const bool right = ix < plane.width - 1;
        const bool below = iy < plane.height - 1;
        p00 = plane.At(cx, cy);
        p10 = right ? plane.At(ix + 1, cy) : p00;
        p01 = below ? plane.At(cx, iy + 1) : p00;
        p11 = right && below ? plane.At(ix + 1, iy + 1) : p00;
    }
};

/// The largest number below a half. Added to a position from 0 on, before that is cut, it takes fractions from a half
/// on to the next element; a half itself would round up what lies just below 0.5, too.
constexpr double kJustBelowHalf = 0.49999999999999994;

VESSA_VECTOR_VARIANTS void FindNearest(StRowLines lines, std::int64_t first, int count, std::int32_t width,
                                       std::int32_t* element) {
    const auto start = static_cast<double>(first);
    for (int i = 0; i < count; ++i) {
        const auto x = static_cast<std::int32_t>(lines.x.At(start + i) + kJustBelowHalf);
        const auto y = static_cast<std::int32_t>(lines.y.At(start + i) + kJustBelowHalf);
        element[i] = y * width + x;
    }
}

/// The bilinear rule, in its given grouping.
[[gnu::always_inline]] inline double MixBilinear(double p00, double p10, double p01, double p11, double fx, double fy) {
    const double gx = 1.0 - fx;
    return (p10 * fx + gx * p00) * (1.0 - fy) + (p11 * fx + gx * p01) * fy;
}

template <class T>
VESSA_VECTOR_VARIANTS void MixCorners(const StCorners<T>& corners, const StCells& cells, T* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = ElementFromMix<T>(MixBilinear(corners.upper[2 * i], corners.upper[2 * i + 1], corners.lower[2 * i],
                                               corners.lower[2 * i + 1], cells.fx[i], cells.fy[i]));
    }
}

/// The cubic weights of the four taps along one axis, for a fraction `t`.
struct StWeights {
    double w0, w1, w2, w3;
};

[[gnu::always_inline]] inline double InnerWeight(double t) { return t * t * (t * 1.5 - 2.5) + 1.0; }
[[gnu::always_inline]] inline double OuterWeight(double t) { return ((2.5 - t * 0.5) * t - 4.0) * t + 2.0; }
[[gnu::always_inline]] inline StWeights Weights(double t) {
    return {OuterWeight(t + 1.0), InnerWeight(t), InnerWeight(1.0 - t), OuterWeight(2.0 - t)};
}
[[gnu::always_inline]] inline double WeighRow(const StWeights& w, double p0, double p1, double p2, double p3) {
    return w.w1 * p1 + w.w0 * p0 + w.w2 * p2 + w.w3 * p3;
}

/// Bytes are rounded, and what under- or overshoots wraps around.
template <class T> constexpr double kBicubicRounding = std::is_floating_point_v<T> ? 0.0 : 0.5;

template <class T> [[gnu::always_inline]] inline double WeighColumn(const StWeights& w, const double* rows) {
    return w.w0 * rows[0] + w.w1 * rows[1] + w.w2 * rows[2] + w.w3 * rows[3] + kBicubicRounding<T>;
}

/// The 4 x 4 elements around each position of a block, row by row.
template <class T> struct StTaps { T rows[4][4 * kBlock]; };

template <class T> void LoadTaps(const StPlane<T>& plane, const std::int32_t* element, int count, StTaps<T>& taps) {
    for (int i = 0; i < count; ++i) {
        const T* first = plane.elements + element[i] - plane.width - 1;
        for (int j = 0; j < 4; ++j) {
            std::memcpy(&taps.rows[j][4 * i], first + j * plane.width, 4 * sizeof(T));
        }
    }
}

template <class T> VESSA_VECTOR_VARIANTS void MixTaps(const StTaps<T>& taps, const StCells& cells, T* out, int count) {
    for (int i = 0; i < count; ++i) {
        const StWeights wx = Weights(cells.fx[i]);
        double rows[4];
        for (int j = 0; j < 4; ++j) {
            const T* tap = &taps.rows[j][4 * i];
            rows[j] = WeighRow(wx, tap[0], tap[1], tap[2], tap[3]);
        }
        out[i] = ElementFromMix<T>(WeighColumn<T>(Weights(cells.fy[i]), rows));
    }
}

// The methods, as `SampleAlongLines` takes them.

/// The next element; a fraction of exactly 0.5 goes to the higher neighbour.
template <class T> class CNearest {
public:
    // Its block is filled before it is read. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    explicit CNearest(std::int64_t width) : m_width(static_cast<std::int32_t>(width)) {}

    static StArea Served(double width, double height) { return {-1.0, width, -1.0, height}; }
    static StArea Inner(double width, double height) { return {0.0, width - 1.0, 0.0, height - 1.0}; }

    static T Pixel(const StPlane<T>& plane, double sx, double sy) {
        const StNeighbours<T> near(plane, sx, sy);
        if (near.fx < 0.5) {
            return near.fy < 0.5 ? near.p00 : near.p01;
        }
        return near.fy < 0.5 ? near.p10 : near.p11;
    }

    void Prepare(const StRowLines& lines, std::int64_t first, int count) {
        FindNearest(lines, first, count, m_width, m_element);
    }
    void Block(const StPlane<T>& plane, T* out, int count) { PickElements(plane.elements, m_element, count, out); }

private:
    std::int32_t m_width;
    std::int32_t m_element[kBlock];
};

template <class T> class CBilinear {
public:
    // Its block is filled before it is read. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    explicit CBilinear(std::int64_t width) : m_width(static_cast<std::int32_t>(width)) {}

    static StArea Served(double width, double height) { return {-1.0, width, -1.0, height}; }
    static StArea Inner(double width, double height) { return {0.0, width - 1.0, 0.0, height - 1.0}; }

    static T Pixel(const StPlane<T>& plane, double sx, double sy) {
        const StNeighbours<T> near(plane, sx, sy);
        return ElementFromMix<T>(MixBilinear(near.p00, near.p10, near.p01, near.p11, near.fx, near.fy));
    }

    void Prepare(const StRowLines& lines, std::int64_t first, int count) {
        FindCells(lines, first, count, m_width, m_cells);
    }
    void Block(const StPlane<T>& plane, T* out, int count) {
        LoadCorners(plane.elements, plane.width, m_cells.element, count, m_corners);
        MixCorners(m_corners, m_cells, out, count);
    }

private:
    std::int32_t m_width;
    StCells m_cells;
    StCorners<T> m_corners;
};

/// Cubic convolution. Positions whose 4 x 4 taps leave the plane keep the background; only one column to the left and
/// one row above are made up, by quadratic extrapolation.
template <class T> class CBicubic {
public:
    // Its block is filled before it is read. NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
    explicit CBicubic(std::int64_t width) : m_width(static_cast<std::int32_t>(width)) {}

    static StArea Served(double width, double height) { return {0.0, width - 2.0, 0.0, height - 2.0}; }
    static StArea Inner(double width, double height) { return {1.0, width - 2.0, 1.0, height - 2.0}; }

    static T Pixel(const StPlane<T>& plane, double sx, double sy) {
        const auto ix = static_cast<std::int64_t>(sx);
        const auto iy = static_cast<std::int64_t>(sy);
        const StWeights wx = Weights(sx - static_cast<double>(ix));
        double rows[4];
        for (int j = 0; j < 4; ++j) {
            rows[j] = iy - 1 + j < 0 ? RowAbove(plane, ix, wx) : Row(plane, ix, iy - 1 + j, wx);
        }
        return ElementFromMix<T>(WeighColumn<T>(Weights(sy - static_cast<double>(iy)), rows));
    }

    void Prepare(const StRowLines& lines, std::int64_t first, int count) {
        FindCells(lines, first, count, m_width, m_cells);
    }
    void Block(const StPlane<T>& plane, T* out, int count) {
        LoadTaps(plane, m_cells.element, count, m_taps);
        MixTaps(m_taps, m_cells, out, count);
    }

private:
    /// Bytes are extrapolated as integers, floats in single precision.
    using Exact = std::conditional_t<std::is_floating_point_v<T>, float, std::int32_t>;

    /// The element before a, b and c on their parabola.
    static Exact Before(Exact a, Exact b, Exact c) {
        if constexpr (std::is_floating_point_v<T>) {
            return (3.0F * a - 3.0F * b) + c;
        } else {
            return 3 * (a - b) + c;
        }
    }

    /// The element to the left of a row; floats add up in another order here than above the first row.
    static Exact LeftOf(const T* row) {
        if constexpr (std::is_floating_point_v<T>) {
            return (row[2] - 3.0F * row[1]) + 3.0F * row[0];
        } else {
            return Before(row[0], row[1], row[2]);
        }
    }

    /// The element above a column.
    static double Above(const StPlane<T>& plane, std::int64_t x) {
        return static_cast<double>(Before(plane.At(x, 0), plane.At(x, 1), plane.At(x, 2)));
    }

    /// The element above the one to the left of the first: three rows to the left, in the order of `Before` this time,
    /// and these up in double precision.
    static double Corner(const StPlane<T>& plane) {
        const auto leftOf = [&](std::int64_t y) {
            return static_cast<double>(Before(plane.At(0, y), plane.At(1, y), plane.At(2, y)));
        };
        return 3.0 * leftOf(0) - 3.0 * leftOf(1) + leftOf(2);
    }

    static double Row(const StPlane<T>& plane, std::int64_t ix, std::int64_t y, const StWeights& wx) {
        const T* tap = &plane.At(ix, y);
        const double p0 = ix == 0 ? static_cast<double>(LeftOf(tap)) : static_cast<double>(tap[-1]);
        return WeighRow(wx, p0, tap[0], tap[1], tap[2]);
    }

    static double RowAbove(const StPlane<T>& plane, std::int64_t ix, const StWeights& wx) {
        if (ix > 0) {
            return WeighRow(wx, Above(plane, ix - 1), Above(plane, ix), Above(plane, ix + 1), Above(plane, ix + 2));
        }
        // In the corner only the first tap is extrapolated. The others are those before the plane in storage: the last
        // row of the plane before, or nothing.
        constexpr T none[3]{};
        const T* before = plane.number > 0 ? plane.elements - plane.width : none;
        return WeighRow(wx, Corner(plane), before[0], before[1], before[2]);
    }

    std::int32_t m_width;
    StCells m_cells;
    StTaps<T> m_taps;
};

/// The turn by an angle: its cosine and its negated sine.
struct StTurn {
    double c;
    double s;

    explicit StTurn(double degrees) {
        const double rad = (degrees / 180.0) * std::numbers::pi;
        c = std::cos(rad);
        s = -std::sin(rad);
    }
};

template <class Method, class T>
void TurnPlanes(const CImage& input, CImage& output, const StTurn& turn, T background) {
    const auto centre = [](std::int64_t extent) { return static_cast<double>(extent - 1) * 0.5; };
    const StExtents in = Extents(input);
    const StExtents out = Extents(output);
    const auto lines = [&](std::int64_t y) {
        const double yy = static_cast<double>(y) - centre(out.height);
        return StRowLines{{centre(out.width), turn.c, -(yy * turn.s), centre(in.width)},
                          {centre(out.width), turn.s, yy * turn.c, centre(in.height)}};
    };
    SampleAlongLines<Method>(input, output, lines, background);
}

/// The output's extent along an axis on which the turned corners lie between `least` and `most`. Truncation toward zero
/// acts differently on the two signs; it is meant so. Corners that are no numbers leave the first one, 0.
std::int64_t TurnedExtent(std::initializer_list<double> corners) {
    const double least = std::min(corners);
    const double most = std::max(corners);
    return WrappedSum(WrappedDifference(TruncateTo64(most), TruncateTo64(least)), 3);
}

CSize TurnedSize(const CSize& size, const StTurn& turn) {
    const auto width = static_cast<double>(size.x);
    const auto height = static_cast<double>(size.y);
    const auto [c, s] = turn;
    return {TurnedExtent({0.0, width * c, -height * s, width * c - height * s}),
            TurnedExtent({0.0, width * s, height * c, height * c + width * s}), size.z};
}

template <class T>
void TurnBy(const CImage& input, CImage& output, const StTurn& turn, const CString& method, double bgValue) {
    const T background = ElementFromNumber<T>(bgValue);
    const bool knowsWhere = std::isfinite(turn.c);
    if (IsEmpty(input) || !knowsWhere) {
        std::fill_n(Elements<T>(output), output.Buffer().Size() / sizeof(T), background);
    } else if (method == "NEAREST_NEIGHBOR") {
        TurnPlanes<CNearest<T>>(input, output, turn, background);
    } else if (method == "BILINEAR") {
        TurnPlanes<CBilinear<T>>(input, output, turn, background);
    } else {
        TurnPlanes<CBicubic<T>>(input, output, turn, background);
    }
}

/// The angle modulo 360, decided on 32 bits; -1 if it has a fractional part.
int WholeDegrees(double angle) {
    constexpr int circle = 360;
    return angle == std::trunc(angle) ? static_cast<int>(Periodic(TruncateTo32(angle), circle)) : -1;
}

template <class T> void TurnByQuarters(const CImage& input, CImage& output, int quarters) {
    const auto [width, height, depth] = Extents(input);
    const std::int64_t plane = width * height;
    const T* in = Elements<T>(input);
    T* out = Elements<T>(output);
    for (std::int64_t z = 0; z < depth; ++z, in += plane, out += plane) {
        if (quarters == 1) { // out(H - 1 - y, x) = in(x, y)
            Transpose<T>({in + plane - width, -width, width, height}, out, height);
        } else if (quarters == 2) { // out(W - 1 - x, H - 1 - y) = in(x, y)
            ReverseElements(in, out, plane);
        } else { // out(y, W - 1 - x) = in(x, y)
            Transpose<T>({in, width, width, height}, out + plane - height, -height);
        }
    }
}

} // namespace

void CPRotate::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "Rotate", "Manipulation");
    description.DoubleParameter("angle", 0.0).Order(0);
    description.DoubleParameter("bg_value", 0.0).Order(1);
    description.BoolParameter("resize", false).Toggle().Order(2);
    description.StringParameter("method", "BILINEAR").Values(kMethods).Order(3);
    description.BoolParameter("verbose", verbose).Toggle().Order(4);
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPRotate::NodeInit() {
    const CString wanted = Parameters().EntryString("method", "BILINEAR");
    if (wanted != "NEAREST_NEIGHBOR" && wanted != "BILINEAR" && wanted != "BICUBIC_SPLINES") {
        Fail(kWhere, CString("Unsupported method '%1', must be on of: %2!").Arg(wanted).Arg(kMethods));
    }
    method = wanted;
    ReadNumber(Parameters(), "angle", angle);
    ReadNumber(Parameters(), "bg_value", bg_value);
    resize = Parameters().EntryBool("resize", true); // other than the default of the description
    verbose = Parameters().EntryBool("verbose", verbose);
}

std::unique_ptr<CImage> CPRotate::Interpolated(const CImage& input) const {
    if (method == "BICUBIC_SPLINES" && input.Type() == IMAGE_GREY_8) {
        std::cerr << "Attention: Using bicubic splines interpolation with images of type GREY_8 may produce wrong "
                     "pixels due to interpolation undershoot!\n";
    }
    const StTurn turn(angle);
    if (verbose) {
        std::cout << "sine " << turn.s << "\ncosine " << turn.c << "\n";
    }
    const CSize& size = input.Size();
    auto output = NewImage(input.Type(), resize ? TurnedSize(size, turn) : CSize(size.x, size.y, size.z));
    DispatchNumber<float, std::uint8_t>(
        input.Type(), kWhere, [&]<class T>(Element<T>) { TurnBy<T>(input, *output, turn, method, bg_value); });
    return output;
}

void CPRotate::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8}, kWhere,
                "input image is not of type IMAGE_GREY_F or IMAGE_GREY_8, ");

    const CSize& size = input.Size();
    const int degrees = WholeDegrees(angle);
    std::unique_ptr<CImage> output;
    if (degrees == 0) {
        output = NewImage(input.Type(), size);
        output->Buffer().Copy(input.Buffer());
    } else if (resize && degrees > 0 && degrees % 90 == 0) {
        const bool upright = degrees == 180;
        output = NewImage(input.Type(), upright ? CSize(size.x, size.y, size.z) : CSize(size.y, size.x, size.z));
        if (!IsEmpty(input)) {
            DispatchNumber<float, std::uint8_t>(
                input.Type(), kWhere, [&]<class T>(Element<T>) { TurnByQuarters<T>(input, *output, degrees / 90); });
        }
    } else {
        output = Interpolated(input);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
