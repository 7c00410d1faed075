#pragma once

#include "Value/Value.h"

namespace QUOR {

/// A boolean.
class VESSA_API CValueBool : public CValue {
public:
    explicit CValueBool(bool value = false) : m_value(value) {}
    ~CValueBool() override;

    bool& Bool() override { return m_value; }
    bool Bool() const override { return m_value; }
    CValueBool* Clone(EnTfOwnership ownership) const override;
    CValueBool& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueBool& Move(CValue& other) override;
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::Bool; }
    const std::type_info& ElementType() const override { return typeid(bool); }
    const void* VoidPointer() const override { return &m_value; }
    void* VoidPointer() override { return &m_value; }

    static const std::type_info* TypeId();

private:
    bool m_value;
};

/// A signed 32-bit integer, which can be read as a floating number too.
class VESSA_API CValueLong : public CValue {
public:
    explicit CValueLong(QUOR::Long value = 0) : m_value(value) {}
    ~CValueLong() override;

    QUOR::Long Long() const override { return m_value; }
    QUOR::Long& Long() override { return m_value; }
    double Double() const override { return m_value; }
    /// Refers to a copy, so that the number can be read through a value that isn't constant. Writing to it changes
    /// nothing.
    double& Double() override { return m_asDouble = m_value; }
    CValueLong* Clone(EnTfOwnership ownership) const override;
    CValueLong& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueLong& Move(CValue& other) override;
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::Long; }
    const std::type_info& ElementType() const override { return typeid(QUOR::Long); }
    const void* VoidPointer() const override { return &m_value; }
    void* VoidPointer() override { return &m_value; }

    static const std::type_info* TypeId();

private:
    QUOR::Long m_value;
    double m_asDouble = 0.0;
};

/// A floating number of double precision.
class VESSA_API CValueDouble : public CValue {
public:
    explicit CValueDouble(double value = 0.0) : m_value(value) {}
    ~CValueDouble() override;

    double Double() const override { return m_value; }
    double& Double() override { return m_value; }
    CValueDouble* Clone(EnTfOwnership ownership) const override;
    CValueDouble& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueDouble& Move(CValue& other) override;
    /// By value: a NaN is equal to nothing, zeros of both signs are equal.
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::Double; }
    const std::type_info& ElementType() const override { return typeid(double); }
    const void* VoidPointer() const override { return &m_value; }
    void* VoidPointer() override { return &m_value; }

    static const std::type_info* TypeId();

private:
    double m_value;
};

/// A text.
class VESSA_API CValueString : public CValue {
public:
    CValueString() = default;
    explicit CValueString(const CString& text) : m_value(text) {}
    /// The `length` bytes at `text`; `CString::NPOS` means up to the terminating NUL.
    CValueString(const char* text, std::size_t length) : m_value(text, length) {}
    ~CValueString() override;

    const CString& String() const override { return m_value; }
    CString& String() override { return m_value; }
    CValueString* Clone(EnTfOwnership ownership) const override;
    CValueString& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueString& Move(CValue& other) override;
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::String; }
    const std::type_info& ElementType() const override { return typeid(CString); }
    void SetString(const char* text, std::size_t length) override;
    const void* VoidPointer() const override { return &m_value; }
    void* VoidPointer() override { return &m_value; }

    static const std::type_info* TypeId();

private:
    CString m_value;
};

} // namespace QUOR
