#pragma once

#include "base/Object.h"

#include <memory>
#include <string>

/// Date and time at which a source file was compiled, as `StExLocation` takes it: "Apr 13 2026-09:50:12".
#define VESSA_BUILD_STAMP __DATE__ "-" __TIME__

namespace QUOR {

/// The place in a source at which an exception arose.
struct StExLocation {
    StExLocation(const char* stamp, const char* source, const char* signature, int number, const IObject* failed)
        : buildStamp(stamp), file(source), function(signature), line(number), object(failed) {}

    const char* buildStamp;
    const char* file;
    const char* function;
    int line;
    const IObject* object; ///< the object that failed, or null
};

/// The failure of a node or of the host library. Thrown by value.
class VESSA_API CException : public IVectorizable {
public:
    /// `where` is the location tag, `what` the message, `detail` a further text or null.
    CException(const char* where, const char* what, const char* detail);
    /// A failure with a record of its place; `Where()` is then the function.
    CException(const StExLocation& location, const char* what);
    // Moves copy: an exception is never without its texts.
    CException(const CException&) = default;
    CException& operator=(const CException&) = default;
    ~CException() override;

    const char* Where() const;
    const char* What() const;
    /// The further text, or null.
    const char* Detail() const;
    /// The record of the place, or null. Its texts live as long as the exception or a copy of it.
    const StExLocation* Location() const;
    /// The printable text, "WHERE: WHAT".
    const char* FormattedWhat() const;

    /// Where, what, detail, then build stamp, file, function and line of a location record.
    CValueVector* Vectorize() const override;
    void Devectorize(const CValueVector* state) override;

private:
    struct StData;
    std::shared_ptr<const StData> m_data; // shared, so that copying an exception cannot fail
};

} // namespace QUOR
