#include "Value/ValueVector.h"

#include "Clone.h"
#include "Value/ValueScalar.h"
#include "base/Exception.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace QUOR {

namespace {

/// The largest index of which every count of entries still fits a `Long`.
constexpr long long kLargestIndex = std::numeric_limits<Long>::max() - 1LL;

[[noreturn]] void Raise(const std::string& message) { throw CException("CValueVector", message.c_str(), nullptr); }

} // namespace

CValueVector::CValueVector() = default;

CValueVector::~CValueVector() = default;

CValueVector* CValueVector::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueVector& CValueVector::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    if (&other == this) {
        return *this;
    }
    std::vector<std::unique_ptr<CValue>> copies;
    copies.reserve(other.Vector()->m_slots.size());
    for (const auto& slot : other.Vector()->m_slots) {
        copies.emplace_back(slot ? slot->Clone(ownership) : nullptr);
    }
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_slots = std::move(copies);
    return *this;
}

CValueVector& CValueVector::Move(CValue& other) {
    RequireSameKind(other);
    if (&other != this) {
        std::vector<std::unique_ptr<CValue>> taken;
        taken.swap(other.Vector()->m_slots);
        MoveMeta(other);
        m_slots = std::move(taken); // at last, since `other` may be an entry
    }
    return *this;
}

bool CValueVector::EqualData(const CValue& other) const {
    if (other.GenericType() != EnValType::Vector) {
        return false;
    }
    const auto& slots = other.Vector()->m_slots;
    return std::equal(m_slots.begin(), m_slots.end(), slots.begin(), slots.end(),
                      [](const auto& a, const auto& b) { return a && b ? a->EqualData(*b) : a == b; });
}

const std::type_info& CValueVector::Type() const { return typeid(CValueVector); }

const std::type_info* CValueVector::TypeId() { return &typeid(CValueVector); }

bool CValueVector::IsSlot(const CValue_Key& key) const {
    return key.IsIndex() && key.Index() >= 0 && static_cast<unsigned long long>(key.Index()) < m_slots.size();
}

CValue* CValueVector::Entry(const CValue_Key& key, bool required) const {
    if (IsSlot(key)) {
        return m_slots[static_cast<std::size_t>(key.Index())].get();
    }
    if (required) {
        Raise("there is no entry " + key.ToString() + ", the vector has " + std::to_string(m_slots.size()));
    }
    return nullptr;
}

CValue* CValueVector::Entry(const CValue_Key& key, bool required) { return std::as_const(*this).Entry(key, required); }

void CValueVector::SetEntry(const CValue_Key& key, CValue* value) {
    std::unique_ptr<CValue> owned(value);
    if (!key.IsIndex() || key.Index() < 0 || key.Index() > kLargestIndex) {
        Raise("the key " + key.ToString() + " is no index from 0 to " + std::to_string(kLargestIndex));
    }
    if (!IsSlot(key)) {
        m_slots.resize(static_cast<std::size_t>(key.Index()) + 1);
    }
    auto& slot = m_slots[static_cast<std::size_t>(key.Index())];
    if (slot.get() == value) {
        static_cast<void>(owned.release()); // the entry is its own successor
    } else {
        slot = std::move(owned);
    }
}

bool CValueVector::HasEntry(const CValue_Key& key, EnValType kind) const {
    const CValue* entry = Entry(key, false);
    return entry != nullptr && entry->GenericType() == kind;
}

bool CValueVector::HasEntry(const CValue_Key& key, const std::type_info& type) const {
    const CValue* entry = Entry(key, false);
    return entry != nullptr && entry->Type() == type;
}

bool CValueVector::HasEntry(const CValue_Key& key) const { return Entry(key, false) != nullptr; }

bool CValueVector::RemoveEntry(const CValue_Key& key) {
    if (!IsSlot(key)) {
        return false;
    }
    m_slots.erase(m_slots.begin() + static_cast<std::ptrdiff_t>(key.Index()));
    return true;
}

CValue* CValueVector::Detach(const CValue_Key& key) {
    if (!IsSlot(key)) {
        return nullptr;
    }
    CValue* value = m_slots[static_cast<std::size_t>(key.Index())].release();
    RemoveEntry(key);
    return value;
}

unsigned int CValueVector::Size() const { return static_cast<unsigned int>(m_slots.size()); }

CValue_Key CValueVector::Find(const char* text, const CValue_Key& after) {
    return Find(CValueString(CString(text)), after);
}

CValue_Key CValueVector::Find(const CValue& value, const CValue_Key& after) {
    const long long count = static_cast<long long>(m_slots.size());
    const long long first = after.IsIndex() && after.Index() >= 0 ? std::min(after.Index(), count - 1) + 1 : 0;
    for (long long index = first; index < count; ++index) {
        const auto& slot = m_slots[static_cast<std::size_t>(index)];
        if (slot && slot->EqualData(value)) {
            return index;
        }
    }
    return {};
}

void CValueVector::PushBack(CValue* value) { SetEntry(static_cast<long long>(m_slots.size()), value); }

} // namespace QUOR
