#include "FileSystem.h"

#include <cerrno>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vessa {

namespace {

/// Moves bytes by `transfer`, `pread` or `pwrite`, which may move fewer than asked for, until all are moved, none are
/// left, or it fails.
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

} // namespace

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

} // namespace vessa
