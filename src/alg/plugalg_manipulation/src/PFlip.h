#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Mirrors an image along any of its axes.
class CPFlip : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    bool flip_x = false;
    bool flip_y = false;
    bool flip_z = false;
};

} // namespace QUOR
