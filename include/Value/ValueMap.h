#pragma once

#include "Value/ValueContainer.h"
#include "plugin/PluginObject.h"

#include <iterator>
#include <list>
#include <map>

namespace QUOR {

/// An ordered map from keys to owned values.
class VESSA_API CValueMap : public CValueContainerBase, public IPluginObject {
public:
    /// What an iterator points to: a key and its value, both still the map's.
    struct StItem {
        const CValue_Key& key;
        const CValue* value;
    };
    class const_iterator;

    CValueMap();
    ~CValueMap() override;

    const CValueMap* Map() const override { return this; }
    CValueMap* Map() override { return this; }
    CValueMap* Clone(EnTfOwnership ownership) const override;
    CValueMap& Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) override;
    CValueMap& Move(CValue& other) override;
    bool EqualData(const CValue& other) const override;
    const std::type_info& Type() const override;
    EnValType GenericType() const override { return EnValType::Map; }
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

    virtual bool IsEmpty() const;
    virtual void Clear();
    /// The keys in their order; those of nested maps are not among them.
    virtual std::list<CValue_Key> Keys() const;
    /// True if every entry of this map stands in `other` with equal data. Nested maps need to be subsets only.
    virtual bool IsSubset(const CValueMap& other) const;
    virtual const_iterator begin() const;
    virtual const_iterator end() const;

    bool TestInterface(const CString& name) override;

    static const std::type_info* TypeId();

protected:
    using Entries = std::map<CValue_Key, std::unique_ptr<CValue>>;

    // The iterator's operations belong to the map, so that the iterator shows nothing of how entries are kept.
    virtual void* NewObject(const void* position) const;
    virtual StItem _Deref(const void* position) const; // NOLINT(bugprone-reserved-identifier): the contract's names
    virtual void _IncDec(void* position, bool forward) const; // NOLINT(bugprone-reserved-identifier)

private:
    Entries m_entries;
};

/// Walks through a map in the order of its keys. Invalid once its entry has been removed.
class VESSA_API CValueMap::const_iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = StItem;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = StItem;

    const_iterator(const const_iterator& other);
    const_iterator& operator=(const const_iterator& other);
    ~const_iterator();

    StItem operator*() const;
    const_iterator& operator++();
    const_iterator operator++(int);
    const_iterator& operator--();
    const_iterator operator--(int);
    bool operator==(const const_iterator& other) const;

private:
    friend class CValueMap;
    const_iterator(const CValueMap& map, Entries::const_iterator position);

    const CValueMap* m_map;
    Entries::const_iterator* m_position;
};

} // namespace QUOR
