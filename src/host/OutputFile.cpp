#include "OutputFile.h"

#include "FileSystem.h"
#include "ValueFile.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace vessa {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void FailToWrite(const std::string& name, const std::string& reason) {
    throw CFileError(name + ": can't be written: " + reason);
}

/// The place that a name leads to: a link keeps pointing to the file that is replaced. The last link may lead to
/// nothing.
fs::path BehindLinks(const std::string& name) {
    constexpr int kMostLinks = 40; // as many as Linux follows
    fs::path place = name;
    std::error_code ignored;
    for (int links = 0; fs::is_symlink(fs::symlink_status(place, ignored)); ++links) {
        if (links == kMostLinks) {
            FailToWrite(name, SystemMessage(ELOOP));
        }
        place = place.parent_path() / fs::read_symlink(place, ignored);
    }
    return place;
}

/// Makes a new file in the folder of `place`, and gives its name and handle.
std::pair<std::string, int> MakeBeside(const std::string& name, const fs::path& place) {
    static std::atomic<unsigned> number{0};
    for (;;) {
        const std::string interim = ".vessa-" + std::to_string(::getpid()) + "-" + std::to_string(++number);
        std::string path = (place.parent_path() / interim).string();
        const int handle = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (handle >= 0) {
            return {std::move(path), handle};
        }
        if (errno != EEXIST) { // a process before this one may have had its number
            FailToWrite(name, SystemMessage(errno));
        }
    }
}

} // namespace

COutputFile::COutputFile(const std::string& name) : m_name(name), m_place(BehindLinks(name).string()) {
    struct stat status {};
    const bool replaces = ::stat(m_place.c_str(), &status) == 0;
    if (replaces && !S_ISREG(status.st_mode)) {
        FailToWrite(name, "it is " + KindOfFile(status.st_mode) + ", only a regular file can be replaced");
    }
    if (replaces && ::access(m_place.c_str(), W_OK) != 0) {
        FailToWrite(name, SystemMessage(errno));
    }
    std::tie(m_interim, m_handle) = MakeBeside(name, m_place);
    if (replaces && ::fchmod(m_handle, status.st_mode & 0777) != 0) {
        m_error = errno;
    }
}

COutputFile::~COutputFile() {
    if (m_handle >= 0) {
        ::close(m_handle);
    }
    if (!m_interim.empty()) {
        ::unlink(m_interim.c_str());
    }
}

bool COutputFile::Write(std::uint64_t offset, const void* data, std::size_t count) noexcept {
    if (m_error == 0 && !WriteAt(m_handle, offset, data, count)) {
        m_error = errno;
    }
    m_size = std::max(m_size, offset + count);
    return m_error == 0;
}

std::size_t COutputFile::Read(std::uint64_t offset, void* data, std::size_t count) const noexcept {
    return ReadAt(m_handle, offset, data, count);
}

void COutputFile::Commit() {
    if (::close(std::exchange(m_handle, -1)) != 0 && m_error == 0) {
        m_error = errno;
    }
    if (m_error == 0 && ::rename(m_interim.c_str(), m_place.c_str()) != 0) {
        m_error = errno;
    }
    if (m_error != 0) {
        FailToWrite(m_name, SystemMessage(m_error));
    }
    m_interim.clear();
}

void COutputFile::Fail(const std::string& what) const {
    FailToWrite(m_name, m_error == 0 ? what : SystemMessage(m_error));
}

} // namespace vessa
