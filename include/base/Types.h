#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Marks what `libvessa` shows to the programs and plug-ins that stand on it.
#if defined(_WIN32)
#if defined(VESSA_BUILDS_LIBRARY)
#define VESSA_API __declspec(dllexport)
#else
#define VESSA_API __declspec(dllimport)
#endif
#else
#define VESSA_API __attribute__((visibility("default")))
#endif

namespace QUOR {

/// The generic kind of a value, as `CValue::GenericType` reports it.
enum class EnValType : int { Bool = 0, Double = 1, Long = 2, Map = 3, String = 4, Pointer = 5, Vector = 6 };

/// The signed 32-bit integer of the value classes: `long` where that has 32 bits.
using Long = std::conditional_t<sizeof(long) == 4, long, std::int32_t>;

/// What `Clone` and `Copy` do with the object behind a pointer value; other kinds are always copied.
enum class EnTfOwnership : int {
    Copy = 0, ///< the result owns a copy of the object
    Link = 1  ///< the result borrows the object
};

/// The status that `CValueContainerBase::GetLong` gives beside its result.
enum class EnErrType : int { Ok = 0, Absent = 1, WrongKind = 2 };

} // namespace QUOR
