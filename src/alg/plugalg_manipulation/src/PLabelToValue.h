#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Replaces every element of a label image by an entry of a look-up table.
class CPLabelToValue : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    bool ignore_zero = false;
};

} // namespace QUOR
