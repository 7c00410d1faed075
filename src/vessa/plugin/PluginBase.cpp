#include "plugin/PluginBase.h"

namespace QUOR {

CPluginBase::~CPluginBase() = default;

bool CPluginBase::TestInterface(const CString& name) {
    return name == "CPluginBase" || IPluginObject::TestInterface(name);
}

void CPluginBase::PrepareFeature(CValueMap& /*data*/) {}

} // namespace QUOR
