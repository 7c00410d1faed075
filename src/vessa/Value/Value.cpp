#include "Value/Value.h"

#include "Value/ValueMap.h"
#include "base/Exception.h"

namespace QUOR {

namespace {

[[noreturn]] void RaiseNoAccess(const CValue& value, EnValType wanted) {
    CString message("the value is %1 and can't be used as %2");
    message.Arg(KindName(value.GenericType())).Arg(KindName(wanted));
    throw CException("CValue", message, nullptr);
}

} // namespace

const char* KindName(EnValType kind) {
    switch (kind) {
    case EnValType::Bool:
        return "a boolean";
    case EnValType::Double:
        return "a floating number";
    case EnValType::Long:
        return "an integer";
    case EnValType::Map:
        return "a map";
    case EnValType::String:
        return "a text";
    case EnValType::Pointer:
        return "a pointer";
    case EnValType::Vector:
        return "a vector";
    }
    return "of no known kind";
}

CValue::CValue() = default;

CValue::~CValue() = default;

bool& CValue::Bool() { RaiseNoAccess(*this, EnValType::Bool); }

bool CValue::Bool() const { RaiseNoAccess(*this, EnValType::Bool); }

Long CValue::Long() const { RaiseNoAccess(*this, EnValType::Long); }

Long& CValue::Long() { RaiseNoAccess(*this, EnValType::Long); }

double CValue::Double() const { RaiseNoAccess(*this, EnValType::Double); }

double& CValue::Double() { RaiseNoAccess(*this, EnValType::Double); }

const CString& CValue::String() const { RaiseNoAccess(*this, EnValType::String); }

CString& CValue::String() { RaiseNoAccess(*this, EnValType::String); }

const CValueMap* CValue::Map() const { RaiseNoAccess(*this, EnValType::Map); }

CValueMap* CValue::Map() { RaiseNoAccess(*this, EnValType::Map); }

const CValueVector* CValue::Vector() const { RaiseNoAccess(*this, EnValType::Vector); }

CValueVector* CValue::Vector() { RaiseNoAccess(*this, EnValType::Vector); }

const CValuePointerBase* CValue::Pointer() const { RaiseNoAccess(*this, EnValType::Pointer); }

CValuePointerBase* CValue::Pointer() { RaiseNoAccess(*this, EnValType::Pointer); }

bool CValue::Equal(const CValue& other) const { return EqualData(other) && Meta().EqualData(other.Meta()); }

bool CValue::IsLink() const { return false; }

bool CValue::IsValid() const { return true; }

const CValueMap& CValue::Meta() const {
    static const CValueMap empty;
    return m_meta ? *m_meta : empty;
}

CValueMap& CValue::Meta() {
    if (!m_meta) {
        m_meta = std::make_unique<CValueMap>();
    }
    return *m_meta;
}

void CValue::SetString(const char* /*text*/, std::size_t /*length*/) { RaiseNoAccess(*this, EnValType::String); }

void CValue::RequireSameKind(const CValue& other) const {
    if (other.GenericType() != GenericType()) {
        RaiseNoAccess(other, GenericType());
    }
}

void CValue::CopyMeta(const CValue& other, EnTfOwnership ownership) {
    if (&other != this) {
        m_meta.reset(other.m_meta ? other.m_meta->Clone(ownership) : nullptr);
    }
}

void CValue::MoveMeta(CValue& other) {
    if (&other != this) {
        m_meta = std::move(other.m_meta);
    }
}

} // namespace QUOR
