// Replaces every label of a float label image by a number for its region. A feature plug-in finds the number from the
// region's mask and, with a label image of its own beside the data, from the data under it; without a plug-in the
// number is a built-in measure of the region's elongation.
//
// Regions are the zones of the labels from 1 to the largest one, present or not: a plug-in is called for each of them.
// Only the zones that are there are kept, so that memory doesn't grow with the size of the labels.

#include "PLabelToFeature.h"

#include "Blocks.h"
#include "Description.h"
#include "Inputs.h"
#include "Numbers.h"
#include "Output.h"
#include "Runs.h"
#include "Value/ValuePointer.h"
#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"
#include "plugin/PluginModule.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

namespace QUOR {

namespace {

using namespace manipulation;

constexpr const char* kWhere = "(manipulation plugins) LabelToFeature::Run";

constexpr const char* kText = R"(BRIEF
Node to map labels of the input image to computed feature values.

Each label is replaced by the feature value of its region.
If the label image is omitted, the input image
will be used as label image, too.

INPUT 0
Input image of type IMAGE_GREY_F.

INPUT 1
Optional label image of type IMAGE_GREY_F.

OUTPUT 0
Label image of type IMAGE_GREY_F, containing the feature value as label.

PARAMETER feature_plugin
The type of this parameter is of type string. path for the feature plugin containing the feature
to be computed.
By default it is set to \a NULL.

PARAMETER feature_index
The type of this parameter is of type long. index of the computed feature vector. It must be larger
or equal to 0.
By default it is set to \a 0.

PARAMETER verbose
The type of this parameter is of type bool. print function feedback to log area.
By default it is set to \a false.

NOTE
Attention: plugin is deprecated and included for backwards compatibility reasons.
Works only with "vintage feature" plugins. The functionality now can be created by
directly using feature plugins and LabelToValue.

NOTE
Currently only available for 2d images.
)";

/// The float sums of a zone's elements, in places relative to its box.
struct StSums {
    float n = 0.0F;
    float x = 0.0F;
    float y = 0.0F;
    float xx = 0.0F;
    float xy = 0.0F;
    float yy = 0.0F;
};

/// One label that is there, with the box around its elements.
struct LabelZone {
    std::int32_t label;
    std::int64_t min_x;
    std::int64_t max_x;
    std::int64_t min_y;
    std::int64_t max_y;
    StSums sums = {};
    float value = 0.0F;

    std::int64_t Width() const { return max_x - min_x + 1; }
    std::int64_t Height() const { return max_y - min_y + 1; }
    bool Holds(std::int64_t x, std::int64_t y) const { return x >= min_x && x <= max_x && y >= min_y && y <= max_y; }
};

/// The label of the zone to which an element belongs: its number cut toward zero; 0 for elements below 1 and NaN, and
/// for those that 32 bits can't hold.
std::int32_t ZoneLabel(float element) {
    constexpr float above = 2147483648.0F;
    return element >= 1.0F && element < above ? static_cast<std::int32_t>(element) : 0;
}

/// Calls `visit(label, x, y, length)` for runs of equal elements within the rows of a plane that belong to a zone.
template <class Visit> void ForEachZoneRun(const float* in, const StExtents& plane, Visit visit) {
    const std::int64_t rows = plane.width == 0 ? 0 : plane.height; // rows without elements may be countless
    for (std::int64_t y = 0; y < rows; ++y) {
        const float* row = in + plane.width * y;
        ForEachRun(row, plane.width, [&](std::int64_t x, std::int64_t length) {
            if (const std::int32_t label = ZoneLabel(row[x]); label != 0) {
                visit(label, x, y, length);
            }
        });
    }
}

/// The zones of a plane of labels, found by their labels.
class CZones {
public:
    CZones(const float* labels, const StExtents& plane) {
        ForEachZoneRun(labels, plane, [&](std::int32_t label, std::int64_t x, std::int64_t y, std::int64_t length) {
            Widen(label, x, y, length);
            m_largest = std::max(m_largest, label);
        });
    }

    /// The largest label: the number of records that a plug-in is called for.
    std::int32_t Largest() const { return m_largest; }

    /// The zone of a label; null if it isn't there.
    LabelZone* Find(std::int32_t label) {
        const auto found = m_numbers.find(label);
        return found == m_numbers.end() ? nullptr : &m_zones[found->second];
    }

