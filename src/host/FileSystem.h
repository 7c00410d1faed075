#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <system_error>
#include <utility>
#include <vector>

namespace vessa {

/// The file name that stands for standard input and for standard output.
inline constexpr std::string_view kStandardStream = "-";

/// An open file, which is closed with the object.
class CHandle {
public:
    explicit CHandle(int number = -1) noexcept : m_number(number) {}
    CHandle(CHandle&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    CHandle& operator=(CHandle&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~CHandle() { Close(); }

    bool IsOpen() const { return m_number >= 0; }
    int Number() const { return m_number; }
    /// False, with the reason in `errno`, if what was written is lost.
    bool Close() noexcept;

private:
    int m_number;
};

/// Opens a file as `open` does, closed in programs that are started from here. Its number is never that of a standard
/// stream, even where those are closed: what goes to a stream would land in the file.
/// @{
CHandle OpenFile(const std::string& path, int flags, mode_t mode = 0);
/// The same for one that is open already.
CHandle Duplicate(int number);
/// @}

/// A new file without a name in the folder for temporary files; it is gone once it is closed. Not open, with the reason
/// in `errno`, if it can't be made.
CHandle OpenTemporary();

/// The names of what is in a folder, sorted; `failure` is set if it can't be read. The iterator of the standard library
/// ends the process if it finds no memory.
std::vector<std::string> NamesIn(const std::string& folder, std::error_code& failure);

/// What the system says of an error number.
std::string SystemMessage(int error);

/// What a file is that is no regular file, as in "a folder".
std::string KindOfFile(mode_t mode);

/// Reads up to `count` bytes at `offset` and gives their number: fewer at the file's end and where reading fails.
std::size_t ReadAt(int handle, std::uint64_t offset, void* data, std::size_t count) noexcept;

/// Writes all bytes at `offset`; false, with the reason in `errno`, if that fails.
bool WriteAt(int handle, std::uint64_t offset, const void* data, std::size_t count) noexcept;

/// Waits until what was written is on the disk; false, with the reason in `errno`, if it can't be kept. A file system
/// that knows no such thing has done what it can.
bool SyncToDisk(int handle) noexcept;

/// What `read` and `write` do, but for interruptions and for streams that give nothing or take nothing for now.
/// @{
ssize_t ReadStream(int handle, void* data, std::size_t count) noexcept;
/// Writes all bytes; false, with the reason in `errno`, if that fails. A pipe without a reader is a failure with EPIPE,
/// never a signal.
bool WriteStream(int handle, const void* data, std::size_t count) noexcept;
/// @}

} // namespace vessa
