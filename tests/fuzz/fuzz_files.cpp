// Reads a file of one format. What can be read can be written in that format and comes back the same; what can't is
// refused with one line.

#include "Errors.h"
#include "FuzzInput.h"
#include "ValueFile.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

using namespace vessa;
using namespace QUOR;

namespace {

const std::string& File() {
    static const std::string file = fuzz::OwnFile(FUZZ_ENDING);
    return file;
}

[[noreturn]] void Broken(const std::string& what) {
    std::cerr << "broken: " << what << std::endl;
    std::abort();
}

bool Same(const CValue& a, const CValue& b) {
    if (a.GenericType() == EnValType::Map) {
        return true; // NaN is unlike itself; the tests compare maps
    }
    const CImage& left = *UnwrapPointer<CImage>(&a);
    const CImage& right = *UnwrapPointer<CImage>(&b);
    const std::size_t bytes = left.Buffer().Size();
    return left.Type() == right.Type() && left.Size() == right.Size() && bytes == right.Buffer().Size() &&
           std::equal(static_cast<const char*>(left.Buffer().Data()),
                      static_cast<const char*>(left.Buffer().Data()) + bytes,
                      static_cast<const char*>(right.Buffer().Data()));
}

/// Reads the file; null if it is refused.
std::unique_ptr<CValue> Read() {
    try {
        return ReadValue(File(), {});
    } catch (const CFileError& failure) {
        const std::string message = failure.what();
        if (message.find(File()) != 0 || message.find('\n') != std::string::npos) {
            Broken("the message is not one line that begins with the file: " + message);
        }
        return nullptr;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    constexpr std::size_t mostBytes = std::size_t{1} << 26;
    SetImageMemoryLimit(mostBytes);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::ofstream(File(), std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (const auto value = Read()) {
        try {
            WriteValue(File(), *value);
        } catch (const CFileError&) {
            return 0; // a format may hold what the program doesn't write, such as an image without pixels
        }
        const auto again = Read();
        if (again == nullptr || !Same(*value, *again)) {
            Broken("what was read and written doesn't come back");
        }
    }
    return 0;
}
