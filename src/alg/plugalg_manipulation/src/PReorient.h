#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Turns an image so that the main direction of the data in a second image meets the nearest axis.
class CPReorient : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    double bg_value = 0.0;
    bool resize = false;
    bool verbose = false;
};

} // namespace QUOR
