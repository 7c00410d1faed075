// The signals that ask the program to end: the first one is noted, the second one ends it. Each case is a process of
// its own.

#include "Interrupt.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <unistd.h>

namespace vessa {
namespace {

/// A guard in which these signals come; ends with the number of the signal that it has noted.
[[noreturn]] void EndAfter(std::initializer_list<int> signals) {
    const CInterruptGuard guard;
    for (const int signal : signals) {
        ::raise(signal);
    }
    ::_exit(CInterruptGuard::Signal());
}

TEST(Interrupt, TheFirstSignalIsNoted) {
    EXPECT_EXIT(EndAfter({}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(EndAfter({SIGHUP}), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(EndAfter({SIGINT}), testing::ExitedWithCode(2), "");
    EXPECT_EXIT(EndAfter({SIGTERM}), testing::ExitedWithCode(15), "");
}

TEST(Interrupt, ASecondOneOfAnyKindEndsTheProgram) {
    EXPECT_EXIT(EndAfter({SIGINT, SIGINT}), testing::KilledBySignal(SIGINT), "");
    EXPECT_EXIT(EndAfter({SIGINT, SIGTERM}), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(EndAfter({SIGTERM, SIGHUP}), testing::KilledBySignal(SIGHUP), "");
    EXPECT_EXIT(EndAfter({SIGHUP, SIGINT}), testing::KilledBySignal(SIGINT), "");
}

TEST(Interrupt, SignalsThatAreIgnoredStaySo) {
    const auto ignoring = [](int ignored, std::initializer_list<int> signals) {
        ::signal(ignored, SIG_IGN);
        EndAfter(signals);
    };
    EXPECT_EXIT(ignoring(SIGHUP, {SIGHUP, SIGHUP}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ignoring(SIGHUP, {SIGINT, SIGHUP}), testing::ExitedWithCode(2), "");
}

TEST(Interrupt, BehindTheGuardAllIsAsBefore) {
    const auto later = [] {
        {
            const CInterruptGuard guard;
            ::raise(SIGINT);
        }
        ::raise(SIGINT);
        ::_exit(0);
    };
    EXPECT_EXIT(later(), testing::KilledBySignal(SIGINT), "");
    const auto again = [] {
        {
            const CInterruptGuard guard;
            ::raise(SIGINT);
        }
        EndAfter({SIGTERM});
    };
    EXPECT_EXIT(again(), testing::ExitedWithCode(15), "") << "the signal of an earlier guard doesn't count";
}

} // namespace
} // namespace vessa
