#pragma once

#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vessa {

/// What the program tells its caller by the exit status.
enum EnExitStatus : int { kDone = 0, kWorkFailed = 1, kWrongUse = 2, kInterrupted = 128 /* and the signal's number */ };

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

/// A file that can't be read or written as asked.
class CFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Raises a `CFileError` about a file or a folder that can't be written.
[[noreturn]] void FailToWrite(const std::string& name, const std::string& reason);

/// The work was given up since a signal asked for the end.
class CInterrupted {
public:
    explicit CInterrupted(int signal) : m_signal(signal) {}
    int Signal() const { return m_signal; }

private:
    int m_signal;
};

/// How a failure is told.
struct StFailure {
    int status;
    std::string message;
};

/// The exception that is being handled, whatever it is. To be called in a handler only.
StFailure HandledFailure();

/// Tells of the exception that is being handled on `err`, in one line, and gives the exit status.
int TellHandledFailure(std::ostream& err);

/// The line that tells of a failure: the message is kept but for line ends and what else steers a terminal, and for the
/// middle of one that fills a screen.
std::string FailureLine(std::string_view message);

/// Calls `work` and puts `name` before the text of its failure, with a colon between.
template <class Work> decltype(auto) InTheNameOf(const std::string& name, const Work& work) {
    try {
        return work();
    } catch (const CInterrupted&) {
        throw;
    } catch (...) {
        const StFailure failure = HandledFailure();
        const std::string message = name + ": " + failure.message;
        if (failure.status == kWrongUse) {
            throw CUseError(message);
        }
        throw CWorkError(message);
    }
}

} // namespace vessa
