#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Gives the axes of an image another order.
class CPSwitchAxes : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString axes = "XYZ";
};

} // namespace QUOR
