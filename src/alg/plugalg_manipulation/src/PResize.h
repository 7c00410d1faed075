#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Gives a plane a new size, by factors or by the size of another image.
class CPResize : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    double scale_x = 1;
    double scale_y = 1;
    bool keep_ratio = false;
    CString shrink_method;
};

} // namespace QUOR
