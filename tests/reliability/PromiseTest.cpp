#include "reliability/restart/Promise.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

CyclesSeen seenOf(std::vector<double> heard, int deaf = 0)
{
    CyclesSeen seen;
    seen.heard = std::move(heard);
    seen.deaf = deaf;
    return seen;
}

std::vector<std::string> brokenOver(const std::string& transport, std::chrono::seconds pause, const CyclesSeen& seen)
{
    return brokenOf(*promiseOf(transport, pause), seen, static_cast<int>(seen.heard.size()) + seen.deaf);
}

using Words = std::vector<std::string>;

}  // namespace

TEST(PromiseTest, WhatTheManualSaysHolds)
{
    EXPECT_EQ(brokenOver("UDP", 0s, seenOf({0.1, 0.2, 3.9})), Words());
    EXPECT_EQ(brokenOver("TCP_Server", 5s, seenOf({6.6, 7.5})), Words());
    EXPECT_EQ(brokenOver("SHM", 7s, seenOf({0.1, 0.2, 3.9})), Words());
    EXPECT_EQ(brokenOver("SHM", 0s, seenOf({2.7, 4.0, 9.0}, 1)), Words());
}

TEST(PromiseTest, LateCycleBreaksIt)
{
    EXPECT_EQ(brokenOver("UDP", 0s, seenOf({0.1, 0.2, 4.5})), Words{"the longest took 4.5 s instead of 4 s"});
    EXPECT_EQ(brokenOver("TCP_Server", 0s, seenOf({8.5})), Words{"the longest took 8.5 s instead of 8 s"});
    EXPECT_EQ(brokenOver("SHM", 8s, seenOf({0.1, 0.2, 4.5})), Words{"the longest took 4.5 s instead of 4 s"});
}

TEST(PromiseTest, SlowHalfBreaksIt)
{
    EXPECT_EQ(brokenOver("SHM", 7s, seenOf({0.1, 2.0, 2.5})),
              Words{"half of the cycles took 2 s and more instead of 1 s"});
}

TEST(PromiseTest, DeafCycleBreaksItOverUdp)
{
    EXPECT_EQ(brokenOver("UDP", 0s, seenOf({0.1}, 1)),
              Words{"the peer stayed deaf in 1 of 2 cycles, which is more than 0 %"});
}

TEST(PromiseTest, OneDeafCycleOfTwelveIsChanceOverSharedMemoryAndThreeAreNot)
{
    const std::vector<double> eleven(11, 0.2), nine(9, 0.2);
    EXPECT_EQ(brokenOver("SHM", 7s, seenOf(eleven, 1)), Words());
    EXPECT_EQ(brokenOver("SHM", 7s, seenOf(nine, 3)),
              Words{"the peer stayed deaf in 3 of 12 cycles, which is more than 1 %"});
}

TEST(PromiseTest, AllDeafBreaksItEvenWhereOneOfFourMayBe)
{
    EXPECT_EQ(brokenOver("SHM", 2s, seenOf({}, 4)),
              Words{"the peer stayed deaf in 4 of 4 cycles, which is more than 25 %"});
}

TEST(PromiseTest, HowLongItTakesAtMostIsNotPromisedEverywhere)
{
    EXPECT_EQ(promiseOf("SHM", 0s)->longest, std::nullopt);
    EXPECT_EQ(promiseOf("TCP_Client", 0s)->longest, std::nullopt);
    EXPECT_EQ(promiseOf("UDP", 0s)->longest, 4.0);
}

TEST(PromiseTest, DeafOfEachRowThatMayBeChanceAreTooManyTogether)
{
    std::vector<CyclesRow> rows;
    for (const auto pause : {0s, 1s, 2s, 3s})
        rows.push_back({{"SHM", pause, 12, 30s}, seenOf(std::vector<double>(5, 0.2), 7)});
    EXPECT_EQ(brokenOver("SHM", 0s, rows.front().seen), Words());
    EXPECT_EQ(brokenOverAll(rows),
              Words{"SHM, 4 rows together: the peer stayed deaf in 28 of 48 cycles, which is more than 25 %"});
}

TEST(PromiseTest, AllOfSomeSingleCyclesDeafBreaksIt)
{
    const auto rows = [](const std::string& transport, std::chrono::seconds pause, std::size_t count) {
        return std::vector<CyclesRow>(count, {{transport, pause, 1, 12s}, seenOf({}, 1)});
    };
    EXPECT_EQ(brokenOverAll(rows("SHM", 0s, 4)).size(), 1U);
    EXPECT_EQ(brokenOverAll(rows("SHM", 7s, 2)).size(), 1U);
    EXPECT_EQ(brokenOverAll(rows("TCP_Client", 0s, 3)).size(), 1U);
    EXPECT_EQ(brokenOverAll(rows("SHM", 0s, 3)).size(), 0U);
}

TEST(PromiseTest, SingleCyclesTellTheUsualTimeTogether)
{
    const std::vector<CyclesRow> rows(2, {{"UDP", 7s, 1, 12s}, seenOf({2.0})});
    EXPECT_EQ(brokenOver("UDP", 7s, rows.front().seen), Words());
    EXPECT_EQ(brokenOverAll(rows), Words{"UDP, 2 rows together: half of the cycles took 2 s and more instead of 1 s"});
}

TEST(PromiseTest, RowsOfAnotherPromiseAndSweptOnesAreNotAddedUp)
{
    const auto deaf = seenOf({}, 1);
    EXPECT_EQ(brokenOverAll({{{"SHM", 7s, 1, 12s}, deaf}, {{"SHM", 0s, 1, 12s}, deaf}}), Words());
    EXPECT_EQ(brokenOverAll({{{"SHM", 7s, 1, 12s, true}, deaf}, {{"SHM", 7s, 1, 12s, true}, deaf}}), Words());
}

TEST(PromiseTest, NothingIsPromisedBetweenFourAndSevenSecondsOverSharedMemory)
{
    EXPECT_FALSE(promiseOf("SHM", 5s));
    EXPECT_TRUE(promiseOf("SHM", 7s));
}
