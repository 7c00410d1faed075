#pragma once

#include "FeaturePlugin.h"

namespace QUOR::shapefeatures {

/// The measures of a region's shape, 0 without elements. An element is a square with sides of 1 around its place;
/// places count from the upper left element, x to the right and y downward. A region may have several parts and holes.
struct StShape {
    explicit StShape(const CRegion& region);

    double area = 0.0;
    double centroidX = 0.0;
    double centroidY = 0.0;
    double left = 0.0;
    double top = 0.0;
    double width = 0.0;
    double height = 0.0;
    double perimeter = 0.0;
    double orientation = 0.0; ///< in degrees
    double majorAxis = 0.0;
    double minorAxis = 0.0;
    double convexArea = 0.0;

private:
    void MeasureEllipse(const CRegion& region);
};

/// All features of shapes.
CFeatures<StShape>::Table ShapeFeatures();

} // namespace QUOR::shapefeatures
