#include "Errors.h"

#include "Printable.h"
#include "ValueFile.h"

#include <new>

namespace vessa {

StFailure HandledFailure() {
    try {
        throw;
    } catch (const CUseError& failure) {
        return {kWrongUse, failure.what()};
    } catch (const CInterrupted& interrupted) {
        return {kInterrupted + interrupted.Signal(), "interrupted"};
    } catch (const CFileError& failure) {
        return {kWorkFailed, failure.Message()};
    } catch (const QUOR::CException& failure) {
        return {kWorkFailed, failure.FormattedWhat()};
    } catch (const QUOR::CImageMemoryLimit& failure) {
        return {kWorkFailed, failure.what() + std::string(kRaiseMemoryLimit)};
    } catch (const std::bad_alloc&) {
        return {kWorkFailed, "the memory does not suffice"};
    } catch (const std::exception& failure) {
        return {kWorkFailed, failure.what()};
    } catch (...) {
        return {kWorkFailed, "a failure of unknown kind"}; // a plug-in may raise anything
    }
}

std::string FailureLine(std::string_view message) {
    constexpr std::size_t most = 4000; // a file can hold names of any length
    return "vessa: " + PrintableLine(Shortened(message, most)) + "\n";
}

} // namespace vessa
