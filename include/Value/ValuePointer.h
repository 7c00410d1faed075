#pragma once

#include "Value/Value.h"
#include "base/Exception.h"
#include "image/Image.h"

#include <type_traits>

namespace QUOR {

/// A pointer to an object of any class.
class VESSA_API CValuePointerBase : public CValue {
public:
    ~CValuePointerBase() override;

    const CValuePointerBase* Pointer() const override { return this; }
    CValuePointerBase* Pointer() override { return this; }
    bool EqualData(const CValue& other) const override;
    EnValType GenericType() const override { return EnValType::Pointer; }
    bool IsValid() const override { return Void() != nullptr; }
    const void* VoidPointer() const override { return Void(); }
    void* VoidPointer() override { return Void(); }

    /// The address of the pointee, null without one.
    virtual const void* Void() const = 0;
    virtual void* Void() = 0;
    /// A new value that borrows the same object; the caller owns the value.
    virtual CValuePointerBase* CloneNonOwned() const = 0;

    /// Raises a `CException` with `location` unless `value` is a pointer to an object of the class `type`.
    static void CheckTypeAndRaiseException(const StExLocation& location, const CValue* value,
                                           const std::type_info& type);

    /// Raises the `CException` of a pointer value that cannot take over another one's object.
    [[noreturn]] static void RaiseNotCopyable(const std::type_info& type);
};

template <class T> class VESSA_API CValueOwnedPointer;

/// A pointer that borrows its object, which must outlive it.
template <class T> class VESSA_API CValuePointer : public CValuePointerBase {
public:
    /// `count` is the number of objects at `object`.
    explicit CValuePointer(T* object = nullptr, std::size_t count = 1) : m_object(object), m_count(count) {}

    CValue* Clone(EnTfOwnership ownership) const override;
    /// Borrows the object of `other`, or for `EnTfOwnership::Copy` into an owning pointer, owns a copy of it.
    /// A borrowing pointer cannot own, so that it borrows in either mode.
    CValuePointer& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    /// An owner among `other` keeps its object, which this pointer borrows then.
    CValuePointer& Move(CValue& other) override;
    const std::type_info& Type() const override { return typeid(CValuePointer); }
    const std::type_info& ElementType() const override { return typeid(T); }
    bool IsLink() const override { return m_object != nullptr; }

    const void* Void() const override { return m_object; }
    void* Void() override { return m_object; }
    CValuePointer<T>* CloneNonOwned() const override { return new CValuePointer<T>(m_object, m_count); }

    std::size_t Count() const { return m_count; }

    static const std::type_info* TypeId() { return &typeid(CValuePointer); }

protected:
    static T* CopyOf(const T* object, std::size_t count);
    /// `other` as a pointer to the same class; raises a `CException` if it is none.
    static const CValuePointer& SameClass(const CValue& other);

    T* m_object;
    std::size_t m_count;
};

/// A pointer that owns its object and frees it with itself. Null is allowed.
template <class T> class VESSA_API CValueOwnedPointer : public CValuePointer<T> {
public:
    /// Takes `count` objects: from `new` if it is 1, else from `new[]`.
    explicit CValueOwnedPointer(T* object = nullptr, std::size_t count = 1) : CValuePointer<T>(object, count) {}
    ~CValueOwnedPointer() override { Free(); }

    CValueOwnedPointer& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueOwnedPointer& Move(CValue& other) override;
    const std::type_info& Type() const override { return typeid(CValueOwnedPointer); }
    bool IsLink() const override { return false; }

    static const std::type_info* TypeId() { return &typeid(CValueOwnedPointer); }

private:
    void Free();
    void Replace(T* object, std::size_t count);
};

/// The lines that the failures of `UnwrapPointer` name. Hosts know these failures by them, wherever the functions
/// stand.
/// @{
inline constexpr int kUnwrapLine = 727;
inline constexpr int kUnwrapConstLine = 744;
/// @}

/// The image, or another object of the class `T`, behind a value; null for a null value and for a pointer without an
/// object. Raises a `CException` if the value is no pointer to a `T`.
/// @{
template <class T> T* UnwrapPointer(CValue* value) {
    if (value == nullptr) {
        return nullptr;
    }
    const StExLocation location(VESSA_BUILD_STAMP, "include/Value/ValuePointer.h", __PRETTY_FUNCTION__, kUnwrapLine,
                                nullptr);
    CValuePointerBase::CheckTypeAndRaiseException(location, value, typeid(T));
    return static_cast<T*>(value->Pointer()->Void());
}

template <class T> const T* UnwrapPointer(const CValue* value) {
    if (value == nullptr) {
        return nullptr;
    }
    const StExLocation location(VESSA_BUILD_STAMP, "include/Value/ValuePointer.h", __PRETTY_FUNCTION__,
                                kUnwrapConstLine, nullptr);
    CValuePointerBase::CheckTypeAndRaiseException(location, value, typeid(T));
    return static_cast<const T*>(value->Pointer()->Void());
}
/// @}

template <class T> CValue* CValuePointer<T>::Clone(EnTfOwnership ownership) const {
    std::unique_ptr<CValuePointer> clone;
    if (ownership == EnTfOwnership::Copy) {
        std::unique_ptr<CValueOwnedPointer<T>> owned(new CValueOwnedPointer<T>(nullptr, m_count));
        owned->Copy(*this, ownership, true);
        clone = std::move(owned);
    } else {
        clone.reset(CloneNonOwned());
        clone->CopyMeta(*this, ownership);
    }
    return clone.release();
}

template <class T>
CValuePointer<T>& CValuePointer<T>::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    const CValuePointer& source = SameClass(other);
    m_object = source.m_object;
    m_count = source.m_count;
    if (withMeta) {
        this->CopyMeta(other, ownership); // at last, since `other` may lie in the side information
    }
    return *this;
}

