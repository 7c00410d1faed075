#include "Value/ValueMap.h"

#include "Clone.h"
#include "Value/ValueScalar.h"
#include "base/Exception.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace QUOR {

namespace {

[[noreturn]] void Raise(const std::string& message) { throw CException("CValueMap", message.c_str(), nullptr); }

/// The first part of a path and what follows its `/`.
struct StPath {
    CValue_Key first;
    CValue_Key rest;
};

/// Nothing for a key that is no path.
std::optional<StPath> PathOf(const CValue_Key& key) {
    if (!key.IsPath()) {
        return std::nullopt;
    }
    const std::size_t slash = key.Text().find('/');
    return StPath{CValue_Key(key.Text().substr(0, slash)), CValue_Key(key.Text().substr(slash + 1))};
}

} // namespace

CValueMap::CValueMap() = default;

CValueMap::~CValueMap() = default;

CValueMap* CValueMap::Clone(EnTfOwnership ownership) const { return CloneOf(*this, ownership); }

CValueMap& CValueMap::Copy(const CValue& other, EnTfOwnership ownership, bool withMeta) {
    RequireSameKind(other);
    if (&other == this) {
        return *this;
    }
    Entries copies;
    for (const auto& [key, value] : other.Map()->m_entries) {
        copies.emplace_hint(copies.end(), key, std::unique_ptr<CValue>(value->Clone(ownership)));
    }
    if (withMeta) {
        CopyMeta(other, ownership);
    }
    m_entries = std::move(copies);
    return *this;
}

CValueMap& CValueMap::Move(CValue& other) {
    RequireSameKind(other);
    if (&other != this) {
        Entries taken = std::exchange(other.Map()->m_entries, Entries());
        MoveMeta(other);
        m_entries = std::move(taken); // at last, since `other` may be an entry
    }
    return *this;
}

bool CValueMap::EqualData(const CValue& other) const {
    return other.GenericType() == EnValType::Map && m_entries.size() == other.Map()->m_entries.size() &&
           std::equal(
               m_entries.begin(), m_entries.end(), other.Map()->m_entries.begin(),
               [](const auto& a, const auto& b) { return a.first == b.first && a.second->EqualData(*b.second); });
}

const std::type_info& CValueMap::Type() const { return typeid(CValueMap); }

const std::type_info* CValueMap::TypeId() { return &typeid(CValueMap); }

CValue* CValueMap::Entry(const CValue_Key& key, bool required) const {
    CValue* entry = nullptr;
    if (const auto path = PathOf(key)) {
        const CValue* branch = Entry(path->first, false);
        if (branch != nullptr && branch->GenericType() == EnValType::Map) {
            entry = branch->Map()->Entry(path->rest, false);
        }
    } else if (const auto found = m_entries.find(key); found != m_entries.end()) {
        entry = found->second.get();
    }
    if (entry == nullptr && required) {
        Raise("there is no entry " + key.ToString());
    }
    return entry;
}

CValue* CValueMap::Entry(const CValue_Key& key, bool required) { return std::as_const(*this).Entry(key, required); }

void CValueMap::SetEntry(const CValue_Key& key, CValue* value) {
    std::unique_ptr<CValue> owned(value);
    if (key.IsNone()) {
        Raise("an entry needs a key");
    }
    const auto path = PathOf(key);
    if (!path) {
        const auto old = m_entries.find(key);
        if (old != m_entries.end() && old->second.get() == value) {
            static_cast<void>(owned.release()); // the entry is its own successor
        } else if (value == nullptr) {
            m_entries.erase(key);
        } else {
            m_entries[key] = std::move(owned);
        }
        return;
    }
    const auto next = m_entries.find(path->first);
    if (next == m_entries.end()) {
        if (value != nullptr) {
            auto branch = std::make_unique<CValueMap>();
            branch->SetEntry(path->rest, owned.release());
            m_entries[path->first] = std::move(branch);
        }
        return;
    }
    if (next->second->GenericType() != EnValType::Map) {
        Raise("the path " + key.ToString() + " leads through an entry that is " +
              KindName(next->second->GenericType()));
    }
    next->second->Map()->SetEntry(path->rest, owned.release());
}

bool CValueMap::HasEntry(const CValue_Key& key, EnValType kind) const {
    const CValue* entry = Entry(key, false);
    return entry != nullptr && entry->GenericType() == kind;
}

bool CValueMap::HasEntry(const CValue_Key& key, const std::type_info& type) const {
    const CValue* entry = Entry(key, false);
    return entry != nullptr && entry->Type() == type;
}

