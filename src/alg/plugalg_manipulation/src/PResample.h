#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Warps an image by a displacement for each of its elements.
class CPResample : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    double bg_value = 0;
    CString interpolation = "NONE";
};

} // namespace QUOR