template <class T> CValuePointer<T>& CValuePointer<T>::Move(CValue& other) {
    auto& source = const_cast<CValuePointer&>(SameClass(other)); // not const where it came from
    if (&source != this) {
        m_object = source.m_object;
        m_count = source.m_count;
        if (source.IsLink()) {
            source.m_object = nullptr;
        }
        this->MoveMeta(other);
    }
    return *this;
}

template <class T> const CValuePointer<T>& CValuePointer<T>::SameClass(const CValue& other) {
    const auto* source = dynamic_cast<const CValuePointer*>(&other);
    if (source == nullptr) {
        CValuePointerBase::RaiseNotCopyable(typeid(T));
    }
    return *source;
}

template <class T> T* CValuePointer<T>::CopyOf(const T* object, std::size_t count) {
    if (object == nullptr) {
        return nullptr;
    }
    if constexpr (std::is_copy_constructible_v<T>) {
        if (count == 1) {
            return new T(*object);
        }
    }
    CValuePointerBase::RaiseNotCopyable(typeid(T));
}

template <class T>
CValueOwnedPointer<T>& CValueOwnedPointer<T>::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    const auto& source = CValuePointer<T>::SameClass(other);
    if (&source == this) {
        return *this;
    }
    // An owner cannot borrow, so that the object is copied whatever the mode.
    std::unique_ptr<T> copy(CValuePointer<T>::CopyOf(static_cast<const T*>(source.Void()), source.Count()));
    const std::size_t count = source.Count(); // `other` may lie in the side information that is replaced
    if (withMeta) {
        this->CopyMeta(other, ownership);
    }
    Replace(copy.release(), count);
    return *this;
}

template <class T> CValueOwnedPointer<T>& CValueOwnedPointer<T>::Move(CValue& other) {
    if (&other == this) {
        return *this;
    }
    auto* source = dynamic_cast<CValueOwnedPointer*>(&other);
    if (source == nullptr) {
        CValuePointerBase::RaiseNotCopyable(typeid(T));
    }
    T* object = std::exchange(source->m_object, nullptr);
    const std::size_t count = source->m_count;
    this->MoveMeta(other);
    Replace(object, count); // at last, since `other` may lie in the object
    return *this;
}

template <class T> void CValueOwnedPointer<T>::Free() {
    if (this->m_count == 1) {
        delete this->m_object;
    } else {
        delete[] this->m_object;
    }
}

template <class T> void CValueOwnedPointer<T>::Replace(T* object, std::size_t count) {
    Free();
    this->m_object = object;
    this->m_count = count;
}

// The pointers to images live in the library, so that all plug-ins share one class each.
extern template class CValuePointer<CImage>;
extern template class CValueOwnedPointer<CImage>;

} // namespace QUOR
