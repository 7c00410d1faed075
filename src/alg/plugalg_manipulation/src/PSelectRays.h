#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Packs the marked rays of a volume, its lines along z, into an image of width 1.
class CPSelectRays : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
