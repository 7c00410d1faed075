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

} // namespace

StShape::StShape(const CRegion& region) {
    MeasureExtent(region);
    if (area > 0.0) {
        MeasureBoundary(region);
        MeasureEllipse(region);
        MeasureHull(region);
    }
}

void StShape::MeasureExtent(const CRegion& region) {
    constexpr std::int64_t far = std::numeric_limits<std::int64_t>::max();
    std::int64_t minX = far;
    std::int64_t maxX = 0;
    std::int64_t minY = far;
    std::int64_t maxY = 0;
    double sumX = 0.0;
    double sumY = 0.0;
    region.ForEachRow([&](std::int64_t y, const Runs& runs) {
        minX = std::min(minX, runs.front().first);
        maxX = std::max(maxX, runs.back().end - 1);
        minY = std::min(minY, y);
        maxY = y;
        for (const StRun& run : runs) {
            const auto length = static_cast<double>(run.Length());
            area += length;
            sumX += length * static_cast<double>(run.first + run.end - 1) / 2.0;
            sumY += length * static_cast<double>(y);
        }
    });
    if (area > 0.0) {
        centroidX = sumX / area;
        centroidY = sumY / area;
        left = static_cast<double>(minX);
        top = static_cast<double>(minY);
        width = static_cast<double>(maxX - minX + 1);
        height = static_cast<double>(maxY - minY + 1);
    }
}

/// The Cauchy-Crofton formula: a boundary's length is the mean, over all directions, of the number of chords that lines
/// at a distance of 1 cut out of the region, times pi. Four directions stand for all; neighbouring diagonals are
/// sqrt(1/2) apart. Serra, Image Analysis and Mathematical Morphology (1982); Lehmann and Legland, Efficient
/// N-dimensional surface estimation using Crofton formula and run-length encoding, Insight Journal (2012).
void StShape::MeasureBoundary(const CRegion& region) {
    // A chord begins at every element without a predecessor in the region along the line.
    double rowChords = 0.0;
    double columnChords = area;
    double diagonalChords = 2.0 * area;
    Runs upper;
    std::int64_t upperY = -1;
    region.ForEachRow([&](std::int64_t y, const Runs& runs) {
        rowChords += static_cast<double>(runs.size());
        if (y == upperY + 1) {
            columnChords -= static_cast<double>(Overlap(upper, 0, runs));
            diagonalChords -= static_cast<double>(Overlap(upper, 1, runs) + Overlap(upper, -1, runs));
        }
        upper = runs;
        upperY = y;
    });
    perimeter = std::numbers::pi / 4.0 * (rowChords + columnChords + diagonalChords / std::numbers::sqrt2);
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

/// The hull of the elements' corners, not of their places: a rectangle is its own hull.
void StShape::MeasureHull(const CRegion& region) {
    CHullSide rightSide;
    CHullSide leftSide; // mirrored
    region.ForEachRow([&](std::int64_t y, const Runs& runs) {
        for (const std::int64_t cornerY : {y, y + 1}) {
            rightSide.Add({runs.back().end, cornerY});
            leftSide.Add({-runs.front().first, cornerY});
        }
    });
    convexArea = static_cast<double>(rightSide.TwiceArea() + leftSide.TwiceArea()) / 2.0;
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
