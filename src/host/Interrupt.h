#pragma once

#include <array>
#include <atomic>
#include <csignal>
#include <cstddef>

namespace vessa {

/// Takes the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) while it lives, so that work can be given up
/// in order. At a second one of them, the same or another, the program ends at once. Signals that are ignored stay so.
/// Only one may live at a time.
class CInterruptGuard {
public:
    CInterruptGuard();
    CInterruptGuard(const CInterruptGuard&) = delete;
    CInterruptGuard& operator=(const CInterruptGuard&) = delete;
    ~CInterruptGuard();

    /// 0, or the number of the signal that has come.
    static const std::atomic<int>& Signal();

private:
    static constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};
    std::array<struct sigaction, kSignals.size()> m_before{};
};

} // namespace vessa
