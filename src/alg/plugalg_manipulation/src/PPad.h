#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Puts an image on a larger canvas, with a margin of its own on each of the six sides.
class CPPad : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int64_t pad_left = 0;
    std::int64_t pad_right = 0;
    std::int64_t pad_top = 0;
    std::int64_t pad_bottom = 0;
    std::int64_t pad_front = 0;
    std::int64_t pad_back = 0;
    double value = 0.0;
};

} // namespace QUOR
