#pragma once

#include "Elements.h"

namespace QUOR::manipulation {

/// An axis of an image.
enum class EnAxis { X, Y, Z };

/// The axis of the name "X", "Y" or "Z"; any other text fails with `wrongName`.
inline EnAxis RequireAxis(const CString& name, const char* where, const char* wrongName) {
    if (name == "X") {
        return EnAxis::X;
    }
    if (name == "Y") {
        return EnAxis::Y;
    }
    if (name == "Z") {
        return EnAxis::Z;
    }
    Fail(where, wrongName);
}

/// The extent along an axis.
inline std::int64_t& ExtentAlong(StExtents& extents, EnAxis axis) {
    switch (axis) {
    case EnAxis::X:
        return extents.width;
    case EnAxis::Y:
        return extents.height;
    default:
        return extents.depth;
    }
}

} // namespace QUOR::manipulation
