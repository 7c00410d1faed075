#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Folds an image of radii and angles back around a centre.
class CPPolarToCartesian : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    bool ignore_zero = false;
};

} // namespace QUOR
