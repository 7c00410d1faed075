#pragma once

#include "base/String.h"
#include "plugin/Node.h"

namespace QUOR {

/// Cuts an image in two along one of its axes.
class CPSplit : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString along = "X";
    float split_ratio = 0.5F;
};

} // namespace QUOR
