#pragma once

#include <string>

namespace QUOR {

/// What keeps a file from being loaded as a library of this process, where the loader wouldn't say so: it waits for
/// ever at a pipe, calls a library for another processor a file that isn't there, and dies by a signal in a library
/// that is cut off. "" if nothing of that kind is the matter; the loader itself tells of all else.
std::string DefectOfLibrary(const std::string& path);

} // namespace QUOR
