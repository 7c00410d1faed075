#pragma once

#include "Value/ValueMap.h"

namespace QUOR::manipulation {

/// Takes a number that may be given as a `CValueDouble` or a `CValueLong`. Without an entry, and for one of another
/// class, `field` keeps its value.
void ReadNumber(const CValueMap& parameters, const char* key, double& field);

} // namespace QUOR::manipulation
