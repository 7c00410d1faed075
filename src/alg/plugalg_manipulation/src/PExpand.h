#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Doubles an image in each direction by repeating its elements.
class CPExpand : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int32_t done = 0;
    bool run_once = false;
};

} // namespace QUOR
