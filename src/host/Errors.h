#pragma once

#include <stdexcept>
#include <string>

namespace vessa {

/// What the program tells its caller by the exit status.
enum EnExitStatus : int { kDone = 0, kWorkFailed = 1, kWrongUse = 2 };

/// What follows a message about the limit of the images' memory.
inline constexpr const char* kRaiseMemoryLimit = ": --max-memory raises the limit";

/// The program was asked for something that it doesn't offer: an unknown name, a value that isn't allowed.
class CUseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What was asked for is right, but the work failed.
class CWorkError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace vessa
