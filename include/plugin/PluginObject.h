#pragma once

#include "base/Object.h"
#include "base/String.h"

namespace QUOR {

class CValueMap;

/// An object that describes itself and takes parameters.
class VESSA_API IPluginObject : public IObject {
public:
    ~IPluginObject() override;

    /// Writes the object's description into `setup`; entries that stand there already stay unless they are replaced.
    /// By default an object has none.
    virtual void GetPluginSetup(CValueMap& setup);
    /// Hands over parameters. By default they are ignored.
    virtual void Init(const CValueMap* parameters);
    /// True if the object offers the class `name`, as in "IPluginObject".
    virtual bool TestInterface(const CString& name);
};

} // namespace QUOR
