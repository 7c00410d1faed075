#pragma once

#include "base/Types.h"

#include <string>

namespace QUOR {

class CValueVector;

/// Root of all objects that a plug-in library makes.
class VESSA_API IObject {
public:
    IObject() = default;
    IObject(const IObject&) = default;
    IObject(IObject&&) = default;
    IObject& operator=(const IObject&) = default;
    IObject& operator=(IObject&&) = default;
    virtual ~IObject();

    /// Names this object among others of its class; null takes the name away.
    virtual void SetInstance(const char* name);

    /// The name given with `SetInstance`, "" without one.
    const std::string& Instance() const { return m_instance; }

private:
    std::string m_instance;
};

/// An object whose state can be written to a vector of values and read back from it.
class VESSA_API IVectorizable {
public:
    IVectorizable() = default;
    IVectorizable(const IVectorizable&) = default;
    IVectorizable(IVectorizable&&) = default;
    IVectorizable& operator=(const IVectorizable&) = default;
    IVectorizable& operator=(IVectorizable&&) = default;
    virtual ~IVectorizable();

    /// The state as a new vector, which the caller owns.
    virtual CValueVector* Vectorize() const = 0;

    /// Takes over a state that `Vectorize` of the same class has written.
    /// Raises a `CException` and changes nothing if `state` is null or of another form.
    virtual void Devectorize(const CValueVector* state) = 0;
};

} // namespace QUOR
