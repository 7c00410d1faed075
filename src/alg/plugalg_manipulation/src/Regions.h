#pragma once

#include "image/ImageExtraction.h"

#include <string>

namespace QUOR::manipulation {

/// The part of a region that lies in one plane.
inline CRect PlaneOf(const CBox& region) { return {region.first.x, region.first.y, region.second.x, region.second.y}; }

/// A rectangle or cuboid as it stands in log lines.
template <class Region> std::string RegionText(const Region& region) {
    return std::string("(").append(region.first.ToString()).append("->").append(region.second.ToString()).append(")");
}

/// Copies a region into an image of its size: of the first plane if the input counts as 2d, else of the volume.
inline void ExtractRegion(const CImage& input, CImage& output, const CBox& region) {
    if (input.Size().dim == 2) {
        CImageExtraction::Rect(output, input, PlaneOf(region));
    } else {
        CImageExtraction::Box(input, output, region);
    }
}

} // namespace QUOR::manipulation
