#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Folds the elements of an image into a volume whose planes have the size of a second image.
class CPPlaneToVolume : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void Run() override;
};

} // namespace QUOR
