#include "Parameters.h"

#include "Value/ValueScalar.h"

namespace QUOR::manipulation {

void ReadNumber(const CValueMap& parameters, const char* key, double& field) {
    if (parameters.HasEntry(key, typeid(CValueDouble))) {
        field = parameters.EntryDouble(key);
    } else if (parameters.HasEntry(key, typeid(CValueLong))) {
        field = parameters.EntryLong(key);
    }
}

} // namespace QUOR::manipulation