    std::vector<LabelZone>& All() { return m_zones; }

private:
    void Widen(std::int32_t label, std::int64_t x, std::int64_t y, std::int64_t length) {
        const auto [number, isNew] = m_numbers.try_emplace(label, m_zones.size());
        if (isNew) {
            m_zones.push_back({label, x, x, y, y});
        }
        LabelZone& zone = m_zones[number->second];
        zone.min_x = std::min(zone.min_x, x);
        zone.max_x = std::max(zone.max_x, x + length - 1);
        zone.max_y = y;
    }

    std::vector<LabelZone> m_zones; ///< in the order of their first elements
    std::unordered_map<std::int32_t, std::size_t> m_numbers;
    std::int32_t m_largest = 0;
};

/// Adds the elements of a row from column `x` on, one by one as single precision rounds.
void AddElements(StSums& sums, std::int64_t x, std::int64_t y, std::int64_t length) {
    for (std::int64_t end = x + length; x < end; ++x) {
        sums.n += 1.0F;
        sums.x += static_cast<float>(x);
        sums.y += static_cast<float>(y);
        sums.xx += static_cast<float>(x * x);
        sums.xy += static_cast<float>(x * y);
        sums.yy += static_cast<float>(y * y);
    }
}

/// Adds a run of elements. As long as the sums stay integers that single precision holds exactly, in whatever order
/// they are added, the run is added at once.
void AddRun(StSums& sums, std::int64_t x, std::int64_t y, std::int64_t length) {
    constexpr double exact = 16777216.0; // 2^24
    const auto n = static_cast<double>(length);
    const auto first = static_cast<double>(x);
    const auto row = static_cast<double>(y);
    const double runX = n * first + n * (n - 1.0) / 2.0;
    const double runXX = n * first * first + first * n * (n - 1.0) + n * (n - 1.0) * (2.0 * n - 1.0) / 6.0;
    const std::array<double, 6> all{sums.n + n,      sums.x + runX,        sums.y + n * row,
                                    sums.xx + runXX, sums.xy + row * runX, sums.yy + n * row * row};
    if (*std::max_element(all.begin(), all.end()) > exact) {
        AddElements(sums, x, y, length);
        return;
    }
    sums = {static_cast<float>(all[0]), static_cast<float>(all[1]), static_cast<float>(all[2]),
            static_cast<float>(all[3]), static_cast<float>(all[4]), static_cast<float>(all[5])};
}

/// The larger eigenvalue of a region's covariance matrix over the smaller, each doubled, with 1 added below so that a
/// line stays finite: near 1 for a round region, larger for an elongated one. 0 without elements.
float Elongation(const StSums& sums) {
    if (!(sums.n > 0.0F)) {
        return 0.0F;
    }
    const float mx = sums.x / sums.n;
    const float my = sums.y / sums.n;
    const float vxx = sums.xx / sums.n - mx * mx;
    const float vxy = sums.xy / sums.n - my * mx;
    const float vyy = sums.yy / sums.n - my * my;
    const float r = std::sqrt(vxy * 4.0F * vxy + (vxx - vyy) * (vxx - vyy));
    return ((vyy + vxx) + r) / (((vxx + 1.0F) + vyy) - r);
}

void MeasureElongation(const float* labels, const StExtents& plane, CZones& zones) {
    ForEachZoneRun(labels, plane, [&](std::int32_t label, std::int64_t x, std::int64_t y, std::int64_t length) {
        // A fraction belongs to its label's box only.
        if (labels[x + plane.width * y] == static_cast<float>(label)) {
            LabelZone& zone = *zones.Find(label);
            AddRun(zone.sums, x - zone.min_x, y - zone.min_y, length);
        }
    });
    for (LabelZone& zone : zones.All()) {
        zone.value = Elongation(zone.sums);
    }
}

void SetImage(CValueMap& data, const char* key, CImage& image) {
    data.SetEntry(key, std::make_unique<CValuePointer<CImage>>(&image, 1));
}

std::unique_ptr<CImage> NewRegion(std::int64_t width, std::int64_t height) {
    return NewImage(IMAGE_GREY_F, CSize(std::max<std::int64_t>(width, 0), std::max<std::int64_t>(height, 0), 1));
}

/// Calls the plug-in and reads its answer: 0 if it leaves none.
float ComputeFeature(CPluginBase& plugin, std::int64_t index, CValueMap& data) {
    plugin.PrepareFeature(data);
    plugin.ComputeFeature(data);
    if (!data.HasEntry("Features")) {
        return 0.0F;
    }
    const CValueVector& features = *data.Entry("Features", true)->Vector();
    const CValue* feature = features.Size() > 0 ? features.Entry(static_cast<long long>(index), true) : nullptr;
    return feature == nullptr ? 0.0F : static_cast<float>(std::as_const(*feature).Double());
}

/// The mask of a zone: 1 where the plane holds its label exactly. A label that isn't there has an empty one.
std::unique_ptr<CImage> ZoneMask(const float* labels, const StExtents& plane, const LabelZone* zone) {
    if (zone == nullptr) {
        return NewRegion(0, 0);
    }
    auto mask = NewRegion(zone->Width(), zone->Height());
    auto* out = Elements<float>(*mask);
    for (std::int64_t y = zone->min_y; y <= zone->max_y; ++y) {
        const float* row = labels + plane.width * y;
        out = std::transform(row + zone->min_x, row + zone->max_x + 1, out,
                             [&](float element) { return element == static_cast<float>(zone->label) ? 1.0F : 0.0F; });
    }
    return mask;
}

/// What the two paths with a plug-in share.
struct StFeature {
    CPluginBase& plugin;
    std::int64_t index;
    bool verbose;
};

/// Measures masks alone: the plug-in gets each as the image, too.
void MeasureMasks(const float* labels, const StExtents& plane, const StFeature& feature, CZones& zones) {
    for (std::int32_t record = 0; record < zones.Largest(); ++record) {
        LabelZone* zone = zones.Find(record + 1);
        const std::unique_ptr<CImage> mask = ZoneMask(labels, plane, zone);
        CValueMap data;
        SetImage(data, "image-0", *mask);
        SetImage(data, "image-mask", *mask);
        const float value = ComputeFeature(feature.plugin, feature.index, data);
        if (feature.verbose) {
            std::cout << value << '\n';
        }
        if (zone != nullptr) {
            zone->value = value;
        }
    }
}

/// How many data elements lie in a row under one label. The widths decide alone, the heights are taken to follow.
std::int64_t DataScale(std::int64_t dataWidth, const StExtents& labelPlane) {
    // Keeps places within 64 bits: data without elements may have any width.
    const std::int64_t largest = std::max({labelPlane.width, labelPlane.height, std::int64_t{1}});
    const std::int64_t most = std::numeric_limits<std::int64_t>::max() / largest;
    return std::min(TruncateTo64(static_cast<double>(dataWidth) / static_cast<double>(labelPlane.width) + 0.5), most);
}

/// A zone's box on the data image, which may be larger than the label image by a whole factor.
struct StRegion {
    std::int64_t x;
    std::int64_t y;
    std::int64_t width;
    std::int64_t height;
};

StRegion DataRegion(const LabelZone* zone, const StExtents& labelPlane, const StExtents& dataPlane,
                    std::int64_t scale) {
    // A label that isn't there keeps the box that widening starts from.
    const LabelZone absent{0, labelPlane.width, 0, labelPlane.height, 0};
    const LabelZone& box = zone == nullptr ? absent : *zone;
    StRegion region{box.min_x * scale, box.min_y * scale, box.Width() * scale, box.Height() * scale};
    region.width = std::min(region.width, dataPlane.width - region.x);
    region.height = std::min(region.height, dataPlane.height - region.y);
    return region;
}

std::unique_ptr<CImage> DataImage(const float* data, const StExtents& plane, const StRegion& region) {
    auto image = NewRegion(region.width, region.height);
    if (!IsEmpty(*image)) {
        CopyCuboid(data + region.x + plane.width * region.y, plane, Elements<float>(*image), Extents(*image),
                   Extents(*image));
    }
    return image;
}

/// The mask of a zone at the data's size. It divides the linear index by the scale, not its two coordinates, so that
/// only the scale 1 gives the exact mask: features were always measured under this one. Indices past the first slice
/// reach the next ones; those past the labels' end count as 0.
std::unique_ptr<CImage> ScaledMask(const CImage& labelImage, std::int32_t label, const StRegion& region,
                                   std::int64_t scale) {
    auto mask = NewRegion(region.width, region.height);
    if (IsEmpty(*mask)) {
        return mask;
    }
    auto* out = Elements<float>(*mask);
    const auto* labels = Elements<float>(labelImage);
    const auto [width, height, depth] = Extents(labelImage);
    const std::int64_t end = width * height * depth;
    for (std::int64_t y = 0; y < region.height; ++y) {
        const std::int64_t base = width * (region.y + y) + region.x;
        for (std::int64_t x = 0; x < region.width; ++x) {
            const std::int64_t index = (base + x) / scale;
            *out++ = index < end && labels[index] == static_cast<float>(label) ? 1.0F : 0.0F;
        }
    }
    return mask;
}

/// Measures the data under the zones of a label image. One map serves all zones: what a plug-in leaves in it stays
/// there for the next zone.
void MeasureData(const CImage& dataImage, const CImage& labelImage, const StFeature& feature, CZones& zones) {
    const StExtents dataPlane = Extents(dataImage);
    const StExtents plane = Extents(labelImage);
    CValueMap data;
    if (feature.verbose) {
        std::cout << "zone count " << zones.Largest() << '\n';
    }
    const std::int64_t scale = DataScale(dataPlane.width, plane);
    for (std::int32_t record = 0; record < zones.Largest(); ++record) {
        LabelZone* zone = zones.Find(record + 1);
        const StRegion region = DataRegion(zone, plane, dataPlane, scale);
        if (feature.verbose) {
            std::cout << "scale " << scale << '\n' << "w " << region.width << '\n' << "h " << region.height << '\n';
        }
        const auto image = DataImage(Elements<float>(dataImage), dataPlane, region);
        const auto mask = ScaledMask(labelImage, record + 1, region, scale);
        SetImage(data, "image-0", *image);
        SetImage(data, "image-mask", *mask);
        const float value = ComputeFeature(feature.plugin, feature.index, data);
        if (zone != nullptr) {
            zone->value = value;
        }
    }
}

/// Writes each zone's value over the elements that hold its label exactly.
void WriteValues(const float* labels, const StExtents& plane, CZones& zones, float* out) {
    ForEachZoneRun(labels, plane, [&](std::int32_t label, std::int64_t x, std::int64_t y, std::int64_t length) {
        const std::int64_t first = x + plane.width * y;
        if (labels[first] == static_cast<float>(label)) {
            std::fill_n(out + first, length, zones.Find(label)->value);
        }
    });
}

/// The zone whose label is exactly the value of `zone` and comes later; null without one.
LabelZone* NextInCascade(CZones& zones, const LabelZone& zone) {
    const std::int32_t label = ZoneLabel(zone.value);
    return label > zone.label && zone.value == static_cast<float>(label) ? zones.Find(label) : nullptr;
}

/// Zones are written in the order of their labels over one and the same image: an element that has got a value equal to
/// a later label, within that label's box, becomes that label's value in its turn.
void WriteCascadingValues(const float* labels, const StExtents& plane, CZones& zones, float* out) {
    WriteValues(labels, plane, zones, out);
    if (std::none_of(zones.All().begin(), zones.All().end(),
                     [&](const LabelZone& zone) { return NextInCascade(zones, zone) != nullptr; })) {
        return;
    }
    ForEachZoneRun(labels, plane, [&](std::int32_t label, std::int64_t x, std::int64_t y, std::int64_t length) {
        const LabelZone* zone = zones.Find(label);
        if (labels[x + plane.width * y] != static_cast<float>(label) || NextInCascade(zones, *zone) == nullptr) {
            return;
        }
        for (std::int64_t end = x + length; x < end; ++x) {
            const LabelZone* last = zone;
            for (const LabelZone* next = NextInCascade(zones, *last); next != nullptr && next->Holds(x, y);
                 next = NextInCascade(zones, *last)) {
                last = next;
            }
            out[x + plane.width * y] = last->value;
        }
    });
}

/// One image: labels and data are the same.
void LabelRegions(const CImage& labelImage, CPluginBase* plugin, std::int64_t index, bool verbose, CImage& output) {
    const auto* labels = Elements<float>(labelImage);
    const StExtents plane = Extents(labelImage);
    CZones zones(labels, plane);
    if (plugin != nullptr) {
        MeasureMasks(labels, plane, {*plugin, index, verbose}, zones);
    } else {
        MeasureElongation(labels, plane, zones);
    }
    WriteCascadingValues(labels, plane, zones, Elements<float>(output));
}

/// Two images: the data under each label.
void LabelRegionByFeature(const CImage& dataImage, const CImage& labelImage, CPluginBase* plugin, std::int64_t index,
                          bool verbose, CImage& output) {
    if (plugin == nullptr) {
        Fail("(manipulation plugins) LabelToFeature::LabelRegionByFeature", "no feature_plugin specified !");
    }
    const auto* labels = Elements<float>(labelImage);
    const StExtents plane = Extents(labelImage);
    CZones zones(labels, plane);
    MeasureData(dataImage, labelImage, {*plugin, index, verbose}, zones);
    WriteValues(labels, plane, zones, Elements<float>(output));
}

/// A plane that the extents promise must be there.
void RequireSlice(const CImage& image) {
    if (image.Size().z < 1 && image.Size().x > 0 && image.Size().y > 0) {
        Fail(kWhere, "the image has no slice");
    }
}

/// The first slice of a label image, without its attributes.
std::unique_ptr<CImage> CopyOfFirstSlice(const CImage& image) {
    auto copy = NewImage(image.Type(), CSize(image.Size().x, image.Size().y, 1));
    CopyElements(Elements<std::uint8_t>(image), Elements<std::uint8_t>(*copy),
                 static_cast<std::int64_t>(copy->Buffer().Size()));
    return copy;
}

} // namespace

