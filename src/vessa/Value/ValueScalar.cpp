#include "Value/ValueScalar.h"

#include "Clone.h"

#include <utility>

namespace QUOR {

CValueBool::~CValueBool() = default;

CValueBool* CValueBool::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueBool& CValueBool::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    const auto data = other.Bool(); // `other` may lie in the side information that is replaced
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_value = data;
    return *this;
}

CValueBool& CValueBool::Move(CValue& other) {
    RequireSameKind(other);
    m_value = std::exchange(other.Bool(), false);
    MoveMeta(other);
    return *this;
}

bool CValueBool::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::Bool && other.Bool() == m_value;
}

const std::type_info& CValueBool::Type() const { return typeid(CValueBool); }

const std::type_info* CValueBool::TypeId() { return &typeid(CValueBool); }

CValueLong::~CValueLong() = default;

CValueLong* CValueLong::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueLong& CValueLong::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    const auto data = other.Long(); // `other` may lie in the side information that is replaced
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_value = data;
    return *this;
}

CValueLong& CValueLong::Move(CValue& other) {
    RequireSameKind(other);
    m_value = std::exchange(other.Long(), 0);
    MoveMeta(other);
    return *this;
}

bool CValueLong::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::Long && other.Long() == m_value;
}

const std::type_info& CValueLong::Type() const { return typeid(CValueLong); }

const std::type_info* CValueLong::TypeId() { return &typeid(CValueLong); }

CValueDouble::~CValueDouble() = default;

CValueDouble* CValueDouble::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueDouble& CValueDouble::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    const auto data = other.Double(); // `other` may lie in the side information that is replaced
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_value = data;
    return *this;
}

CValueDouble& CValueDouble::Move(CValue& other) {
    RequireSameKind(other);
    m_value = std::exchange(other.Double(), 0.0);
    MoveMeta(other);
    return *this;
}

bool CValueDouble::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::Double && other.Double() == m_value;
}

const std::type_info& CValueDouble::Type() const { return typeid(CValueDouble); }

const std::type_info* CValueDouble::TypeId() { return &typeid(CValueDouble); }

CValueString::~CValueString() = default;

CValueString* CValueString::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueString& CValueString::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    CString text = other.String();
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_value = std::move(text);
    return *this;
}

CValueString& CValueString::Move(CValue& other) {
    RequireSameKind(other);
    m_value = std::exchange(other.String(), CString());
    MoveMeta(other);
    return *this;
}

bool CValueString::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::String && other.String() == m_value;
}

const std::type_info& CValueString::Type() const { return typeid(CValueString); }

const std::type_info* CValueString::TypeId() { return &typeid(CValueString); }

void CValueString::SetString(const char* text, std::size_t length) { m_value = CString(text, length); }

} // namespace QUOR
