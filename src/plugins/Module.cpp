// The plug-ins of the library and the four functions that it shows to a host.

#include "Intensity.h"
#include "Shape.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <string_view>

using namespace QUOR;
using namespace QUOR::shapefeatures;

#define FEATURES_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

/// One row of the table of plug-ins.
struct StPlugin {
    const char* name;
    const char* brief;
    IPluginObject* (*create)(const StPlugin& plugin);
};

template <auto Features, std::size_t First, std::size_t Count> IPluginObject* Create(const StPlugin& plugin) {
    return new CFeatures(plugin.name, plugin.brief, Features().subspan(First, Count));
}

template <std::size_t First, std::size_t Count = 1> constexpr auto kShape = &Create<&ShapeFeatures, First, Count>;

template <std::size_t First, std::size_t Count = 1>
constexpr auto kIntensity = &Create<&IntensityFeatures, First, Count>;

/// All plug-ins, in the order in which they are listed. Each gives a part of a table of features.
constexpr std::array<StPlugin, 15> kPlugins{{
    {"Shape", "All features of a region's shape.", kShape<0, 14>},
    {"Intensity", "All features of the grey values under a region.", kIntensity<0, 4>},
    {"Area", "Area of a region.", kShape<0>},
    {"Centroid", "Centre of gravity of a region.", kShape<1, 2>},
    {"BoundingBox", "Upright box around a region.", kShape<3, 4>},
    {"Perimeter", "Length of a region's boundary.", kShape<7>},
    {"EquivalentDiameter", "Diameter of the circle with a region's area.", kShape<8>},
    {"Orientation", "Direction of a region's major axis.", kShape<9>},
    {"AxisLengths", "Axes of the ellipse with a region's second moments.", kShape<10, 2>},
    {"Elongation", "Ratio of a region's axes.", kShape<12>},
    {"Convexity", "Part of its convex hull that a region fills.", kShape<13>},
    {"Mean", "Mean of the grey values under a region.", kIntensity<0>},
    {"StandardDeviation", "Standard deviation of the grey values under a region.", kIntensity<1>},
    {"Minimum", "Smallest grey value under a region.", kIntensity<2>},
    {"Maximum", "Largest grey value under a region.", kIntensity<3>},
}};

/// When the library was loaded, in seconds since 1970.
std::int64_t g_loadingTimestamp = 0;

constexpr std::uint32_t kProcessAttach = 1;

} // namespace

/// A new plug-in, which the caller owns. Null for a null or unknown name; names are compared exactly.
FEATURES_EXPORT IPluginObject* CreatePluginInstanceEx(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    for (const StPlugin& plugin : kPlugins) {
        if (std::string_view(name) == plugin.name) {
            return plugin.create(plugin);
        }
    }
    return nullptr;
}

/// The names of all plug-ins as a new vector of texts, which the caller owns.
FEATURES_EXPORT CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (const StPlugin& plugin : kPlugins) {
        names->PushBack(new CValueString(CString(plugin.name)));
    }
    return names.release();
}

/// When the library was loaded, in seconds since 1970.
FEATURES_EXPORT std::int64_t get_loading_timestamp() { return g_loadingTimestamp; }

/// What a loader tells the library: of its calls only the attachment to a process counts.
FEATURES_EXPORT int DllMain(void* /*module*/, std::uint32_t reason, void* /*reserved*/) {
    if (reason == kProcessAttach) {
        g_loadingTimestamp = static_cast<std::int64_t>(std::time(nullptr));
    }
    return 1;
}

#if !defined(_WIN32)
namespace {

// The loader here has no attach call of its own.
__attribute__((constructor)) void AttachToProcess() { DllMain(nullptr, kProcessAttach, nullptr); }

} // namespace
#endif
