#include "InputFile.h"

#include "Errors.h"
#include "vessa.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vessa {

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 18;

[[noreturn]] void FailToRead(const std::string& name, const std::string& reason) {
    throw CFileError(name + ": can't be read: " + reason);
}

struct stat StatusOf(const std::string& name, int handle) {
    struct stat status {};
    if (::fstat(handle, &status) != 0) {
        FailToRead(name, SystemMessage(errno));
    }
    return status;
}

/// Opens without waiting: a pipe that nobody writes to would block for ever.
CHandle OpenNamed(const std::string& name) {
    CHandle file = OpenFile(name, O_RDONLY | O_NONBLOCK);
    if (!file.IsOpen()) {
        FailToRead(name, SystemMessage(errno));
    }
    const mode_t mode = StatusOf(name, file.Number()).st_mode;
    if (!S_ISREG(mode)) {
        FailToRead(name, "it is " + KindOfFile(mode) + ", a regular file is needed");
    }
    return file;
}

[[noreturn]] void FailToCopy() {
    FailToRead(kStandardInput, "it can't be copied to the folder for temporary files: " + SystemMessage(errno));
}

/// What comes through standard input until it ends, or is more than `mostCopied` bytes.
CHandle CopyOfStandardInput(std::uint64_t mostCopied) {
    const std::size_t most = QUOR::ImageMemoryLimit();
    CHandle copy = OpenTemporary();
    if (!copy.IsOpen()) {
        FailToCopy();
    }
    std::vector<unsigned char> chunk(kChunk);
    std::size_t size = 0;
    while (size <= mostCopied) {
        const ssize_t got = ReadStream(STDIN_FILENO, chunk.data(), chunk.size());
        if (got < 0) {
            FailToRead(kStandardInput, SystemMessage(errno));
        }
        if (got == 0) {
            break;
        }
        const auto count = static_cast<std::size_t>(got);
        if (count > most - size) {
            throw CFileError(std::string(kStandardInput) + ": it has more than the " + std::to_string(most) +
                             " bytes that images may take" + kRaiseMemoryLimit);
        }
        if (!WriteAt(copy.Number(), size, chunk.data(), count)) {
            FailToCopy();
        }
        size += count;
    }
    return copy;
}

/// Standard input as a file: itself if it is one that nobody has begun to read.
CHandle OpenStandardInput(std::uint64_t mostCopied) {
    if (::isatty(STDIN_FILENO) != 0) {
        throw CFileError(std::string(kStandardInput) + " is a terminal: a file or a pipe is needed");
    }
    const mode_t mode = StatusOf(kStandardInput, STDIN_FILENO).st_mode;
    if (S_ISREG(mode) && ::lseek(STDIN_FILENO, 0, SEEK_CUR) == 0) {
        return Duplicate(STDIN_FILENO);
    }
    if (!S_ISREG(mode) && !S_ISFIFO(mode) && !S_ISSOCK(mode)) {
        FailToRead(kStandardInput, "it is " + KindOfFile(mode) + ", a file or a pipe is needed");
    }
    return CopyOfStandardInput(mostCopied);
}

} // namespace

CInputFile::CInputFile(const std::string& name, std::uint64_t mostCopied)
    : m_name(name == kStandardStream ? kStandardInput : name),
      m_handle(name == kStandardStream ? OpenStandardInput(mostCopied) : OpenNamed(name)),
      m_size(static_cast<std::uint64_t>(StatusOf(m_name, m_handle.Number()).st_size)) {}

std::size_t CInputFile::Read(std::uint64_t offset, void* data, std::size_t count) const noexcept {
    return ReadAt(m_handle.Number(), offset, data, count);
}

void CInputFile::ReadAll(std::uint64_t offset, void* data, std::size_t count) const {
    if (Read(offset, data, count) != count) {
        Fail("can't be read: it ended early");
    }
}

void CInputFile::Fail(const std::string& what) const { throw CFileError(m_name + ": " + what); }

} // namespace vessa
