#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Unrolls an image around its centre: columns become radii, rows become angles.
class CPCartesianToPolar : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
