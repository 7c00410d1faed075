// The shape of a region, found from the runs in its rows. Counts and sums are whole or half numbers, which doubles hold
// exactly up to 2^52 whatever the order of the sums, so that symmetric regions have exactly equal moments.

#include "Shape.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace QUOR::shapefeatures {

namespace {

/// Area, centre of gravity and bounding box.
class CExtent {
public:
    void Add(std::int64_t y, const Runs& runs) {
        m_minX = std::min(m_minX, runs.front().first);
        m_endX = std::max(m_endX, runs.back().end);
        m_minY = std::min(m_minY, y);
        m_endY = y + 1;
        for (const StRun& run : runs) {
            const auto length = static_cast<double>(run.Length());
            m_area += length;
            m_sumX += length * static_cast<double>(run.first + run.end - 1) / 2.0;
            m_sumY += length * static_cast<double>(y);
        }
    }

    double Area() const { return m_area; }
    double CentroidX() const { return m_sumX / m_area; }
    double CentroidY() const { return m_sumY / m_area; }
    double Left() const { return static_cast<double>(m_minX); }
    double Top() const { return static_cast<double>(m_minY); }
    double Width() const { return static_cast<double>(m_endX - m_minX); }
    double Height() const { return static_cast<double>(m_endY - m_minY); }

private:
    std::int64_t m_minX = std::numeric_limits<std::int64_t>::max();
    std::int64_t m_endX = 0;
    std::int64_t m_minY = std::numeric_limits<std::int64_t>::max();
    std::int64_t m_endY = 0;
    double m_area = 0.0;
    double m_sumX = 0.0;
    double m_sumY = 0.0;
};

/// The number of places that are in both rows after the upper one is moved to the right by `shift`.
std::int64_t Overlap(const Runs& upper, std::int64_t shift, const Runs& lower) {
    std::int64_t count = 0;
    auto a = upper.begin();
    auto b = lower.begin();
    while (a != upper.end() && b != lower.end()) {
        const std::int64_t end = a->end + shift;
        count += std::max<std::int64_t>(std::min(end, b->end) - std::max(a->first + shift, b->first), 0);
        end < b->end ? ++a : ++b;
    }
    return count;
}

/// The boundary's length by the Cauchy-Crofton formula: the mean, over all directions, of the number of chords that
/// lines at a distance of 1 cut out of the region, times pi. Four directions stand for all; neighbouring diagonals are
/// sqrt(1/2) apart. Serra, Image Analysis and Mathematical Morphology (1982); Lehmann and Legland, Efficient
/// N-dimensional surface estimation using Crofton formula and run-length encoding, Insight Journal (2012).
class CChords {
public:
    /// A chord begins at each element whose predecessor on the line is none of the region.
    void Add(std::int64_t y, const Runs& runs) {
        std::int64_t count = 0;
        for (const StRun& run : runs) {
            count += run.Length();
        }
        if (y != m_upperY + 1) {
            m_upper.clear();
        }
        m_rows += static_cast<double>(runs.size());
        m_columns += static_cast<double>(count - Overlap(m_upper, 0, runs));
        m_diagonals += static_cast<double>(2 * count - Overlap(m_upper, 1, runs) - Overlap(m_upper, -1, runs));
        m_upper = runs;
        m_upperY = y;
    }

    double Perimeter() const {
        return std::numbers::pi / 4.0 * (m_rows + m_columns + m_diagonals / std::numbers::sqrt2);
    }

private:
    Runs m_upper;
    std::int64_t m_upperY = -1;
    double m_rows = 0.0;
    double m_columns = 0.0;
    double m_diagonals = 0.0; ///< along both
};

/// A corner of an element.
struct StCorner {
    std::int64_t x;
    std::int64_t y;
};

/// The right side of a convex hull, from the top to the bottom.
class CHullSide {
public:
    /// Corners come with y that never falls. This is one half of Andrew's monotone chain: Andrew, Another efficient
    /// algorithm for convex hulls in two dimensions, Information Processing Letters 9 (1979).
    void Add(const StCorner& corner) {
        while (m_corners.size() >= 2 && !IsRightOf(m_corners[m_corners.size() - 2], m_corners.back(), corner)) {
            m_corners.pop_back();
        }
        m_corners.push_back(corner);
    }

    /// Twice the signed area between the y axis and the side.
    std::int64_t TwiceArea() const {
        std::int64_t area = 0;
        for (std::size_t i = 1; i < m_corners.size(); ++i) {
            area += (m_corners[i - 1].x + m_corners[i].x) * (m_corners[i].y - m_corners[i - 1].y);
        }
        return area;
    }

private:
    /// True if `middle` lies to the right of the line from `upper` to `lower`.
    static bool IsRightOf(const StCorner& upper, const StCorner& middle, const StCorner& lower) {
        return (middle.x - upper.x) * (lower.y - upper.y) > (lower.x - upper.x) * (middle.y - upper.y);
    }

    std::vector<StCorner> m_corners;
};

/// The hull of the elements' corners, not of their places: a rectangle is its own hull.
class CHull {
public:
    void Add(std::int64_t y, const Runs& runs) {
        for (const std::int64_t cornerY : {y, y + 1}) {
            m_right.Add({runs.back().end, cornerY});
            m_mirroredLeft.Add({-runs.front().first, cornerY});
        }
    }

    double Area() const { return static_cast<double>(m_right.TwiceArea() + m_mirroredLeft.TwiceArea()) / 2.0; }

private:
    CHullSide m_right;
    CHullSide m_mirroredLeft;
};

} // namespace

