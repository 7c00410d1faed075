#include "Progress.h"

#include <gtest/gtest.h>
#include <sstream>

namespace vessa::test {
namespace {

TEST(Progress, TellsCountRateAndTimeLeft) {
    EXPECT_EQ(ProgressLine(4, 10, 2.0, 40), "[######         ] 4/10  2.0/s  0:03 left");
    EXPECT_EQ(ProgressLine(4, 10, 2.0, 45), "[########            ] 4/10  2.0/s  0:03 left");
}

TEST(Progress, IsNeverLongerThanTheLine) {
    for (std::size_t width = 0; width < 100; ++width) {
        EXPECT_LE(ProgressLine(123, 4567, 8.0, width).size(), width);
    }
}

TEST(Progress, NothingDoneTellsNoRate) {
    EXPECT_EQ(ProgressLine(0, 3, 5.0, 30), "[                        ] 0/3");
    EXPECT_EQ(ProgressLine(3, 3, 0.0, 30), "[########################] 3/3");
}

TEST(Progress, TellsLongTimesInHours) {
    EXPECT_EQ(ProgressLine(1, 3601, 1.0, 34), "[    ] 1/3601  1.0/s  1:00:00 left");
    EXPECT_EQ(ProgressLine(1, 100, 1.0, 31), "[     ] 1/100  1.0/s  1:39 left");
    EXPECT_NE(ProgressLine(1, 1000000, 1.0, 80).find("99:59:59 left"), std::string::npos);
}

TEST(Progress, IsDrawnOnTerminalsOnly) {
    std::ostringstream file;
    CProgress quiet(file, false, 80, 10);
    quiet.Draw(3);
    quiet.Clear();
    EXPECT_EQ(file.str(), "");

    std::ostringstream terminal;
    {
        CProgress drawn(terminal, true, 20, 10);
        drawn.Draw(0);
        EXPECT_EQ(terminal.str(), "\r\x1b[K[            ] 0/10");
        drawn.Clear();
        drawn.Clear();
    }
    EXPECT_EQ(terminal.str(), "\r\x1b[K[            ] 0/10\r\x1b[K") << "taken away once";
}

} // namespace
} // namespace vessa::test
