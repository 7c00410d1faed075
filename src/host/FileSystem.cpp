#include "FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <poll.h>
#include <pthread.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vessa {

namespace {

/// Moves bytes by `transfer`, which is called as `pread` and `pwrite` are and may move fewer than asked for, until all
/// are moved, none are left, or it fails.
template <class Byte, class Transfer>
std::size_t MoveAll(const Transfer& transfer, int handle, std::uint64_t offset, Byte* data,
                    std::size_t count) noexcept {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
        errno = EFBIG;
        return 0;
    }
    std::size_t done = 0;
    while (done < count) {
        const ssize_t moved = transfer(handle, data + done, count - done, static_cast<off_t>(offset + done));
        if (moved < 0 && errno == EINTR) {
            continue;
        }
        if (moved == 0) {
            errno = EIO; // for a write that moves nothing and gives no reason
        }
        if (moved <= 0) {
            break;
        }
        done += static_cast<std::size_t>(moved);
    }
    return done;
}

/// Waits until a stream that isn't ready for `events` is; false if that isn't what `errno` tells of.
bool Awaited(int handle, short events) noexcept {
    if (errno == EINTR) {
        return true;
    }
    pollfd stream{handle, events, 0};
    return (errno == EAGAIN || errno == EWOULDBLOCK) && (::poll(&stream, 1, -1) >= 0 || errno == EINTR);
}

/// Keeps the signal of a broken pipe from this thread while it lives, and drops one that has come meanwhile.
class CNoPipeSignal {
public:
    CNoPipeSignal() noexcept {
        sigset_t pending{};
        ::sigemptyset(&m_signal);
        ::sigaddset(&m_signal, SIGPIPE);
        m_drops = ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGPIPE) == 0;
        ::pthread_sigmask(SIG_BLOCK, &m_signal, &m_before);
    }
    CNoPipeSignal(const CNoPipeSignal&) = delete;
    CNoPipeSignal& operator=(const CNoPipeSignal&) = delete;
    ~CNoPipeSignal() {
        const int error = errno;
        const timespec now{};
        while (m_drops && ::sigtimedwait(&m_signal, nullptr, &now) < 0 && errno == EINTR) {
        }
        ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = error;
    }

private:
    sigset_t m_signal{};
    sigset_t m_before{};
    bool m_drops = false;
};

} // namespace

bool CHandle::Close() noexcept {
    const int number = std::exchange(m_number, -1);
    return number < 0 || ::close(number) == 0;
}

CHandle Duplicate(int number) { return CHandle(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)); }

CHandle OpenFile(const std::string& path, int flags, mode_t mode) {
    CHandle file(::open(path.c_str(), flags | O_CLOEXEC, mode));
    return file.IsOpen() && file.Number() <= STDERR_FILENO ? Duplicate(file.Number()) : std::move(file);
}

CHandle OpenTemporary() {
    std::error_code failure;
    const std::string folder = std::filesystem::temp_directory_path(failure).string();
    if (failure) {
        errno = failure.value();
        return CHandle();
    }
    if (CHandle file = OpenFile(folder, O_TMPFILE | O_RDWR | O_EXCL, 0600); file.IsOpen()) {
        return file;
    }
    std::string path = folder + "/vessa-XXXXXX"; // not every file system has files without a name
    const CHandle file(::mkostemp(path.data(), O_CLOEXEC));
    if (!file.IsOpen() || ::unlink(path.c_str()) != 0) {
        return CHandle();
    }
    return Duplicate(file.Number());
}

std::vector<std::string> NamesIn(const std::string& folder, std::error_code& failure) {
    struct StClose {
        void operator()(DIR* open) const { ::closedir(open); }
    };
    std::vector<std::string> names;
    const std::unique_ptr<DIR, StClose> open(::opendir(folder.c_str()));
    if (!open && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    errno = open ? 0 : errno;
    while (const dirent* entry = open ? ::readdir(open.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0; // which alone tells the end from a failure
    }
    failure.assign(errno, std::generic_category());
    std::sort(names.begin(), names.end());
    return names;
}

std::string SystemMessage(int error) { return std::generic_category().message(error); }

std::string KindOfFile(mode_t mode) {
    if (S_ISDIR(mode)) {
        return "a folder";
    }
    if (S_ISFIFO(mode)) {
        return "a pipe";
    }
    return S_ISSOCK(mode) ? "a socket" : "a device";
}

std::size_t ReadAt(int handle, std::uint64_t offset, void* data, std::size_t count) noexcept {
    return MoveAll(::pread, handle, offset, static_cast<unsigned char*>(data), count);
}

bool WriteAt(int handle, std::uint64_t offset, const void* data, std::size_t count) noexcept {
    return MoveAll(::pwrite, handle, offset, static_cast<const unsigned char*>(data), count) == count;
}

bool SyncToDisk(int handle) noexcept {
    int done = -1;
    do {
        done = ::fdatasync(handle);
    } while (done != 0 && errno == EINTR);
    return done == 0 || errno == EINVAL || errno == ENOSYS;
}

ssize_t ReadStream(int handle, void* data, std::size_t count) noexcept {
    ssize_t got = 0;
    do {
        got = ::read(handle, data, count);
    } while (got < 0 && Awaited(handle, POLLIN));
    return got;
}

bool WriteStream(int handle, const void* data, std::size_t count) noexcept {
    const CNoPipeSignal quiet;
    const auto write = [](int stream, const void* rest, std::size_t bytes, off_t /*offset*/) noexcept {
        ssize_t written = 0;
        do {
            written = ::write(stream, rest, bytes);
        } while (written < 0 && Awaited(stream, POLLOUT));
        return written;
    };
    return MoveAll(write, handle, 0, static_cast<const unsigned char*>(data), count) == count;
}

} // namespace vessa
