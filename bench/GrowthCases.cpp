// Nodes of each class on work of growing size: what bounds the class must stay the same, so that the time for an
// element does.

#include "Case.h"

namespace QUOR::bench {

namespace {

/// Squares of 1, 4, 16 and 64 million elements.
std::vector<StScale> GrowingPlanes() {
    std::vector<StScale> scales;
    for (const IImage::CType& type : {IMAGE_GREY_8, IMAGE_GREY_F}) {
        for (const std::int64_t side : {1024, 2048, 4096, 8192}) {
            scales.push_back({type, CSize(side, side)});
        }
    }
    return scales;
}

std::vector<StScale> GrowingLabels() {
    std::vector<StScale> scales;
    for (const std::int64_t regions : {1000, 10000, 100000, 1000000}) {
        scales.push_back({IMAGE_GREY_F, CSize(4096, 4096), regions});
    }
    return scales;
}

std::vector<StScale> GrowingTables() {
    constexpr std::int64_t columns = 64;
    std::vector<StScale> scales;
    for (const std::int64_t rows : {10000, 100000, 1000000}) {
        scales.push_back({IMAGE_GREY_F, CSize(columns, rows)});
    }
    return scales;
}

Images PolarPicture(const StScale& scale) { return ListOf(PolarNoise(scale.type, scale.size.x)); }

Images LabelsAlone(const StScale& scale) { return ListOf(Labels(scale.type, scale.size, scale.regions)); }

Images TableAlone(const StScale& scale) { return ListOf(Table(scale.type, scale.size.x, scale.size.y)); }

} // namespace

std::vector<CCase> GrowthCases() {
    return {
        CCase("Pad", "copying").SetShare("pad_left", 0.125).On(GrowingPlanes()),
        CCase("SwitchAxes", "transposing").Set("axes", "YXZ").On(GrowingPlanes()),
        CCase("Rotate", "interpolating").Set("angle", 30.0).On(GrowingPlanes()),
        CCase("PolarToCartesian", "polar").On(GrowingPlanes()).Inputs(PolarPicture),
        CCase("Resize", "smoothing").Set("scale_x", 0.5).Set("scale_y", 0.5).On(GrowingPlanes()),
        CCase("LabelToSize", "labels").On(GrowingLabels()).Inputs(LabelsAlone),
        CCase("LabelToFeature", "labels").On(GrowingLabels()).Inputs(LabelsAlone),
        CCase("DeleteDuplicate", "rows").Set("along", "Y").On(GrowingTables()).Inputs(TableAlone),
    };
}

} // namespace QUOR::bench
