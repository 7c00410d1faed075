#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Lays the elements of an image out as a vector along one axis.
class CPSerialize : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString direction = "Z";
};

} // namespace QUOR
