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
#include "VectorVariants.h"

#include <cmath>

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

double Radius(double dx, double dy) { return std::sqrt(dx * dx + dy * dy); }

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

MANI_VECTOR_VARIANTS void FindRadii(double dx, double dy, int count, double* rho) {
    for (int i = 0; i < count; ++i) {
        rho[i] = Radius(dx + i, dy);
    }
}

void FindPolar(double dx, double dy, int count, StPolar& polar) {
    FindRadii(dx, dy, count, polar.rho);
    for (int i = 0; i < count; ++i) {
        polar.angle[i] = std::atan2(dy, dx + i);
    }
}

/// The cells and the nearest elements under the row that has the angles of `polar` times `side`. False if some of them
/// have no row behind them, so that the cells don't serve.
MANI_VECTOR_VARIANTS bool FindPolarCells(const StPolar& polar, double side, std::int64_t radii, std::int64_t angles,
                                         int count, StCells& cells, std::int32_t* nearest) {
    const auto width = static_cast<std::int32_t>(radii);
    const auto rows = static_cast<double>(radii);
    const auto last = static_cast<double>(angles - 1);
    int beyond = 0;
    for (int i = 0; i < count; ++i) {
        const double rho = polar.rho[i];
        const double q = FullAngle(side * polar.angle[i]) * rows;
        const auto ir = static_cast<std::int32_t>(rho);
        const auto ia = static_cast<std::int32_t>(q);
        cells.fx[i] = rho - ir;
        cells.fy[i] = q - ia;
        cells.element[i] = ia * width + ir;
        nearest[i] = static_cast<std::int32_t>(q + 0.5) * width + static_cast<std::int32_t>(rho + 0.5);
        beyond += q >= last ? 1 : 0;
    }
    return beyond == 0;
}

template <class T>
MANI_VECTOR_VARIANTS void MixBlock(const StCorners<T>& corners, const StCells& cells, T* out, int count) {
    MixPolar(corners, cells, kRounding<T>, out, count);
}

template <class T> void ClearZeros(const T* plane, const std::int32_t* nearest, T* out, int count) {
    for (int i = 0; i < count; ++i) {
        out[i] = plane[nearest[i]] == T{0} ? T{0} : out[i];
    }
}

template <class T> class CFold {
public:
    CFold(const CImage& input, CImage& output, bool ignoreZero)
        : m_source{Elements<T>(input), input.Size().x, input.Size().y, input.Size().z}, m_out(Elements<T>(output)),
          m_side(output.Size().x), m_centre(m_side / 2), m_ignoreZero(ignoreZero) {}

    void Fold() {
        StRowPair pairs[kBandRows];
        for (std::int64_t top = 0; top <= m_centre; top += kBandRows) {
            const int count = static_cast<int>(std::min<std::int64_t>(kBandRows, m_centre + 1 - top));
            for (int i = 0; i < count; ++i) {
                pairs[i] = Plan(static_cast<double>(top + i));
                ForBothRows(pairs[i], [&](double side, std::int64_t y) { WriteEdges(pairs[i], side, y); });
            }
            WalkTiles(pairs, count, m_side, [&](int i, std::int64_t first, int columns) {
                FindPolar(static_cast<double>(first - m_centre), pairs[i].distance, columns, m_polar);
                ForBothRows(pairs[i], [&](double side, std::int64_t y) { WriteBlock(side, y, first, columns); });
            });
        }
    }

private:
    StRowPair Plan(double distance) const {
        const auto limit = static_cast<double>(m_source.radii);
        const bool blocks = FitsCells(m_source.radii, m_source.angles);
        return {distance, ColumnsWithin(limit, distance, m_centre),
                ColumnsWithin(blocks ? limit - 1.0 : 0.0, distance, m_centre)};
    }

    /// The row above the centre has the negated angles of the one below: they are found once for both.
    template <class Work> void ForBothRows(const StRowPair& pair, Work work) const {
        const auto distance = static_cast<std::int64_t>(pair.distance);
        work(1.0, m_centre + distance);
        if (distance > 0) {
            work(-1.0, m_centre - distance);
        }
    }

    T* Row(std::int64_t y, std::int64_t z) const { return m_out + m_side * (y + m_side * z); }

    void WriteEdges(const StRowPair& pair, double side, std::int64_t y) const {
        for (std::int64_t z = 0; z < m_source.depth; ++z) {
            T* out = Row(y, z);
            std::fill(out, out + pair.served.first, T{0});
            std::fill(out + pair.served.end, out + m_side, T{0});
        }
        WritePlain(pair, side, y, pair.served.first, pair.inner.first);
        WritePlain(pair, side, y, pair.inner.end, pair.served.end);
    }

    void WritePlain(const StRowPair& pair, double side, std::int64_t y, std::int64_t first, std::int64_t end) const {
        for (std::int64_t x = first; x < end; ++x) {
            const auto dx = static_cast<double>(x - m_centre);
            const double rho = Radius(dx, pair.distance);
            const double angle = std::atan2(side * pair.distance, dx);
            for (std::int64_t z = 0; z < m_source.depth; ++z) {
                Row(y, z)[x] = m_source.Pixel(z, rho, angle, m_ignoreZero);
            }
        }
    }

    void WriteBlock(double side, std::int64_t y, std::int64_t first, int count) {
        const bool fits = FindPolarCells(m_polar, side, m_source.radii, m_source.angles, count, m_cells, m_nearest);
        for (std::int64_t z = 0; z < m_source.depth; ++z) {
            T* out = Row(y, z) + first;
            if (fits) {
                FoldBlock(m_source.elements + z * m_source.Plane(), out, count);
            } else {
                for (int i = 0; i < count; ++i) {
                    out[i] = m_source.Pixel(z, m_polar.rho[i], side * m_polar.angle[i], m_ignoreZero);
                }
            }
        }
    }

    void FoldBlock(const T* plane, T* out, int count) {
        LoadCorners(plane, m_source.radii, m_cells.element, count, m_corners);
        MixBlock(m_corners, m_cells, out, count);
        if (m_ignoreZero) {
            ClearZeros(plane, m_nearest, out, count);
        }
    }

    const StSource<T> m_source;
    T* const m_out;
    const std::int64_t m_side;
    const std::int64_t m_centre;
    const bool m_ignoreZero;
    StPolar m_polar;
    StCells m_cells;
    std::int32_t m_nearest[kBlock];
    StCorners<T> m_corners;
};

/// A square around a centre pixel that reaches to the last radius; nothing without radii.
CSize FoldedSize(const CSize& size) {
    if (size.x == 0) {
        return {0, 0, size.z};
    }
    const auto side = static_cast<std::int64_t>(2 * static_cast<std::uint64_t>(size.x) - 1);
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