StShape::StShape(const CRegion& region) {
    CExtent extent;
    CChords chords;
    CHull hull;
    region.ForEachRow([&](std::int64_t y, const Runs& runs) {
        extent.Add(y, runs);
        chords.Add(y, runs);
        hull.Add(y, runs);
    });
    area = extent.Area();
    if (area == 0.0) {
        return;
    }
    centroidX = extent.CentroidX();
    centroidY = extent.CentroidY();
    left = extent.Left();
    top = extent.Top();
    width = extent.Width();
    height = extent.Height();
    perimeter = chords.Perimeter();
    convexArea = hull.Area();
    MeasureEllipse(region);
}

/// The ellipse with the region's second central moments. Each element has the moments of a square, 1/12, beside those
/// of its place, so that a w x h rectangle has the axes w and h, both times 4 / sqrt(12), and no axis is 0.
/// Haralick and Shapiro, Computer and Robot Vision, volume 1 (1992).
void StShape::MeasureEllipse(const CRegion& region) {
    // Sums about the place nearest to the centroid: little is left to subtract.
    const double originX = std::round(centroidX);
    const double originY = std::round(centroidY);
    double x = 0.0;
    double y = 0.0;
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    region.ForEachRow([&](std::int64_t row, const Runs& runs) {
        const double rowY = static_cast<double>(row) - originY;
        for (const StRun& run : runs) {
            const auto n = static_cast<double>(run.Length());
            const double middle = static_cast<double>(run.first + run.end - 1) / 2.0 - originX;
            x += n * middle;
            y += n * rowY;
            xx += n * middle * middle + n * (n * n - 1.0) / 12.0;
            xy += n * middle * rowY;
            yy += n * rowY * rowY;
        }
    });
    const double varianceX = (area * xx - x * x) / (area * area);
    const double covariance = (area * xy - x * y) / (area * area);
    const double varianceY = (area * yy - y * y) / (area * area);
    const double difference = varianceX - varianceY;
    const double root = std::sqrt(difference * difference + 4.0 * covariance * covariance);
    const double smaller = std::max((varianceX + varianceY - root) / 2.0, 0.0); // rounding may go below
    constexpr double square = 1.0 / 12.0;
    majorAxis = 4.0 * std::sqrt((varianceX + varianceY + root) / 2.0 + square);
    minorAxis = 4.0 * std::sqrt(smaller + square);
    orientation = std::atan2(2.0 * covariance, difference) / 2.0 * (180.0 / std::numbers::pi);
}

CFeatures<StShape>::Table ShapeFeatures() {
    using Row = StFeature<StShape>;
    // A region has no minor axis and no hull only if it has no element.
    static constexpr auto ratio = [](double part, double whole) { return whole > 0.0 ? part / whole : 0.0; };
    static constexpr std::array<Row, 14> rows{
        Row{{"area", "px^2", "number A of elements"}, [](const StShape& shape) { return shape.area; }},
        Row{{"centroid x", "px", "mean column of the elements, counted from 0 at the image's left column"},
            [](const StShape& shape) { return shape.centroidX; }},
        Row{{"centroid y", "px", "mean row of the elements, counted from 0 at the image's top row"},
            [](const StShape& shape) { return shape.centroidY; }},
        Row{{"left", "px", "leftmost column of the region's bounding box"},
            [](const StShape& shape) { return shape.left; }},
        Row{{"top", "px", "top row of the region's bounding box"}, [](const StShape& shape) { return shape.top; }},
        Row{{"width", "px", "number of columns of the bounding box"}, [](const StShape& shape) { return shape.width; }},
        Row{{"height", "px", "number of rows of the bounding box"}, [](const StShape& shape) { return shape.height; }},
        Row{{"perimeter", "px",
             "length of the boundary, that of holes too, by the Cauchy-Crofton formula in four directions: "
             "pi / 4 * (r + c + (d + e) / sqrt(2)), where r, c, d and e are the numbers of chords along rows, columns "
             "and the two diagonals"},
            [](const StShape& shape) { return shape.perimeter; }},
        Row{{"equivalent diameter", "px", "diameter of the circle with the same area: sqrt(4 * A / pi)"},
            [](const StShape& shape) { return std::sqrt(4.0 * shape.area / std::numbers::pi); }},
        Row{{"orientation", "degrees",
             "angle from the x axis to the major axis, clockwise as seen, above -90 and up to 90: "
             "atan2(2 * cxy, cxx - cyy) / 2 from the central second moments; 0 if no axis is longer"},
            [](const StShape& shape) { return shape.orientation; }},
        Row{{"major axis length", "px",
             "long axis of the ellipse with the same second moments: 4 * sqrt(l1), where l1 is the larger eigenvalue "
             "of the covariance matrix, with 1/12 added for the extent of an element"},
            [](const StShape& shape) { return shape.majorAxis; }},
        Row{{"minor axis length", "px", "short axis of that ellipse: 4 * sqrt(l2) from the smaller eigenvalue"},
            [](const StShape& shape) { return shape.minorAxis; }},
        Row{{"elongation", "1", "major over minor axis length: w / h for a rectangle of w x h elements, w >= h"},
            [](const StShape& shape) { return ratio(shape.majorAxis, shape.minorAxis); }},
        Row{{"convexity", "1",
             "area over the area of the convex hull around the elements' corners, also called solidity"},
            [](const StShape& shape) { return ratio(shape.area, shape.convexArea); }}};
    return rows;
}

} // namespace QUOR::shapefeatures
