// Folds each plane, whose columns are radii and whose rows are angles, back into a square around its centre:
// out(x, y) = in(rho, phi * R) with rho and phi the polar coordinates about the centre and R the number of radii.
// Positions without an element at or before them give 0, the last row isn't joined to the first, integers are rounded.

#include "PPolarToCartesian.h"

#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Output.h"
#include "PolarMix.h"
#include "RowSampling.h"
#include "Wrapping.h"
#include "base/VectorVariants.h"

#include <bit>
#include <cmath>
#include <numbers>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) PolarToCartesian::Run";

constexpr const char* kText = R"(BRIEF
Transforms an image from polar to cartesian coordinates.

Each column of the input image is a radius, each row an angle. The first row in the input
image corresponds to the line starting from the image center in
positive x-direction. The angle runs clockwise. Grey values are interpolated bilinearly, positions outside the input image
are set to zero.

INPUT 0
Input image of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32.

OUTPUT 0
Output image of the same type as the input image.

PARAMETER ignore_zero
The type of this parameter is of type bool. Defines whether zeros in the
input image are ignored (i.e. the corresponding output pixel is set
to zero) or not.
By default it is set to \a false.


NOTE
for 3d images, plugin transforms from cylindrical to cartesian coordinates

KEYWORDS
coordinate transformation

SEE ALSO
CartesianToPolar
)";

constexpr double kCircle = 6.283185307179586;

/// Integers are rounded. Floats get the zero added too, which takes the sign from a negative zero.
template <class T> constexpr double kRounding = std::is_floating_point_v<T> ? 0.0 : 0.5;

[[gnu::always_inline]] inline double Radius(double dx, double dy) { return std::sqrt(dx * dx + dy * dy); }

/// The angle from 0 to a full circle.
[[gnu::always_inline]] inline double FullAngle(double angle) { return angle < 0.0 ? angle + kCircle : angle; }

/// The polar image and what is told once for all of its planes.
template <class T> struct StSource {
    const T* elements;
    std::int64_t radii;
    std::int64_t angles;
    std::int64_t depth;

    std::int64_t Plane() const { return radii * angles; }
    double Row(double angle) const { return FullAngle(angle) * static_cast<double>(radii); }

    /// True if the nearest element of a plane is 0. Its indices aren't clamped: beyond the last radius lies the next
    /// row, beyond the last row the next plane, and beyond the last plane nothing, which counts as not zero.
    bool IsZeroAt(std::int64_t z, double rho, double q) const {
        const std::int64_t element =
            z * Plane() + static_cast<std::int64_t>(q + 0.5) * radii + static_cast<std::int64_t>(rho + 0.5);
        return element < depth * Plane() && elements[element] == T{0};
    }

    /// The plain rule for a position inside the circle of the last radius.
    T Pixel(std::int64_t z, double rho, double angle, bool ignoreZero) const {
        const double q = Row(angle);
        if (q >= static_cast<double>(angles) || (ignoreZero && IsZeroAt(z, rho, q))) {
            return T{0};
        }
        return PolarPixel(elements + z * Plane(), radii, angles, rho, q, kRounding<T>);
    }
};

/// A pair of output rows, `distance` above and below the centre: the columns inside the last circle and, of these, the
/// ones inside the last circle but one, whose pixels have both neighbours along the radius.
struct StRowPair {
    double distance;
    StColumns served;
    StColumns inner;
};

/// The columns around the centre whose radius is below `limit`.
StColumns ColumnsWithin(double limit, double distance, std::int64_t centre) {
    const std::int64_t reach = EndOf({0, centre + 1}, [&](double offset) { return Radius(offset, distance) < limit; });
    return {centre + 1 - reach, std::max(centre + reach, centre + 1 - reach)};
}

/// The radii and angles of a block of columns, for the row below the centre.
struct StPolar {
    double rho[kBlock];
    double angle[kBlock];
};

// An arcus tangens of the library costs more than all else together. Most pixels do without: a vector loop finds the
// angles to within `kAngleError`, and where the result is the same for every angle within that of the found one, it is
// the one that the library's angle gives. The few other pixels are served by the plain rule.
constexpr double kAngleError = 1e-14;

/// The angle from the positive x-axis, from 0 to half a circle, for dy > 0: by the power series of the arcus tangens,
/// whose argument is brought below tan(pi / 8).
[[gnu::always_inline]] inline double NearAngle(double dy, double dx) {
    constexpr double pi = std::numbers::pi;
    constexpr double steepest = 0.41421356237309503;
    constexpr int pairs = 10; // of a positive and a negative term; the next one is below 1e-16
    const double x = std::fabs(dx);
    const double small = x < dy ? x : dy;
    const double large = x < dy ? dy : x;
    const bool steep = small > steepest * large;
    const double t = (steep ? small - large : small) / (steep ? small + large : large);
    const double t2 = t * t;
    const double t4 = t2 * t2;
    double positive = 0.0;
    double negative = 0.0;
    for (int k = 4 * (pairs - 1); k >= 0; k -= 4) {
        positive = 1.0 / (k + 1) + t4 * positive;
        negative = 1.0 / (k + 3) + t4 * negative;
    }
    const double octant = (steep ? pi / 4.0 : 0.0) + t * (positive - t2 * negative);
    const double quadrant = x < dy ? pi / 2.0 - octant : octant;
    return dx < 0.0 ? pi - quadrant : quadrant;
}

