#pragma once

/// The files beside DocAssets.cpp.in that go into the documentation as they stand; built into the program.
namespace vessa {

extern const char* const kStyleText;
extern const char* const kSearchText;

} // namespace vessa
