#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Shifts an image's content by whole elements within its canvas.
class CPTranslate : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int64_t offset_x = 0;
    std::int64_t offset_y = 0;
    std::int64_t offset_z = 0;
    double bg_value = 0.0;
    std::int32_t done = 0;
    bool run_once = false;
    bool wrap = false;
};

} // namespace QUOR
