#include "Interrupt.h"

namespace vessa {

namespace {

std::atomic<int> s_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal's handler may set it");

/// Notes the first signal. The second one ends the program, as if nobody had taken it: it comes again once this has
/// returned.
void Take(int signal) {
    int none = 0;
    if (!s_signal.compare_exchange_strong(none, signal)) {
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
}

} // namespace

CInterruptGuard::CInterruptGuard() {
    s_signal = 0;
    struct sigaction action {};
    action.sa_handler = &Take;
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        ::sigaction(kSignals[index], nullptr, &m_before[index]);
        if (m_before[index].sa_handler != SIG_IGN) { // as under nohup
            ::sigaction(kSignals[index], &action, nullptr);
        }
    }
}

CInterruptGuard::~CInterruptGuard() {
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        ::sigaction(kSignals[index], &m_before[index], nullptr);
    }
}

const std::atomic<int>& CInterruptGuard::Signal() { return s_signal; }

} // namespace vessa
