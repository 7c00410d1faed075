#pragma once

#include "plugin/Node.h"

namespace QUOR::mani {

/// Cuts a border off an image, or puts one around it.
class CPBorder : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;

private:
    bool IsAborted() const;
};

} // namespace QUOR::mani
