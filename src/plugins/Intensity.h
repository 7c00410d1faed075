#pragma once

#include "FeaturePlugin.h"

namespace QUOR::shapefeatures {

/// The statistics of the grey values under a region, 0 without elements. A value that is no number makes them all so.
struct StIntensity {
    explicit StIntensity(const CRegion& region);

    double mean = 0.0;
    double deviation = 0.0; ///< of the population: divided by the number of elements
    double minimum = 0.0;
    double maximum = 0.0;
};

/// All features of grey values.
CFeatures<StIntensity>::Table IntensityFeatures();

} // namespace QUOR::shapefeatures
