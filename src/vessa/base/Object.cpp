#include "base/Object.h"

namespace QUOR {

IObject::~IObject() = default;

void IObject::SetInstance(const char* name) { m_instance = name == nullptr ? "" : name; }

IVectorizable::~IVectorizable() = default;

} // namespace QUOR
