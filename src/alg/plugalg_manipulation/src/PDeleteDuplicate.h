#pragma once

#include "plugin/Node.h"

namespace QUOR {

/// Removes repeated rows or columns of an image and counts them.
class CPDeleteDuplicate : public CPNode {
public:
    void GetPluginSetup(CValueMap& setup) override;
    void NodeInit() override;
    void Run() override;

private:
    CString along = "X";
    CString size_count = "SIZE_OF_INPUT";
    bool verbose = false;
};

} // namespace QUOR
