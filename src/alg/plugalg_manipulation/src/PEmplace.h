#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Places a window of a patch image into a base image.
class CPEmplace : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
