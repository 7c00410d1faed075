#include "Value/ValueContainer.h"

#include "base/Exception.h"

#include <cmath>
#include <limits>
#include <optional>

namespace QUOR {

namespace {

Long LongFromDouble(double number) {
    using Limits = std::numeric_limits<Long>;
    if (std::isnan(number)) {
        return 0;
    }
    if (number <= static_cast<double>(Limits::min())) {
        return Limits::min();
    }
    if (number >= static_cast<double>(Limits::max())) {
        return Limits::max();
    }
    return static_cast<Long>(number);
}

/// The number behind a value of one of the three numeric kinds; null stands for no value.
std::optional<bool> AsBool(const CValue* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    switch (value->GenericType()) {
    case EnValType::Bool:
        return value->Bool();
    case EnValType::Long:
        return value->Long() != 0;
    case EnValType::Double:
        return value->Double() != 0.0;
    default:
        return std::nullopt;
    }
}

std::optional<Long> AsLong(const CValue* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    switch (value->GenericType()) {
    case EnValType::Bool:
        return value->Bool() ? 1 : 0;
    case EnValType::Long:
        return value->Long();
    case EnValType::Double:
        return LongFromDouble(value->Double());
    default:
        return std::nullopt;
    }
}

std::optional<double> AsDouble(const CValue* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    switch (value->GenericType()) {
    case EnValType::Bool:
        return value->Bool() ? 1.0 : 0.0;
    case EnValType::Long:
    case EnValType::Double:
        return value->Double();
    default:
        return std::nullopt;
    }
}

} // namespace

CValueContainerBase::~CValueContainerBase() = default;

bool CValueContainerBase::EntryBool(const CValue_Key& key, bool fallback) const {
    return AsBool(Entry(key, false)).value_or(fallback);
}

Long CValueContainerBase::EntryLong(const CValue_Key& key, QUOR::Long fallback) const {
    return AsLong(Entry(key, false)).value_or(fallback);
}

double CValueContainerBase::EntryDouble(const CValue_Key& key, double fallback) const {
    return AsDouble(Entry(key, false)).value_or(fallback);
}

bool CValueContainerBase::EntryBool(const CValue_Key& key) const { return EntryBool(key, false); }

Long CValueContainerBase::EntryLong(const CValue_Key& key) const { return EntryLong(key, 0); }

double CValueContainerBase::EntryDouble(const CValue_Key& key) const { return EntryDouble(key, 0.0); }

Long CValueContainerBase::GetLong(const CValue_Key& key, QUOR::Long fallback, EnErrType* status) const {
    const CValue* value = Entry(key, false);
    const std::optional<QUOR::Long> number = AsLong(value);
    if (status != nullptr) {
        *status = number ? EnErrType::Ok : value == nullptr ? EnErrType::Absent : EnErrType::WrongKind;
    }
    return number.value_or(fallback);
}

const CString& CValueContainerBase::EntryString(const CValue_Key& key, const CString& fallback) const {
    const CValue* value = Entry(key, false);
    return value != nullptr && value->GenericType() == EnValType::String ? value->String() : fallback;
}

CString& CValueContainerBase::EntryString(const CValue_Key& key) {
    CValue* value = Entry(key, true);
    if (value == nullptr) {
        throw CException("CValueContainerBase::EntryString", ("the slot " + key.ToString() + " is empty").c_str(),
                         nullptr);
    }
    return value->String();
}

} // namespace QUOR
