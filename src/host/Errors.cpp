#include "Errors.h"

#include "Printable.h"
#include "vessa.h"

#include <new>
#include <ostream>

namespace vessa {

namespace {

constexpr const char* kNoMemory = "the memory does not suffice";

} // namespace

void FailToWrite(const std::string& name, const std::string& reason) {
    throw CFileError(name + ": can't be written: " + reason);
}

StFailure HandledFailure() {
    try {
        throw;
    } catch (const CUseError& failure) {
        return {kWrongUse, failure.what()};
    } catch (const CInterrupted& interrupted) {
        return {kInterrupted + interrupted.Signal(), "interrupted"};
    } catch (const QUOR::CException& failure) {
        return {kWorkFailed, failure.FormattedWhat()};
    } catch (const QUOR::CImageMemoryLimit& failure) {
        return {kWorkFailed, failure.what() + std::string(kRaiseMemoryLimit)};
    } catch (const std::bad_alloc&) {
        return {kWorkFailed, kNoMemory};
    } catch (const std::exception& failure) {
        return {kWorkFailed, failure.what()};
    } catch (...) {
        return {kWorkFailed, "a failure of unknown kind"}; // a plug-in may raise anything
    }
}

int TellHandledFailure(std::ostream& err) {
    try {
        const StFailure failure = HandledFailure();
        err << FailureLine(failure.message) << std::flush;
        return failure.status;
    } catch (const std::bad_alloc&) { // not even the words find room
        err << "vessa: " << kNoMemory << '\n' << std::flush;
        return kWorkFailed;
    }
}

std::string FailureLine(std::string_view message) {
    constexpr std::size_t most = 4000; // a file can hold names of any length
    return "vessa: " + PrintableLine(Shortened(message, most)) + "\n";
}

} // namespace vessa
