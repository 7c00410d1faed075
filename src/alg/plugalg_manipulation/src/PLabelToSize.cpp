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
#include "image/Buffer.h"

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

/// Gives a vector zeros, which take memory only where they are written.
template <class T> struct StZeros {
    using value_type = T;
    T* allocate(std::size_t count) { return static_cast<T*>(AllocateZeros(count * sizeof(T))); }
    void deallocate(T* zeros, std::size_t count) noexcept { FreeZeros(zeros, count * sizeof(T)); }
    void construct(T* /*zero*/) noexcept {} // it is one already
    friend bool operator==(const StZeros& /*a*/, const StZeros& /*b*/) { return true; }
};

/// Sizes by label: entry L - 1 is that of label L. They are floats, and their counting stops where adding 1 in single
/// precision changes nothing. The table is as long as the largest label, which may be one alone.
using Sizes = std::vector<float, StZeros<float>>;

constexpr float kCountCeiling = 16777216.0F;

/// Calls `visit(size, first, length)` for runs of equal elements that count for a label, with the label's size.
template <class Visit> void ForEachLabelRun(const float* in, std::int64_t count, Sizes& sizes, Visit visit) {
    ForEachRun(in, count, [&](std::int64_t first, std::int64_t length) {
        if (const std::int64_t label = LabelOf(in[first]); label > 0) {
            visit(sizes[static_cast<std::size_t>(label - 1)], first, length);
        }
    });
}

/// Counts each element as often as told.
void CountLabels(const float* in, std::int64_t count, std::int64_t times, Sizes& sizes) {
    ForEachLabelRun(in, count, sizes, [times](float& size, std::int64_t /*first*/, std::int64_t length) {
        size = std::min(size + static_cast<float>(length * times), kCountCeiling); // exact up to the ceiling
    });
}

/// Writes the size of its label over each element that counts for one.
void ReplaceLabels(const float* in, std::int64_t count, Sizes& sizes, float* out) {
    ForEachLabelRun(in, count, sizes, [out](float size, std::int64_t first, std::int64_t length) {
        std::fill_n(out + first, length, size);
    });
}

void ReplaceBySlices(const float* in, std::int64_t slice, std::int64_t depth, float* out) {
    for (std::int64_t z = 0; z < depth; ++z) {
        Sizes sizes(static_cast<std::size_t>(LargestLabel(in + z * slice, slice)));
        if (!sizes.empty()) {
            CountLabels(in + z * slice, slice, 1, sizes);
            ReplaceLabels(in + z * slice, slice, sizes, out + z * slice);
        }
    }
}

/// Adds the sizes of a slice to those of the volume as often as told, and leaves zeros in the slice's table.
void AddSizes(const float* in, std::int64_t count, Sizes& slicewise, std::int64_t times, Sizes& volume) {
    ForEachLabelRun(in, count, slicewise, [&](float& size, std::int64_t first, std::int64_t /*length*/) {
        float& sum = volume[static_cast<std::size_t>(LabelOf(in[first]) - 1)];
        for (std::int64_t time = 0; time < times && sum + size != sum; ++time) {
            sum += size;
        }
        size = 0.0F; // the label's later runs add nothing
    });
}

/// A slice without a label adds the sizes of the labelled slice before it once more. Sums that can't pass the ceiling
/// are exact, so that it makes no difference in which order they are formed.
void ReplaceInVolume(const float* in, std::int64_t slice, std::int64_t depth, float* out) {
    const bool isExact = slice * depth <= static_cast<std::int64_t>(kCountCeiling);
    std::vector<std::int64_t> labelled; // slices
    Sizes slicewise;
    Sizes volume;
    for (std::int64_t z = 0; z < depth; ++z) {
        const auto largest = static_cast<std::size_t>(LargestLabel(in + z * slice, slice));
        if (largest > 0) {
            labelled.push_back(z);
        }
        if (largest > volume.size()) {
            slicewise = Sizes(isExact ? 0 : largest);
            volume = Sizes(largest);
        }
    }
    labelled.push_back(depth);
    for (std::size_t index = 0; index + 1 < labelled.size(); ++index) {
        const float* first = in + labelled[index] * slice;
        const std::int64_t times = labelled[index + 1] - labelled[index];
        if (isExact) {
            CountLabels(first, slice, times, volume);
        } else {
            CountLabels(first, slice, 1, slicewise);
            AddSizes(first, slice, slicewise, times, volume);
        }
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
