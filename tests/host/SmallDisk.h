#pragma once

#include <csignal>
#include <sys/resource.h>

namespace vessa::test {

/// A limit for the size of files, as a full disk has it, while it lives.
class CSmallDisk {
public:
    explicit CSmallDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit limit{bytes, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    CSmallDisk(const CSmallDisk&) = delete;
    CSmallDisk& operator=(const CSmallDisk&) = delete;
    ~CSmallDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_limit{};
    void (*m_handler)(int);
};

} // namespace vessa::test
