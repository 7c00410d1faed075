#pragma once

#include "FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace vessa {

/// What standard output is called in messages.
inline constexpr const char* kStandardOutput = "standard output";

/// A file that appears whole under its name or not at all: it is written without a name, and `Commit` moves it to its
/// place. Without a `Commit` nothing of it remains, even if the program is killed, and what stood in its place stays.
/// File systems without such files give it another name beside its place, which only a killed program leaves behind.
///
/// What is for standard output is written to a file, too, and `Commit` copies it there.
class COutputFile {
public:
    /// Raises a `CFileError` if the file can't be made, or its name is that of something other than a file.
    explicit COutputFile(const std::string& name);
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;
    ~COutputFile();

    /// The file's name, or "standard output".
    const std::string& Name() const { return m_name; }
    std::uint64_t Size() const { return m_size; }

    /// Writes all bytes at `offset`, or gives false; `Commit` raises then. It never raises itself, so that C libraries
    /// can call it.
    bool Write(std::uint64_t offset, const void* data, std::size_t count) noexcept;
    bool Append(const void* data, std::size_t count) noexcept { return Write(m_size, data, count); }
    /// Reads what has been written, as `CInputFile::Read`.
    std::size_t Read(std::uint64_t offset, void* data, std::size_t count) const noexcept;

    /// Raises a `CFileError` if an earlier `Write` has failed.
    void RequireWritten() const;
    /// Waits until the content is on the disk, so that a name can't outlive it when the power fails; nothing for
    /// standard output. Raises a `CFileError` if that, or an earlier `Write`, fails. It costs the time of the disk, so
    /// that it is for files whose names are trusted later.
    void Sync();
    /// Takes all that `Commit` needs: of several files that are prepared before the first one is moved, none is there
    /// alone for want of memory. Raises a `CFileError` if that, or an earlier `Write`, fails.
    void Prepare();
    /// Moves the file to its place, or copies it to standard output. Raises a `CFileError` if that, or an earlier
    /// `Write`, fails.
    void Commit();

    /// Raises a `CFileError` that names the file; the reason is that of a failed `Write` if there is one.
    [[noreturn]] void Fail(const std::string& what) const;

private:
    void OpenBeside();
    void GiveInterimName();
    void MoveToPlace();
    void CopyToStandardOutput();
    void NoteFailure() noexcept;

    std::string m_name;
    std::string m_place;   ///< where the file belongs: behind all links; "" for standard output
    std::string m_interim; ///< the name until then, "" without one
    CHandle m_handle;
    int m_error = 0; ///< of the first write that failed
    std::uint64_t m_size = 0;
};

} // namespace vessa
