#pragma once

#include <cstdint>
#include <initializer_list>

namespace QUOR::manipulation {

/// One source coordinate under the columns of an output row. It rises or falls steadily along the row, and as every
/// step of the formula rounds without changing the order, so does the rounded coordinate: the columns for which it lies
/// in a range are one interval.
struct StRowLine {
    double origin; ///< the column at which the turn begins
    double slope;
    double offset;
    double centre;

    double At(double column) const { return ((column - origin) * slope + offset) + centre; }
};

/// Both coordinates under a row.
struct StRowLines {
    StRowLine x;
    StRowLine y;
};

/// The columns from `first` to `end`, which doesn't belong to them.
struct StColumns {
    std::int64_t first;
    std::int64_t end;
};

/// A range of source positions; right and bottom don't belong to it.
struct StArea {
    double left;
    double right;
    double top;
    double bottom;
};

/// The first of the columns for which `holds` is false, or their end. It must hold up to there and nowhere behind.
template <class Condition> std::int64_t EndOf(StColumns columns, Condition holds) {
    while (columns.first < columns.end) {
        const std::int64_t middle = columns.first + (columns.end - columns.first) / 2;
        if (holds(static_cast<double>(middle))) {
            columns.first = middle + 1;
        } else {
            columns.end = middle;
        }
    }
    return columns.first;
}

/// The same with the column at which it is expected. Probes on both sides of it leave a single column to search, where
/// a search among all columns of a short row takes longer than what is done with them.
template <class Condition> std::int64_t EndNear(std::int64_t expected, StColumns columns, Condition holds) {
    for (const std::int64_t probe : {expected - 1, expected + 1}) {
        if (probe < columns.first || probe >= columns.end) {
            continue;
        }
        if (holds(static_cast<double>(probe))) {
            columns.first = probe + 1;
        } else {
            columns.end = probe;
        }
    }
    return EndOf(columns, holds);
}

/// About where the coordinate comes to a value: but for rounding the last column before it, and any of the columns
/// where it never does.
inline std::int64_t ColumnBefore(const StRowLine& line, double value, StColumns among) {
    const double column = ((value - line.centre) - line.offset) / line.slope + line.origin;
    const auto first = static_cast<double>(among.first);
    const auto end = static_cast<double>(among.end);
    return column > first && column < end ? static_cast<std::int64_t>(column) : column >= end ? among.end : among.first;
}

/// Those of the columns whose coordinate lies in the range from `low` to `high`, which doesn't belong to it.
inline StColumns ColumnsInside(const StRowLine& line, double low, double high, StColumns among) {
    const std::int64_t atLow = ColumnBefore(line, low, among);
    const std::int64_t atHigh = ColumnBefore(line, high, among);
    if (line.slope >= 0.0) {
        among.first = EndNear(atLow, among, [&](double column) { return line.At(column) < low; });
        among.end = EndNear(atHigh, among, [&](double column) { return line.At(column) < high; });
    } else {
        among.first = EndNear(atHigh, among, [&](double column) { return line.At(column) >= high; });
        among.end = EndNear(atLow, among, [&](double column) { return line.At(column) >= low; });
    }
    return among;
}

/// Those of the columns whose position lies in the area.
inline StColumns ColumnsInside(const StRowLines& lines, const StArea& area, StColumns among) {
    return ColumnsInside(lines.y, area.top, area.bottom, ColumnsInside(lines.x, area.left, area.right, among));
}

} // namespace QUOR::manipulation
