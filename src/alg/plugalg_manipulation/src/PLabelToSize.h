#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Replaces every label of a label image by the number of elements that carry it.
class CPLabelToSize : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