bool CValueMap::HasEntry(const CValue_Key& key) const { return Entry(key, false) != nullptr; }

bool CValueMap::RemoveEntry(const CValue_Key& key) { return std::unique_ptr<CValue>(Detach(key)) != nullptr; }

CValue* CValueMap::Detach(const CValue_Key& key) {
    const auto path = PathOf(key);
    const auto found = m_entries.find(path ? path->first : key);
    if (found == m_entries.end()) {
        return nullptr;
    }
    if (path) {
        return found->second->GenericType() == EnValType::Map ? found->second->Map()->Detach(path->rest) : nullptr;
    }
    CValue* value = found->second.release();
    m_entries.erase(found);
    return value;
}

unsigned int CValueMap::Size() const { return static_cast<unsigned int>(m_entries.size()); }

CValue_Key CValueMap::Find(const char* text, const CValue_Key& after) {
    return Find(CValueString(CString(text)), after);
}

CValue_Key CValueMap::Find(const CValue& value, const CValue_Key& after) {
    const auto first = after.IsNone() ? m_entries.begin() : m_entries.upper_bound(after);
    const auto found =
        std::find_if(first, m_entries.end(), [&](const auto& entry) { return entry.second->EqualData(value); });
    return found == m_entries.end() ? CValue_Key() : found->first;
}

bool CValueMap::IsEmpty() const { return m_entries.empty(); }

void CValueMap::Clear() { m_entries.clear(); }

std::list<CValue_Key> CValueMap::Keys() const {
    std::list<CValue_Key> keys;
    for (const auto& entry : m_entries) {
        keys.push_back(entry.first);
    }
    return keys;
}

bool CValueMap::IsSubset(const CValueMap& other) const {
    return std::all_of(m_entries.begin(), m_entries.end(), [&](const auto& entry) {
        const auto twin = other.m_entries.find(entry.first);
        if (twin == other.m_entries.end()) {
            return false;
        }
        const bool maps =
            entry.second->GenericType() == EnValType::Map && twin->second->GenericType() == EnValType::Map;
        return maps ? entry.second->Map()->IsSubset(*twin->second->Map()) : entry.second->EqualData(*twin->second);
    });
}

bool CValueMap::TestInterface(const CString& name) {
    return name == "CValueMap" || name == "CValueContainerBase" || name == "CValue" ||
           IPluginObject::TestInterface(name);
}

CValueMap::const_iterator CValueMap::begin() const { return {*this, m_entries.begin()}; }

CValueMap::const_iterator CValueMap::end() const { return {*this, m_entries.end()}; }

void* CValueMap::NewObject(const void* position) const {
    return new Entries::const_iterator(*static_cast<const Entries::const_iterator*>(position));
}

CValueMap::StItem CValueMap::_Deref(const void* position) const {
    const auto& entry = **static_cast<const Entries::const_iterator*>(position);
    return {entry.first, entry.second.get()};
}

void CValueMap::_IncDec(void* position, bool forward) const {
    auto& iterator = *static_cast<Entries::const_iterator*>(position);
    std::advance(iterator, forward ? 1 : -1);
}

CValueMap::const_iterator::const_iterator(const CValueMap& map, Entries::const_iterator position)
    : m_map(&map), m_position(static_cast<Entries::const_iterator*>(map.NewObject(&position))) {}

CValueMap::const_iterator::const_iterator(const const_iterator& other)
    : const_iterator(*other.m_map, *other.m_position) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it assigns the same position then
CValueMap::const_iterator& CValueMap::const_iterator::operator=(const const_iterator& other) {
    m_map = other.m_map;
    *m_position = *other.m_position;
    return *this;
}

CValueMap::const_iterator::~const_iterator() { delete m_position; }

CValueMap::StItem CValueMap::const_iterator::operator*() const { return m_map->_Deref(m_position); }

CValueMap::const_iterator& CValueMap::const_iterator::operator++() {
    m_map->_IncDec(m_position, true);
    return *this;
}

CValueMap::const_iterator CValueMap::const_iterator::operator++(int) {
    const_iterator before(*this);
    ++*this;
    return before;
}

CValueMap::const_iterator& CValueMap::const_iterator::operator--() {
    m_map->_IncDec(m_position, false);
    return *this;
}

CValueMap::const_iterator CValueMap::const_iterator::operator--(int) {
    const_iterator before(*this);
    --*this;
    return before;
}

bool CValueMap::const_iterator::operator==(const const_iterator& other) const {
    return *m_position == *other.m_position;
}

} // namespace QUOR
