#include "plugin/PluginObject.h"

namespace QUOR {

IPluginObject::~IPluginObject() = default;

void IPluginObject::GetPluginSetup(CValueMap& /*setup*/) {}

void IPluginObject::Init(const CValueMap* /*parameters*/) {}

bool IPluginObject::TestInterface(const CString& name) { return name == "IPluginObject" || name == "IObject"; }

} // namespace QUOR
