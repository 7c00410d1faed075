#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

namespace vessa {

/// What the system says of an error number.
std::string SystemMessage(int error);

/// What a file is that is no regular file, as in "a folder".
std::string KindOfFile(mode_t mode);

/// Reads up to `count` bytes at `offset` and gives their number: fewer at the file's end and where reading fails.
std::size_t ReadAt(int handle, std::uint64_t offset, void* data, std::size_t count) noexcept;

/// Writes all bytes at `offset`; false, with the reason in `errno`, if that fails.
bool WriteAt(int handle, std::uint64_t offset, const void* data, std::size_t count) noexcept;

} // namespace vessa
