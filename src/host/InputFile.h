#pragma once

#include "FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

namespace vessa {

/// What standard input is called in messages.
inline constexpr const char* kStandardInput = "standard input";

/// A regular file that is open for reading. Folders, devices and pipes are refused: reading them could hang.
///
/// Standard input may be a pipe, too: what comes through it is copied into a file without a name first, so that it can
/// be read in any order. The limit for the images' memory is one for the copy.
class CInputFile {
public:
    /// Raises a `CFileError` if there is no such file or it can't be read. The copy of a pipe ends once it has more
    /// than `mostCopied` bytes, for those who refuse that.
    explicit CInputFile(const std::string& name, std::uint64_t mostCopied = std::numeric_limits<std::uint64_t>::max());

    /// The file's name, or "standard input".
    const std::string& Name() const { return m_name; }
    std::uint64_t Size() const { return m_size; }

    /// Reads up to `count` bytes and gives their number: fewer at the file's end and where reading fails. It never
    /// raises, so that C libraries can call it.
    std::size_t Read(std::uint64_t offset, void* data, std::size_t count) const noexcept;
    /// Reads exactly `count` bytes; raises a `CFileError` if there are fewer.
    void ReadAll(std::uint64_t offset, void* data, std::size_t count) const;

    /// Raises a `CFileError` that names the file.
    [[noreturn]] void Fail(const std::string& what) const;

private:
    std::string m_name;
    CHandle m_handle;
    std::uint64_t m_size;
};

} // namespace vessa
