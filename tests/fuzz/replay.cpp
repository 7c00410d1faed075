// Runs a harness on the files of folders, once each: for compilers that have no fuzzer, and for the tests.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* count, char*** arguments);

int main(int count, char** arguments) {
    const std::vector<std::filesystem::path> folders(arguments + 1, arguments + count);
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&count, &arguments);
    }
    std::size_t inputs = 0;
    for (const auto& folder : folders) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            std::cerr << entry.path() << '\n'; // the last one named is the one that breaks
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::cerr << inputs << " inputs\n";
    return inputs == 0 ? 1 : 0;
}
