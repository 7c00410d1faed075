#pragma once

#include "Value/Value.h"

namespace QUOR {

/// What `Clone` gives for every kind of value whose `Copy` takes over everything.
template <class Value> Value* CloneOf(const Value& value, EnTfOwnership ownership) {
    auto clone = std::make_unique<Value>();
    clone->Copy(value, ownership, true);
    return clone.release();
}

} // namespace QUOR
