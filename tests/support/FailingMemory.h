#pragma once

// Memory that runs out on purpose. A program with FailingMemory.cpp takes all its memory through it: that of its
// libraries, C's and C++'s, too.

#include "vessa.h"

#include <gtest/gtest.h>
#include <new>

namespace QUOR::test {

/// Which allocations of the process fail, counted from 1: a single one, or all from that one on.
struct StFailing {
    std::size_t first = 1;
    bool andAllLater = false;
};

/// Lets allocations fail while it lives. There is one at a time.
class CFailingMemory {
public:
    explicit CFailingMemory(const StFailing& failing);
    CFailingMemory(const CFailingMemory&) = delete;
    CFailingMemory& operator=(const CFailingMemory&) = delete;
    ~CFailingMemory();

    /// How many have failed.
    std::size_t Failures() const;
};

/// The blocks of the process that aren't freed. What the library keeps of freed images isn't counted: it is let go of.
std::ptrdiff_t LiveBlocks();

/// What came of a work in failing memory.
struct StOutcome {
    std::size_t failures = 0; ///< of allocations
    bool hasRaised = false;   ///< a `std::bad_alloc` or a `CException`; any other one passes through
};

template <class Work> StOutcome InFailingMemory(const StFailing& failing, const Work& work) {
    StOutcome outcome;
    CFailingMemory memory(failing);
    try {
        work();
    } catch (const std::bad_alloc&) {
        outcome.hasRaised = true;
    } catch (const CException&) {
        outcome.hasRaised = true;
    }
    outcome.failures = memory.Failures();
    return outcome;
}

/// Calls `attempt` with every allocation failing in turn, alone and with all later ones, until it tells that none has
/// failed. It gives the number of those that have, and is to leave as many blocks as it found. Gives the sum.
template <class Attempt> std::size_t WithEachAllocationFailing(const Attempt& attempt) {
    std::size_t sum = 0;
    for (const bool andAllLater : {false, true}) {
        for (std::size_t first = 1, failures = 1; failures > 0 && !testing::Test::HasFatalFailure(); ++first) {
            SCOPED_TRACE(testing::Message() << "allocation " << first << (andAllLater ? " and all later" : ""));
            const std::ptrdiff_t before = LiveBlocks();
            failures = attempt(StFailing{first, andAllLater});
            EXPECT_LE(LiveBlocks(), before); // some that sanitizers free they have taken by other ways
            sum += failures;
        }
    }
    return sum;
}

} // namespace QUOR::test
