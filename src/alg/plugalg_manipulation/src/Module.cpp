// The four functions that the module shows to a host.

#include "PAppend.h"
#include "PAutocrop.h"
#include "PBorder.h"
#include "PCartesianToPolar.h"
#include "PComposeImage.h"
#include "PDeleteDuplicate.h"
#include "PDeserialize.h"
#include "PEmplace.h"
#include "PExpand.h"
#include "PExtract.h"
#include "PFlip.h"
#include "PLabelToColor.h"
#include "PLabelToFeature.h"
#include "PLabelToSize.h"
#include "PLabelToValue.h"
#include "PPad.h"
#include "PPlaneToVolume.h"
#include "PPolarToCartesian.h"
#include "PReorient.h"
#include "PReplicate.h"
#include "PResample.h"
#include "PResize.h"
#include "PRotate.h"
#include "PScale.h"
#include "PSelectRays.h"
#include "PSerialize.h"
#include "PShrink.h"
#include "PSplit.h"
#include "PSwitchAxes.h"
#include "PTranslate.h"
#include "PVolumeToPlane.h"
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
    IPluginObject* (*create)();
};

template <class Node> IPluginObject* Create() { return new Node; }

/// All nodes, in the order in which they are listed.
constexpr auto kNodes = std::to_array<StNode>({
    {"Flip", &Create<CPFlip>},
    {"Emplace", &Create<CPEmplace>},
    {"Extract", &Create<CPExtract>},
    {"Border", &Create<mani::CPBorder>},
    {"Shrink", &Create<CPShrink>},
    {"Translate", &Create<CPTranslate>},
    {"Expand", &Create<CPExpand>},
    {"VolumeToPlane", &Create<CPVolumeToPlane>},
    {"PlaneToVolume", &Create<CPPlaneToVolume>},
    {"SelectRays", &Create<CPSelectRays>},
    {"SwitchAxes", &Create<CPSwitchAxes>},
    {"LabelToValue", &Create<CPLabelToValue>},
    {"Append", &Create<CPAppend>},
    {"Rotate", &Create<CPRotate>},
    {"Resize", &Create<CPResize>},
    {"Resample", &Create<CPResample>},
    {"Autocrop", &Create<CPAutocrop>},
    {"ComposeImage", &Create<CPComposeImage>},
    {"CartesianToPolar", &Create<CPCartesianToPolar>},
    {"PolarToCartesian", &Create<CPPolarToCartesian>},
    {"LabelToColor", &Create<CPLabelToColor>},
    {"LabelToSize", &Create<CPLabelToSize>},
    {"LabelToFeature", &Create<CPLabelToFeature>},
    {"Reorient", &Create<CPReorient>},
    {"Pad", &Create<CPPad>},
    {"Serialize", &Create<CPSerialize>},
    {"Deserialize", &Create<CPDeserialize>},
    {"Scale", &Create<CPScale>},
    {"Split", &Create<CPSplit>},
    {"Replicate", &Create<CPReplicate>},
    {"DeleteDuplicate", &Create<CPDeleteDuplicate>},
});

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
            return node.create();
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
