#include "InputFile.h"

#include "FileSystem.h"
#include "ValueFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vessa {

namespace {

/// Opens without waiting: a pipe that nobody writes to would block for ever.
int Open(const std::string& name) {
    const int handle = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (handle < 0) {
        throw CFileError(name + ": can't be read: " + SystemMessage(errno));
    }
    return handle;
}

} // namespace

CInputFile::CInputFile(const std::string& name) : m_name(name), m_handle(Open(name)) {
    struct stat status {};
    const bool known = ::fstat(m_handle, &status) == 0;
    if (!known || !S_ISREG(status.st_mode)) {
        const std::string reason =
            known ? "it is " + KindOfFile(status.st_mode) + ", a regular file is needed" : SystemMessage(errno);
        ::close(m_handle);
        Fail("can't be read: " + reason);
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
}

CInputFile::~CInputFile() { ::close(m_handle); }

std::size_t CInputFile::Read(std::uint64_t offset, void* data, std::size_t count) const noexcept {
    return ReadAt(m_handle, offset, data, count);
}

void CInputFile::ReadAll(std::uint64_t offset, void* data, std::size_t count) const {
    if (Read(offset, data, count) != count) {
        Fail("can't be read: it ended early");
    }
}

void CInputFile::Fail(const std::string& what) const { throw CFileError(m_name + ": " + what); }

} // namespace vessa
