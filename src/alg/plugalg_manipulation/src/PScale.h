#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Scales or mirrors the content of an image about its centre.
class CPScale : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    double scale_x = 1;
    double scale_y = 1;
    double scale_z = 1;
    double bg_value = 0;
    int done = 0; ///< 1 after a successful run
    bool run_once = false;
};

} // namespace QUOR
