#include "OutputFile.h"

#include "Errors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace vessa {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kChunk = std::size_t{1} << 16; // of a pipe
constexpr const char* kOwnHandles = "/proc/self/fd/";

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

/// Calls `make` with one name after another beside `place` until there is no file of that name. Gives the name, or ""
/// with the reason in `errno`.
template <class Make> std::string NewNameBeside(const fs::path& place, const Make& make) {
    static std::atomic<unsigned> number{0};
    for (;;) {
        const std::string interim = ".vessa-" + std::to_string(::getpid()) + "-" + std::to_string(++number);
        std::string path = (place.parent_path() / interim).string();
        if (make(path)) {
            return path;
        }
        if (errno != EEXIST) { // a process before this one may have had its number
            return "";
        }
    }
}

/// A file without a name, which can be given one later; not open where the system lacks them.
CHandle OpenUnnamed(const fs::path& place) {
    if (::access(kOwnHandles, X_OK) != 0) {
        return CHandle();
    }
    const std::string folder = place.parent_path().string();
    return OpenFile(folder.empty() ? "." : folder, O_TMPFILE | O_RDWR, 0666);
}

} // namespace

COutputFile::COutputFile(const std::string& name) : m_name(name == kStandardStream ? kStandardOutput : name) {
    if (name != kStandardStream) {
        m_place = BehindLinks(name).string();
        OpenBeside();
        return;
    }
    if (::fcntl(STDOUT_FILENO, F_GETFD) < 0 || !(m_handle = OpenTemporary()).IsOpen()) {
        FailToWrite(m_name, SystemMessage(errno));
    }
}

void COutputFile::OpenBeside() {
    struct stat status {};
    const bool replaces = ::stat(m_place.c_str(), &status) == 0;
    if (!replaces && errno != ENOENT) { // as for a name that is too long: a file without a name would not tell
        FailToWrite(m_name, SystemMessage(errno));
    }
    if (replaces && !S_ISREG(status.st_mode)) {
        FailToWrite(m_name, "it is " + KindOfFile(status.st_mode) + ", only a regular file can be replaced");
    }
    if (replaces && ::access(m_place.c_str(), W_OK) != 0) {
        FailToWrite(m_name, SystemMessage(errno));
    }
    m_handle = OpenUnnamed(m_place);
    if (!m_handle.IsOpen()) {
        m_interim = NewNameBeside(m_place, [&](const std::string& path) {
            m_handle = OpenFile(path, O_RDWR | O_CREAT | O_EXCL, 0666);
            return m_handle.IsOpen();
        });
    }
    if (!m_handle.IsOpen()) {
        FailToWrite(m_name, SystemMessage(errno));
    }
    if (replaces && ::fchmod(m_handle.Number(), status.st_mode & 0777) != 0) {
        NoteFailure();
    }
}

COutputFile::~COutputFile() {
    if (!m_interim.empty()) {
        ::unlink(m_interim.c_str());
    }
}

bool COutputFile::Write(std::uint64_t offset, const void* data, std::size_t count) noexcept {
    if (m_error == 0 && !WriteAt(m_handle.Number(), offset, data, count)) {
        NoteFailure();
    }
    m_size = std::max(m_size, offset + count);
    return m_error == 0;
}

std::size_t COutputFile::Read(std::uint64_t offset, void* data, std::size_t count) const noexcept {
    return ReadAt(m_handle.Number(), offset, data, count);
}

void COutputFile::RequireWritten() const {
    if (m_error != 0) {
        FailToWrite(m_name, SystemMessage(m_error));
    }
}

void COutputFile::Prepare() {
    RequireWritten();
    if (!m_place.empty() && m_interim.empty()) {
        GiveInterimName();
        RequireWritten();
    }
}

void COutputFile::Commit() {
    Prepare();
    if (m_place.empty()) {
        CopyToStandardOutput();
    } else {
        MoveToPlace();
    }
    RequireWritten();
}

void COutputFile::Sync() {
    if (m_error == 0 && !m_place.empty() && !SyncToDisk(m_handle.Number())) {
        NoteFailure();
    }
    RequireWritten();
}

void COutputFile::GiveInterimName() {
    const std::string self = kOwnHandles + std::to_string(m_handle.Number());
    m_interim = NewNameBeside(m_place, [&](const std::string& path) {
        return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
    });
    if (m_interim.empty()) {
        NoteFailure();
    }
}

void COutputFile::MoveToPlace() {
    if (!m_handle.Close() || ::rename(m_interim.c_str(), m_place.c_str()) != 0) {
        NoteFailure();
    } else {
        m_interim.clear();
    }
}

void COutputFile::CopyToStandardOutput() {
    std::array<unsigned char, kChunk> chunk; // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    for (std::uint64_t done = 0; m_error == 0 && done < m_size;) {
        const std::size_t count = Read(done, chunk.data(), chunk.size());
        if (count == 0 || !WriteStream(STDOUT_FILENO, chunk.data(), count)) {
            NoteFailure();
        }
        done += count;
    }
}

void COutputFile::NoteFailure() noexcept { m_error = errno; }

void COutputFile::Fail(const std::string& what) const {
    FailToWrite(m_name, m_error == 0 ? what : SystemMessage(m_error));
}

} // namespace vessa