void CPLabelToFeature::GetPluginSetup(CValueMap& setup) {
    CDescription description(setup, "LabelToFeature", "LabelImage");
    description.StringParameter("feature_plugin", "NULL");
    description.LongParameter("feature_index", 0);
    description.BoolParameter("verbose", false).Toggle();
    description.ImageInput("data");
    description.ImageInput("label");
    description.ImageOutput();
    description.Text(kText);
}

void CPLabelToFeature::LoadFeaturePlugin(const CString& path) {
    const std::string file = CStringTools::UnwrapEnvVars(path);
    if (file == "NULL") {
        return; // a plug-in that was loaded before stays
    }
    std::unique_ptr<IPluginObject> object(GetPluginObject(nullptr, file.c_str(), nullptr));
    feature_plugin.reset(dynamic_cast<CPluginBase*>(object.get()));
    if (!feature_plugin) {
        Fail("LabelToFeature::NodeInit", "The provided feature plugin is not a subclass of CPluginBase");
    }
    static_cast<void>(object.release()); // the field is the owner now
}

void CPLabelToFeature::NodeInit() {
    if (Parameters().HasEntry("feature_plugin")) {
        LoadFeaturePlugin(Parameters().EntryString("feature_plugin", "NULL"));
    }
    if (Parameters().HasEntry("feature_index")) {
        feature_index = Parameters().EntryLong("feature_index");
        if (feature_index < 0) {
            std::cout << "Parameter feature_index is smaller than 0, setting it to 0." << '\n';
            feature_index = 0;
        }
    }
    verbose = Parameters().EntryBool("verbose", false);
}

void CPLabelToFeature::Run() {
    const CImage& input = RequireInput(*this, 0, kWhere, "input image is NULL");
    RequireType(input, {IMAGE_GREY_F}, kWhere, "input image is not of type IMAGE_GREY_F");
    const bool hasLabels = HasStackInput(1) && GetStackInput(1, false) != nullptr;
    const CImage& labels = hasLabels ? RequireInput(*this, 1, kWhere, "input image is NULL") : input;
    RequireType(labels, {IMAGE_GREY_F}, kWhere, "label image is not of type IMAGE_GREY_F");
    RequireSlice(input);
    RequireSlice(labels);

    std::unique_ptr<CImage> output = CopyOfFirstSlice(labels);
    if (hasLabels) {
        LabelRegionByFeature(input, labels, feature_plugin.get(), feature_index, verbose, *output);
    } else {
        LabelRegions(input, feature_plugin.get(), feature_index, verbose, *output);
    }
    SetOutputs(*this, WrapImage(std::move(output)));
}

} // namespace QUOR
