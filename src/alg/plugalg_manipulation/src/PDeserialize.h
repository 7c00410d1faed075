#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Gives the elements of an image new extents.
class CPDeserialize : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::int64_t size_x = 0;
    std::int64_t size_y = 0;
    std::int64_t size_z = 0;
};

} // namespace QUOR
