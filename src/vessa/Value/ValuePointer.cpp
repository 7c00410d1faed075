#include "Value/ValuePointer.h"

#include "image/Image.h"

namespace QUOR {

CValuePointerBase::~CValuePointerBase() = default;

bool CValuePointerBase::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::Pointer && other.ElementType() == ElementType() &&
           other.VoidPointer() == Void();
}

void CValuePointerBase::CheckTypeAndRaiseException(const StExLocation& location, const CValue* value,
                                                   const std::type_info& type) {
    if (value != nullptr && value->GenericType() == EnValType::Pointer && value->ElementType() == type) {
        return;
    }
    const char* wanted = type == typeid(CImage) ? "an image" : type.name();
    const char* found = value == nullptr ? "missing" : KindName(value->GenericType());
    throw CException(location, CString("the value must be a pointer to %1, but is %2").Arg(wanted).Arg(found));
}

void CValuePointerBase::RaiseNotCopyable(const std::type_info& type) {
    const char* wanted = type == typeid(CImage) ? "an image" : type.name();
    throw CException("CValuePointer", CString("can't take over a value as a pointer to %1").Arg(wanted), nullptr);
}

template class CValuePointer<CImage>;
template class CValueOwnedPointer<CImage>;

} // namespace QUOR
