#include "Places.h"

#include <cstdlib>
#include <sstream>

namespace vessa {

namespace fs = std::filesystem;

StPlaces PlacesBeside(const fs::path& folder) {
    const auto from = [&](const char* relative) {
        const fs::path path = (folder / relative).lexically_normal();
        return path.has_filename() ? path : path.parent_path(); // without a slash at the end
    };
    return {from(VESSA_PREFIX_FROM_BIN), from(VESSA_PLUGINS_FROM_BIN), from(VESSA_SAMPLES_FROM_BIN)};
}

StPlaces OwnPlaces() {
    std::error_code failure;
    const fs::path file = fs::read_symlink("/proc/self/exe", failure);
    return PlacesBeside(failure ? fs::current_path() : file.parent_path());
}

void NamePrefix(const StPlaces& places) { ::setenv("QUORDIR", places.prefix.c_str(), 0); }

std::vector<std::string> PathList(const char* variable) {
    const char* value = std::getenv(variable);
    std::istringstream list(value == nullptr ? "" : value);
    list.exceptions(std::ios::badbit); // raises what it would swallow: that there is no memory
    std::vector<std::string> paths;
    for (std::string path; std::getline(list, path, ':');) {
        if (!path.empty()) {
            paths.push_back(path);
        }
    }
    return paths;
}

} // namespace vessa
