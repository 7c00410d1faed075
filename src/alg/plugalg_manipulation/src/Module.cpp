// The four functions that the module shows to a host.

#include "PCartesianToPolar.h"
#include "PFlip.h"
#include "PPolarToCartesian.h"
#include "PReorient.h"
#include "PRotate.h"
#include "Value/ValueScalar.h"
#include "Value/ValueVector.h"
#include "plugin/Node.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string_view>

using namespace QUOR;

#define MANI_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

/// One row of the table of nodes.
struct StNode {
    const char* name;
    IPluginObject* (*create)(); ///< null for a node that isn't built
};

template <class Node> IPluginObject* Create() { return new Node; }

/// All nodes, in the order in which they are listed.
constexpr std::array<StNode, 31> kNodes{{
    {"Flip", &Create<CPFlip>},
    {"Emplace", nullptr},
    {"Extract", nullptr},
    {"Border", nullptr},
    {"Shrink", nullptr},
    {"Translate", nullptr},
    {"Expand", nullptr},
    {"VolumeToPlane", nullptr},
    {"PlaneToVolume", nullptr},
    {"SelectRays", nullptr},
    {"SwitchAxes", nullptr},
    {"LabelToValue", nullptr},
    {"Append", nullptr},
    {"Rotate", &Create<CPRotate>},
    {"Resize", nullptr},
    {"Resample", nullptr},
    {"Autocrop", nullptr},
    {"ComposeImage", nullptr},
    {"CartesianToPolar", &Create<CPCartesianToPolar>},
    {"PolarToCartesian", &Create<CPPolarToCartesian>},
    {"LabelToColor", nullptr},
    {"LabelToSize", nullptr},
    {"LabelToFeature", nullptr},
    {"Reorient", &Create<CPReorient>},
    {"Pad", nullptr},
    {"Serialize", nullptr},
    {"Deserialize", nullptr},
    {"Scale", nullptr},
    {"Split", nullptr},
    {"Replicate", nullptr},
    {"DeleteDuplicate", nullptr},
}};

/// When the module was loaded, in seconds since 1970.
std::int64_t g_loadingTimestamp = 0;

constexpr std::uint32_t kProcessAttach = 1;

} // namespace

/// A new node with default fields, which the caller owns. Null for a null or unknown name; names are compared exactly.
MANI_EXPORT IPluginObject* CreatePluginInstanceEx(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    for (const StNode& node : kNodes) {
        if (std::string_view(name) == node.name) {
            return node.create == nullptr ? nullptr : node.create();
        }
    }
    return nullptr;
}

/// The names of all nodes as a new vector of texts, which the caller owns.
MANI_EXPORT CValueVector* ListPlugins() {
    auto names = std::make_unique<CValueVector>();
    for (int index = 0; index < static_cast<int>(kNodes.size()); ++index) {
        names->SetEntry(index, new CValueString(CString(kNodes[static_cast<std::size_t>(index)].name)));
    }
    return names.release();
}

/// When the module was loaded, in seconds since 1970.
MANI_EXPORT std::int64_t get_loading_timestamp() { return g_loadingTimestamp; }

/// What a loader tells the module: of its calls only the attachment to a process counts.
MANI_EXPORT int DllMain(void* /*module*/, std::uint32_t reason, void* /*reserved*/) {
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
