#pragma once

#include "base/String.h"
#include "base/Types.h"

#include <memory>
#include <typeinfo>

namespace QUOR {

class CValueMap;
class CValueVector;
class CValuePointerBase;

/// A value of one of seven kinds: boolean, integer, floating, text, map, vector or pointer.
///
/// The accessors of a kind (`Bool`, `Long`, ...) raise a `CException` on a value of another kind, unless the kind's
/// own class says otherwise. Every value carries a map of side information, `Meta()`, empty at first.
class VESSA_API CValue {
public:
    CValue();
    CValue(const CValue&) = delete; // values are copied with Clone and Copy, which say what becomes of a pointee
    CValue& operator=(const CValue&) = delete;
    virtual ~CValue();

    virtual bool& Bool();
    virtual bool Bool() const;
    virtual QUOR::Long Long() const;
    virtual QUOR::Long& Long();
    virtual double Double() const;
    virtual double& Double();
    virtual const CString& String() const;
    virtual CString& String();
    virtual const CValueMap* Map() const;
    virtual CValueMap* Map();
    virtual const CValueVector* Vector() const;
    virtual CValueVector* Vector();
    virtual const CValuePointerBase* Pointer() const;
    virtual CValuePointerBase* Pointer();

    /// A new value of the same kind, data and side information, which the caller owns. Raises a `CException` if the
    /// object behind a pointer must be copied and can't be, or if there are several.
    virtual CValue* Clone(EnTfOwnership ownership) const = 0;
    /// Takes over the data of a value of the same kind, and its side information if `withMeta`.
    /// Raises a `CException` and changes nothing if the kinds differ.
    virtual CValue& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) = 0;
    /// Takes data and side information out of a value of the same kind, which is left empty.
    /// Raises a `CException` and changes nothing if the kinds differ.
    virtual CValue& Move(CValue& other) = 0;

    /// Same kind, same data and same side information.
    virtual bool Equal(const CValue& other) const;
    /// Same kind and same data. Pointers are equal if they point to the same object.
    virtual bool EqualData(const CValue& other) const = 0;

    /// The exact class.
    virtual const std::type_info& Type() const = 0;
    virtual EnValType GenericType() const = 0;
    /// The class of what the value holds: of the pointee for a pointer.
    virtual const std::type_info& ElementType() const = 0;

    /// True for a pointer that borrows its object.
    virtual bool IsLink() const;
    /// False for a pointer without an object.
    virtual bool IsValid() const;

    virtual const CValueMap& Meta() const;
    virtual CValueMap& Meta();

    /// Sets a text value to the `length` bytes at `text`; `CString::NPOS` means up to the terminating NUL.
    virtual void SetString(const char* text, std::size_t length);

    /// The address of the data: of the pointee for a pointer.
    virtual const void* VoidPointer() const = 0;
    virtual void* VoidPointer() = 0;

protected:
    /// Raises a `CException` if `other` is of another kind.
    void RequireSameKind(const CValue& other) const;
    void CopyMeta(const CValue& other, EnTfOwnership ownership);
    void MoveMeta(CValue& other);

private:
    std::unique_ptr<CValueMap> m_meta; // made when first written
};

/// The name of a generic kind as it stands in messages, as in "a map".
VESSA_API const char* KindName(EnValType kind);

} // namespace QUOR
