#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Cuts an image down to the bounding box of its elements that aren't zero.
class CPAutocrop : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
