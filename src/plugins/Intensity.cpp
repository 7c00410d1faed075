// Statistics of the grey values under a region. Two passes: squares are summed about the mean, so that a small
// deviation of large values isn't lost.

#include "Intensity.h"

#include <array>
#include <cmath>
#include <limits>

namespace QUOR::shapefeatures {

StIntensity::StIntensity(const CRegion& region) {
    double count = 0.0;
    double sum = 0.0;
    double least = std::numeric_limits<double>::infinity();
    double largest = -least;
    region.ForEachGreyValue([&](double value) {
        count += 1.0;
        sum += value;
        // What is no number compares as false with anything: it stays once it is there.
        least = value < least || std::isnan(value) ? value : least;
        largest = value > largest || std::isnan(value) ? value : largest;
    });
    if (count == 0.0) {
        return;
    }
    mean = sum / count;
    minimum = least;
    maximum = largest;
    double squares = 0.0;
    region.ForEachGreyValue([&](double value) { squares += (value - mean) * (value - mean); });
    deviation = std::sqrt(squares / count);
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
