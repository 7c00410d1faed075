// Replaces every label of a float label image by the number of elements that carry it, slice by slice or over the whole
// volume. An element counts for the label that its number is cut to; elements below 1, NaN and infinite ones count for
// no label and keep their value.

#include "PLabelToSize.h"

#include "Description.h"
#include "Elements.h"
#include "Inputs.h"
#include "Labels.h"
#include "Output.h"
#include "Runs.h"

#include <vector>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) LabelToSize::Run";

constexpr const char* kText = R"(BRIEF
Replaces the label values of the input image by the size values
of each labeled region.

The size of a region is the number of its pixels, resp. voxels.

INPUT 0
label image; must be FLOAT

OUTPUT 0
image with sizes assigned to each label; FLOAT

PARAMETER slice-wise
The type of this parameter is of type bool. optional: for 3d image, do replacement slice-wise if TRUE (default), or volumetric if FALSE

PARAMETER data
pointer to the data array of the input image

PARAMETER result
pointer to the data array of the output image

PARAMETER width
width of the image

PARAMETER height
height of the image

PARAMETER inputImage
pointer to the input image

PARAMETER width
width of the image

PARAMETER height
height of the image

PARAMETER labelImage
pointer to the label image

NOTE
For 3d images the computation is performed plane-by-plane by default resp. if parameter 'slice-wise' is set to TRUE.

KEYWORDS
mapping, size, pixel, voxel, count, label
)";

/// Sizes by label: entry L - 1 is that of label L. They are floats, and their counting stops where adding 1 in single
/// precision changes nothing.
using Sizes = std::vector<float>;

constexpr float kCountCeiling = 16777216.0F;

/// Counts the labels of a slice. A slice without any label leaves the sizes as they were.
void CountLabels(const float* in, std::int64_t count, Sizes& sizes) {
    const std::int64_t largest = LargestLabel(in, count);
    if (largest == 0) {
        return;
    }
    sizes.assign(static_cast<std::size_t>(largest), 0.0F);
    ForEachRun(in, count, [&](std::int64_t first, std::int64_t length) {
        if (const std::int64_t label = LabelOf(in[first]); label > 0) {
            float& size = sizes[static_cast<std::size_t>(label - 1)];
            size = std::min(size + static_cast<float>(length), kCountCeiling); // exact up to the ceiling
        }
    });
}

/// Writes the size of its label over each element that counts for one.
void ReplaceLabels(const float* in, std::int64_t count, const Sizes& sizes, float* out) {
    ForEachRun(in, count, [&](std::int64_t first, std::int64_t length) {
        if (const std::int64_t label = LabelOf(in[first]); label > 0) {
            std::fill_n(out + first, length, sizes[static_cast<std::size_t>(label - 1)]);
        }
    });
}

void ReplaceBySlices(const float* in, std::int64_t slice, std::int64_t depth, float* out) {
    for (std::int64_t z = 0; z < depth; ++z) {
        Sizes sizes;
        CountLabels(in + z * slice, slice, sizes);
        if (!sizes.empty()) {
            ReplaceLabels(in + z * slice, slice, sizes, out + z * slice);
        }
    }
}

/// A slice without a label adds the sizes of the labelled slice before it once more: they still stand in `slicewise`.
void ReplaceInVolume(const float* in, std::int64_t slice, std::int64_t depth, float* out) {
    Sizes slicewise;
    Sizes volume;
    for (std::int64_t z = 0; z < depth; ++z) {
        CountLabels(in + z * slice, slice, slicewise);
        volume.resize(std::max(volume.size(), slicewise.size()), 0.0F);
        std::transform(slicewise.begin(), slicewise.end(), volume.begin(), volume.begin(),
                       [](float one, float all) { return all + one; });
    }
    ReplaceLabels(in, slice * depth, volume, out);
}

} // namespace

void CPLabelToSize::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "LabelToSize", "LabelImage");
    description.BoolParameter("slice-wise", true).Toggle();
    description.ImageInput();
    description.ImageOutput();
    description.Text(kText);
}

void CPLabelToSize::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL", "input 0 is not an image");
    RequireType(input, {IMAGE_GREY_F}, kWhere, "input image is not of type IMAGE_GREY_F");
    const bool bySlices = Parameters().EntryBool("slice-wise", true);

    auto output = std::make_unique<CImage>(input);
    if (!IsEmpty(input)) {
        const auto [width, height, depth] = Extents(input);
        const auto replace = depth == 1 || bySlices ? &ReplaceBySlices : &ReplaceInVolume;
        replace(Elements<float>(input), width * height, depth, Elements<float>(*output));
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
