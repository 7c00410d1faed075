#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Lays the slices of a volume out side by side on one plane.
class CPVolumeToPlane : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int64_t slices_x = 1;
    std::int64_t slices_y = 0;
    double background_value = 0.0;
};

} // namespace QUOR
