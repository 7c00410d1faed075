#pragma once

#include "base/String.h"
#include "plugin/Node.h"

namespace QUOR {

/// Repeats an image along one of its axes.
class CPReplicate : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString along = "X";
    QUOR::Long count = 1;
};

} // namespace QUOR
