#pragma once

#include "Value/ValueContainer.h"

#include <vector>

namespace QUOR {

/// A sequence of owned values, addressed by the integer keys from 0. Slots can be empty.
class VESSA_API CValueVector : public CValueContainerBase {
public:
    CValueVector();
    ~CValueVector() override;

    const CValueVector* Vector() const override { return this; }
    CValueVector* Vector() override { return this; }
    CValueVector* Clone(EnTfOwnership ownership) const override;
    CValueVector& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueVector& Move(CValue& other) override;
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::Vector; }
    const std::type_info& ElementType() const override { return typeid(CValue); }
    const void* VoidPointer() const override { return this; }
    void* VoidPointer() override { return this; }

    CValue* Entry(const CValue_Key& key, bool required) const override;
    CValue* Entry(const CValue_Key& key, bool required) override;
    using CValueContainerBase::SetEntry;
    void SetEntry(const CValue_Key& key, CValue* value) override;
    bool HasEntry(const CValue_Key& key, EnValType kind) const override;
    bool HasEntry(const CValue_Key& key, const std::type_info& type) const override;
    bool HasEntry(const CValue_Key& key) const override;
    bool RemoveEntry(const CValue_Key& key) override;
    CValue* Detach(const CValue_Key& key) override;
    unsigned int Size() const override;
    CValue_Key Find(const char* text, const CValue_Key& after) override;
    CValue_Key Find(const CValue& value, const CValue_Key& after) override;

    /// Appends `value`, which the vector owns from then on, also on failure.
    virtual void PushBack(CValue* value);

    static const std::type_info* TypeId();

private:
    bool IsSlot(const CValue_Key& key) const;

    std::vector<std::unique_ptr<CValue>> m_slots;
};

} // namespace QUOR
