// Calls the program with words of any kind. It ends with one of its statuses, and a failure is told in one line.

#include "Program.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>

using namespace vessa;

namespace fs = std::filesystem;

namespace {

/// The words, a line each. None leads out of the folder that the program works in.
Arguments Words(const std::string& text) {
    Arguments words;
    std::istringstream lines(text);
    for (std::string word; std::getline(lines, word) && words.size() < 32;) {
        std::replace(word.begin(), word.end(), '/', '_');
        word.erase(std::remove(word.begin(), word.end(), '\0'), word.end());
        words.push_back(word);
    }
    return words;
}

void EnterFolder() {
    const fs::path folder = fs::temp_directory_path() / "fuzz-command-line";
    fs::create_directories(folder);
    fs::current_path(folder);
    for (const char* sample : {"particles.png", "labels.tif", "map.npy", "table.tif", "mask.png"}) {
        fs::copy_file(fs::path(SAMPLES_DIRECTORY) / sample, sample, fs::copy_options::skip_existing);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    EnterFolder();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Arguments words = Words(std::string(reinterpret_cast<const char*>(data), size));
    words.insert(words.end(), {"--max-memory", "16M"});
    std::ostringstream out;
    std::ostringstream err;
    const StContext context{out, err, 80, PlacesBeside(fs::path(VESSA_PROGRAM).parent_path())};
    const int status = RunProgram(context, words);
    const std::string told = err.str();
    const bool isOneLine = std::count(told.begin(), told.end(), '\n') == 1 && told.starts_with("vessa: ");
    if (status < kDone || status > kWrongUse || (status == kWrongUse && !isOneLine)) {
        std::cerr << "broken: status " << status << ", " << told << std::endl;
        std::abort();
    }
    return 0;
}
