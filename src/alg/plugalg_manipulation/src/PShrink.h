#pragma once

#include "base/String.h"
#include "plugin/Node.h"

namespace QUOR {

/// Halves an image in each direction.
class CPShrink : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int32_t done = 0;
    bool run_once = false;
    CString mode = "SKIP";
};

} // namespace QUOR
