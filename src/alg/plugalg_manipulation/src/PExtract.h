#pragma once

#include "image/Image.h"
#include "plugin/Node.h"

namespace QUOR {

/// Cuts a rectangle or cuboid out of an image.
class CPExtract : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CBox Region(const CImage& input, const CValueMap* cropping) const;

    std::int64_t size_x = -1;
    std::int64_t size_y = -1;
    std::int64_t size_z = -1;
    std::int64_t offset_x = 0;
    std::int64_t offset_y = 0;
    std::int64_t offset_z = 0;
    std::int32_t done = 0;
    bool run_once = false;
};

} // namespace QUOR
