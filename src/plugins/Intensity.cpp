// Statistics of the grey values under a region. Two passes: squares are summed about the mean, so that a small
// deviation of large values isn't lost.

#include "Intensity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace QUOR::shapefeatures {

namespace {

/// Sums, extremes and whether all values are numbers, of one run or of several.
struct StSums {
    double count = 0.0;
    double sum = 0.0;
    double least = std::numeric_limits<double>::infinity();
    double largest = -std::numeric_limits<double>::infinity();
    bool areNumbers = true;
};

StSums SumsOf(std::span<const float> values) {
    StSums sums{.count = static_cast<double>(values.size())};
    for (const double value : values) {
        sums.sum += value;
        sums.least = value < sums.least ? value : sums.least;
        sums.largest = value > sums.largest ? value : sums.largest;
        sums.areNumbers = sums.areNumbers & (value == value);
    }
    return sums;
}

StSums Together(const StSums& a, const StSums& b) {
    return {a.count + b.count, a.sum + b.sum, std::min(a.least, b.least), std::max(a.largest, b.largest),
            a.areNumbers && b.areNumbers};
}

double SquaresAbout(double mean, std::span<const float> values) {
    double squares = 0.0;
    for (const double value : values) {
        squares += (value - mean) * (value - mean);
    }
    return squares;
}

} // namespace

StIntensity::StIntensity(const CRegion& region) {
    StSums sums;
    region.ForEachGreyRun([&](std::span<const float> values) { sums = Together(sums, SumsOf(values)); });
    if (sums.count == 0.0) {
        return;
    }
    mean = sums.sum / sums.count;
    minimum = sums.areNumbers ? sums.least : mean;
    maximum = sums.areNumbers ? sums.largest : mean;
    double squares = 0.0;
    region.ForEachGreyRun([&](std::span<const float> values) { squares += SquaresAbout(mean, values); });
    deviation = std::sqrt(squares / sums.count);
}

CFeatures<StIntensity>::Table IntensityFeatures() {
    using Row = StFeature<StIntensity>;
    static constexpr std::array<Row, 4> rows{
        Row{{"mean", "grey value", "sum of the grey values under the region, divided by their number n"},
            [](const StIntensity& values) { return values.mean; }},
        Row{{"standard deviation", "grey value",
             "square root of the sum of squared distances from the mean, divided by n: that of the whole population"},
            [](const StIntensity& values) { return values.deviation; }},
        Row{{"minimum", "grey value", "smallest grey value under the region"},
            [](const StIntensity& values) { return values.minimum; }},
        Row{{"maximum", "grey value", "largest grey value under the region"},
            [](const StIntensity& values) { return values.maximum; }}};
    return rows;
}

} // namespace QUOR::shapefeatures
