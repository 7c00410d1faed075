#pragma once

#include "plugin/Node.h"

#include <memory>

namespace QUOR {

/// Turns each plane of an image clockwise about its centre.
class CPRotate : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    std::unique_ptr<CImage> Interpolated(const CImage& input) const;

    double angle = 0.0;
    double bg_value = 0.0;
    bool resize = false;
    CString method = "BILINEAR";
    bool verbose = false;
};

} // namespace QUOR
