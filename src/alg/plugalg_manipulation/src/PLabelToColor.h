#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Paints a label image with the colours of a cyclic table.
class CPLabelToColor : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    bool ignore_zero = false;
};

} // namespace QUOR