VESSA_VECTOR_VARIANTS void FindPolar(double dx, double dy, int count, StPolar& polar) {
    for (int i = 0; i < count; ++i) {
        polar.rho[i] = Radius(dx + i, dy);
        polar.angle[i] = NearAngle(dy, dx + i);
    }
}

/// Cells whose fractions along y are known to within `error`, and the nearest elements.
struct StPolarCells : StCells {
    double error;
    std::int32_t nearest[kBlock];
    std::int32_t unclear[kBlock]; ///< 1 where it isn't sure which cell or nearest element it is
};

/// The cells under the row that has the angles of `polar` times `side`. False if some of them may have no row behind
/// them, so that the cells don't serve.
VESSA_VECTOR_VARIANTS bool FindPolarCells(const StPolar& polar, double side, std::int64_t radii, std::int64_t angles,
                                          int count, StPolarCells& cells) {
    const auto width = static_cast<std::uint32_t>(radii);
    const auto rows = static_cast<double>(radii);
    const double error = 2.0 * kAngleError * rows; // as much again for what rounding adds
    const double last = static_cast<double>(angles - 1) - error;
    int beyond = 0;
    for (int i = 0; i < count; ++i) {
        const double rho = polar.rho[i];
        const double q = FullAngle(side * polar.angle[i]) * rows;
        const auto ir = static_cast<std::int32_t>(rho);
        const auto ia = static_cast<std::int32_t>(q);
        const double fa = q - ia;
        const bool atRow = fa < error;
        const bool atNext = fa > 1.0 - error;
        const bool between = std::fabs(fa - 0.5) < error;
        cells.fx[i] = rho - ir;
        cells.fy[i] = fa;
        // unsigned, since a row far behind the last one has a number beyond 32 bits
        cells.element[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(ia) * width) + ir;
        cells.nearest[i] =
            static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int32_t>(q + 0.5)) * width) +
            static_cast<std::int32_t>(rho + 0.5);
        cells.unclear[i] = (atRow | atNext | between) ? 1 : 0;
        beyond += q >= last ? 1 : 0;
    }
    cells.error = error;
    return beyond == 0;
}

/// Writes a block and marks the pixels that the error of the angle may have changed; gives their number. What becomes
/// of a number by narrowing or truncation is the same for all numbers between two for which it is the same.
template <class T>
VESSA_VECTOR_VARIANTS int MixBlock(const StCorners<T>& corners, const StPolarCells& cells, T* out, int count,
                                   std::int32_t* unclear) {
    using Bits = std::conditional_t<std::is_floating_point_v<T>, std::uint32_t, T>; // tells zeros of both signs apart
    const double error = cells.error;
    int number = 0;
    for (int i = 0; i < count; ++i) {
        const StPolarTaps taps(corners, i);
        const double mix = taps.Mix(cells.fx[i], cells.fy[i]) + kRounding<T>;
        const double change = taps.Greatest() * error;
        const auto least = std::bit_cast<Bits>(ElementFromMix<T>(mix - change));
        const auto most = std::bit_cast<Bits>(ElementFromMix<T>(mix + change));
        unclear[i] = cells.unclear[i] | (least != most ? 1 : 0);
        number += unclear[i];
        out[i] = ElementFromMix<T>(mix);
    }
    return number;
}

template <class T> void ClearZeros(const T* plane, const std::int32_t* nearest, T* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = plane[nearest[i]] == T{0} ? T{0} : out[i];
    }
}

