#include "lab/ctl/top/Every.h"
#include "tests/support/PretendedClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

using namespace orvanectl;
using namespace std::chrono_literals;

namespace {

/// How many frames are shown in so long by the pretended clock, where who shows them is busy for some time, and then waits
/// for the next frame or until something comes.
int framesIn(std::chrono::milliseconds length, std::chrono::milliseconds busy, std::chrono::milliseconds betweenNews)
{
    Every frame(kFrame);
    int frames = 0;
    for (auto elapsed = 0ms; elapsed < length;) {
        PretendedClock::setElapsed(elapsed);
        if (frame.isDue(PretendedClock::now())) ++frames;
        elapsed += busy;
        PretendedClock::setElapsed(elapsed);
        elapsed += std::min(frame.left(PretendedClock::now()), betweenNews);
    }
    return frames;
}

}  // namespace

TEST(EveryTest, FourFramesASecondAreShown)
{
    EXPECT_EQ(framesIn(10s, 5ms, 1h), 40);
}

TEST(EveryTest, WhatComesInBetweenMakesThemNoMoreAndNoFewer)
{
    EXPECT_EQ(framesIn(10s, 0ms, 10ms), 40);
}

TEST(EveryTest, WhoIsBusyForLongWaitsForNothing)
{
    Every frame(kFrame);
    PretendedClock::setElapsed(0s);
    EXPECT_EQ(frame.left(PretendedClock::now()), 0ms);
    EXPECT_TRUE(frame.isDue(PretendedClock::now()));
    PretendedClock::setElapsed(1s);
    EXPECT_EQ(frame.left(PretendedClock::now()), 0ms);
    EXPECT_TRUE(frame.isDue(PretendedClock::now()));
    EXPECT_EQ(frame.left(PretendedClock::now()), 250ms);
}
