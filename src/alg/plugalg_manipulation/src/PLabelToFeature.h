#pragma once

#include "plugin/Node.h"
#include "plugin/PluginBase.h"

namespace QUOR {

/// Replaces every label of a label image by a number that a feature plug-in, or a built-in measure, finds for its
/// region.
class CPLabelToFeature : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    void LoadFeaturePlugin(const CString& path);

    std::unique_ptr<CPluginBase> feature_plugin;
    std::int64_t feature_index = 0;
    bool verbose = false;
};

} // namespace QUOR
