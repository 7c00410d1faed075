#include "Errors.h"

#include "ValueFile.h"

#include <algorithm>
#include <cctype>
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

std::string FailureLine(std::string message) {
    std::replace_if(
        message.begin(), message.end(), [](unsigned char letter) { return std::iscntrl(letter) != 0; }, ' ');
    return "vessa: " + message + "\n";
}

} // namespace vessa
