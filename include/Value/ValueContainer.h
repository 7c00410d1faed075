#pragma once

#include "Value/Value.h"
#include "Value/ValueKey.h"

namespace QUOR {

/// A map or a vector of owned values.
///
/// A text key with `/` addresses a path through nested maps, in every operation. A path through an entry that is no
/// map finds nothing.
class VESSA_API CValueContainerBase : public CValue {
public:
    ~CValueContainerBase() override;

    /// The entry's value, still the container's. For an absent key: null, or a `CException` if `required`.
    /// Null too for a vector slot that exists and is empty.
    /// @{
    virtual CValue* Entry(const CValue_Key& key, bool required) const = 0;
    virtual CValue* Entry(const CValue_Key& key, bool required) = 0;
    /// @}

    /// Takes ownership of `value`, also on failure, and frees an earlier entry under this key. A path creates the
    /// maps on its way; a vector grows with empty slots. Null empties a vector's slot and removes a map's entry.
    /// Raises a `CException` for a key that does not fit the container and for a path through an entry that is no map.
    virtual void SetEntry(const CValue_Key& key, CValue* value) = 0;
    /// The same, for a value that would be lost where memory for the key can't be had.
    void SetEntry(const CValue_Key& key, std::unique_ptr<CValue> value) { SetEntry(key, value.release()); }

    virtual bool HasEntry(const CValue_Key& key, EnValType kind) const = 0;
    virtual bool HasEntry(const CValue_Key& key, const std::type_info& type) const = 0;
    virtual bool HasEntry(const CValue_Key& key) const = 0;

    /// Frees the entry; false if there was none. The later entries of a vector move up by one.
    virtual bool RemoveEntry(const CValue_Key& key) = 0;
    /// Removes the entry and hands its value to the caller; null if there was none.
    virtual CValue* Detach(const CValue_Key& key) = 0;

    /// The number of entries, for a vector with its empty slots.
    virtual unsigned int Size() const = 0;

    /// The key of the first text entry equal to `text`, or of the first entry with data equal to `value`, among those
    /// behind the key `after`; with the key of no entry, among all. Gives the key of no entry without success.
    /// Nested containers are not searched.
    /// @{
    virtual CValue_Key Find(const char* text, const CValue_Key& after) = 0;
    virtual CValue_Key Find(const CValue& value, const CValue_Key& after) = 0;
    /// @}

    /// The entry as a number. The three numeric kinds are converted into one another: a floating number is truncated
    /// toward zero, saturates, and gives 0 for a NaN; as a boolean, everything but 0 is true. `fallback` (0 or false
    /// in the forms without one) stands for an absent entry and for one of another kind.
    /// @{
    bool EntryBool(const CValue_Key& key, bool fallback) const;
    QUOR::Long EntryLong(const CValue_Key& key, QUOR::Long fallback) const;
    double EntryDouble(const CValue_Key& key, double fallback) const;
    bool EntryBool(const CValue_Key& key) const;
    QUOR::Long EntryLong(const CValue_Key& key) const;
    double EntryDouble(const CValue_Key& key) const;
    /// @}

    /// As `EntryLong`; `status`, if not null, tells whether the entry was there and numeric.
    QUOR::Long GetLong(const CValue_Key& key, QUOR::Long fallback, EnErrType* status) const;

    /// The text, or `fallback` for an absent entry and for one of another kind. The reference holds as long as the
    /// entry and `fallback` do.
    const CString& EntryString(const CValue_Key& key, const CString& fallback) const;
    /// The text for writing. Raises a `CException` for an absent entry and for one of another kind.
    CString& EntryString(const CValue_Key& key);
};

} // namespace QUOR
