#pragma once

#include "base/String.h"
#include "plugin/Node.h"

namespace QUOR {

/// Joins two images along one of their axes.
class CPAppend : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString along = "X";
    double background_value = 0.0;
};

} // namespace QUOR
