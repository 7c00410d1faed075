#pragma once

#include "base/String.h"
#include "image/Size.h"
#include "plugin/Node.h"

#include <cstdint>

namespace QUOR {

/// Lays two images over one another on a canvas that holds both.
class CPComposeImage : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CSize Place(const CSize& first, const CSize& second);

    double shift_x = 0.0;
    double shift_y = 0.0;
    CString mode_x = "LEFT";
    CString mode_y = "TOP";
    CString mode_compose = "MEAN";
    double bg_value = 0.0;
    bool ignore_zero = false;
    CString parallelization = "NO PARALLELIZATION";

    // Canvas position x lies at position x + offset of an image. The offsets outlive a run, also one that fails.
    std::int64_t second_offset_x = 0;
    std::int64_t second_offset_y = 0;
    std::int64_t first_offset_x = 0;
    std::int64_t first_offset_y = 0;
};

} // namespace QUOR