template <class T> class CFold {
public:
    // Its blocks are filled before they are read.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init, clang-analyzer-optin.cplusplus.UninitializedObject)
    CFold(const CImage& input, CImage& output, bool ignoreZero)
        : m_source{Elements<T>(input), input.Size().x, input.Size().y, input.Size().z}, m_out(Elements<T>(output)),
          m_side(output.Size().x), m_centre(m_side / 2), m_ignoreZero(ignoreZero) {}

    void Fold() {
        StRowPair pairs[kBandRows];
        for (std::int64_t top = 0; top <= m_centre; top += kBandRows) {
            const int count = static_cast<int>(std::min<std::int64_t>(kBandRows, m_centre + 1 - top));
            for (int i = 0; i < count; ++i) {
                pairs[i] = Plan(static_cast<double>(top + i));
                ForBothRows(pairs[i], [&](std::int64_t y, double dy) { WriteEdges(pairs[i], y, dy); });
            }
            WalkTiles(pairs, count, m_side, [&](int i, std::int64_t first, int columns) {
                FindPolar(static_cast<double>(first - m_centre), pairs[i].distance, columns, m_polar);
                ForBothRows(pairs[i], [&](std::int64_t y, double dy) { WriteBlock(dy, y, first, columns); });
            });
        }
    }

private:
    /// The row through the centre is served by the plain rule: its angles are the seam and, exactly, half a circle.
    StRowPair Plan(double distance) const {
        const auto limit = static_cast<double>(m_source.radii);
        const bool blocks = distance > 0.0 && FitsCells(m_source.radii, m_source.angles);
        return {distance, ColumnsWithin(limit, distance, m_centre),
                ColumnsWithin(blocks ? limit - 1.0 : 0.0, distance, m_centre)};
    }

    /// The row above the centre has the negated angles of the one below: they are found once for both.
    template <class Work> void ForBothRows(const StRowPair& pair, Work work) const {
        const auto distance = static_cast<std::int64_t>(pair.distance);
        work(m_centre + distance, pair.distance);
        if (distance > 0) {
            work(m_centre - distance, -pair.distance);
        }
    }

    T* Row(std::int64_t y, std::int64_t z) const { return m_out + m_side * (y + m_side * z); }

    void WriteEdges(const StRowPair& pair, std::int64_t y, double dy) const {
        for (std::int64_t z = 0; z < m_source.depth; ++z) {
            T* out = Row(y, z);
            std::fill(out, out + pair.served.first, T{0});
            std::fill(out + pair.served.end, out + m_side, T{0});
            WritePlain(dy, y, z, pair.served.first, pair.inner.first);
            WritePlain(dy, y, z, pair.inner.end, pair.served.end);
        }
    }

    void WritePlain(double dy, std::int64_t y, std::int64_t z, std::int64_t first, std::int64_t end) const {
        for (std::int64_t x = first; x < end; ++x) {
            Row(y, z)[x] = PlainPixel(z, static_cast<double>(x - m_centre), dy);
        }
    }

    /// The plain rule for a column of a row beside the centre.
    T PlainPixel(std::int64_t z, double dx, double dy) const {
        return m_source.Pixel(z, Radius(dx, dy), std::atan2(dy, dx), m_ignoreZero);
    }

    void WriteBlock(double dy, std::int64_t y, std::int64_t first, int count) {
        const double side = dy < 0.0 ? -1.0 : 1.0;
        const bool fits = FindPolarCells(m_polar, side, m_source.radii, m_source.angles, count, m_cells);
        for (std::int64_t z = 0; z < m_source.depth; ++z) {
            if (fits) {
                FoldBlock(z, dy, static_cast<double>(first - m_centre), Row(y, z) + first, count);
            } else {
                WritePlain(dy, y, z, first, first + count);
            }
        }
    }

    void FoldBlock(std::int64_t z, double dy, double dx, T* out, int count) {
        const T* plane = m_source.elements + z * m_source.Plane();
        LoadCorners(plane, m_source.radii, m_cells.element, count, m_corners);
        const int unclear = MixBlock(m_corners, m_cells, out, count, m_unclear);
        if (m_ignoreZero) {
            ClearZeros(plane, m_cells.nearest, out, count);
        }
        if (unclear > 0) {
            ServeUnclear(z, dy, dx, out, count);
        }
    }

    void ServeUnclear(std::int64_t z, double dy, double dx, T* out, int count) const {
        for (int i = 0; i < count; ++i) {
            if (m_unclear[i] != 0) {
                out[i] = PlainPixel(z, dx + i, dy);
            }
        }
    }

    const StSource<T> m_source;
    T* const m_out;
    const std::int64_t m_side;
    const std::int64_t m_centre;
    const bool m_ignoreZero;
    StPolar m_polar;
    StPolarCells m_cells;
    std::int32_t m_unclear[kBlock];
    StCorners<T> m_corners;
};

/// A square around a centre pixel that reaches to the last radius; nothing without radii.
CSize FoldedSize(const CSize& size) {
    if (size.x == 0) {
        return {0, 0, size.z};
    }
    const std::int64_t side = WrappedDifference(WrappedSum(size.x, size.x), 1);
    return {side, side, size.z};
}

} // namespace

void CPPolarToCartesian::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "PolarToCartesian", "Manipulation");
    description.BoolParameter("ignore_zero", false).Toggle();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPPolarToCartesian::NodeInit() { ignore_zero = Parameters().EntryBool("ignore_zero", false); }

void CPPolarToCartesian::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, IMAGE_GREY_32}, kWhere,
                "input image is not of type IMAGE_GREY_F, IMAGE_GREY_8, IMAGE_GREY_16, or IMAGE_GREY_32.");

    auto output = NewImage(input.Type(), FoldedSize(input.Size()));
    if (IsEmpty(input)) {
        output->Buffer().Set(0);
    } else {
        DispatchNumber<float, std::uint8_t, std::uint16_t, std::uint32_t>(
            input.Type(), kWhere, [&]<class T>(Element<T>) { CFold<T>(input, *output, ignore_zero).Fold(); });
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
