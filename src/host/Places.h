#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vessa {

/// The folders that belong to the program, found from its own file, so that the build tree and an installed tree work
/// alike wherever they stand.
struct StPlaces {
    std::filesystem::path prefix;
    std::filesystem::path plugins;
    std::filesystem::path samples;
};

/// The places of a program whose file stands in `folder`.
StPlaces PlacesBeside(const std::filesystem::path& folder);

/// The places of this process's program.
StPlaces OwnPlaces();

/// Names the prefix in the environment variable that stands for it in paths of parameters and descriptions, unless it
/// is set already.
void NamePrefix(const StPlaces& places);

/// The parts of an environment variable that lists paths with colons between them; none if it isn't set.
std::vector<std::string> PathList(const char* variable);

} // namespace vessa
