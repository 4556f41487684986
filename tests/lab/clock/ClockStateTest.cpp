#include "lab/clock/ClockState.h"

#include <gtest/gtest.h>

using namespace labclock;

namespace {

constexpr std::int64_t kReal = 1'700'000'000 * kSecond;

}  // namespace

TEST(ClockStateTest, BeginsWithTheTimesOfItsStart)
{
    const ClockState clock = started(5 * kSecond, kReal, 60'000);
    EXPECT_EQ(monotonicAt(clock, 5 * kSecond), 5 * kSecond);
    EXPECT_EQ(realAt(clock, 5 * kSecond), kReal);
}

TEST(ClockStateTest, BothTimesRunByTheRate)
{
    const ClockState clock = started(5 * kSecond, kReal, 60'000);
    EXPECT_EQ(monotonicAt(clock, 7 * kSecond), 125 * kSecond);
    EXPECT_EQ(realAt(clock, 7 * kSecond), kReal + 120 * kSecond);
}

TEST(ClockStateTest, NanosecondsCountAtAFractionalRate)
{
    const ClockState clock = started(0, kReal, 1'500);
    EXPECT_EQ(monotonicAt(clock, 2), 3);
    EXPECT_EQ(monotonicAt(clock, 2'000'003), 3'000'004);
}

TEST(ClockStateTest, ADayOfTheMachineAtTheGreatestRateIsAThousandDays)
{
    const ClockState clock = started(0, 0, ClockState::kGreatestRate);
    EXPECT_EQ(monotonicAt(clock, 86'400 * kSecond), 86'400'000 * kSecond);
}

TEST(ClockStateTest, NewRateJoinsTheOldOneWithoutAJump)
{
    const ClockState clock = withRate(started(0, kReal, 2'000), 10 * kSecond, 100'000);
    EXPECT_EQ(monotonicAt(clock, 9 * kSecond), 18 * kSecond);
    EXPECT_EQ(monotonicAt(clock, 10 * kSecond), 20 * kSecond);
    EXPECT_EQ(monotonicAt(clock, 11 * kSecond), 120 * kSecond);
}

TEST(ClockStateTest, StepShiftsRealTimeAlone)
{
    const ClockState clock = stepped(started(0, kReal, 1'000), 10 * kSecond, -3600 * kSecond);
    EXPECT_EQ(realAt(clock, 10 * kSecond), kReal + 10 * kSecond - 3600 * kSecond);
    EXPECT_EQ(monotonicAt(clock, 10 * kSecond), 10 * kSecond);
}

TEST(ClockStateTest, SlewShiftsEvenlyAndThenNoMore)
{
    const ClockState clock = slewed(started(0, kReal, 1'000), 10 * kSecond, -2 * kSecond, 20 * kSecond);
    EXPECT_EQ(realAt(clock, 10 * kSecond), kReal + 10 * kSecond);
    EXPECT_EQ(realAt(clock, 20 * kSecond), kReal + 19 * kSecond);
    EXPECT_EQ(realAt(clock, 30 * kSecond), kReal + 28 * kSecond);
    EXPECT_EQ(realAt(clock, 99 * kSecond), kReal + 97 * kSecond);
}

TEST(ClockStateTest, SecondSlewKeepsWhatTheFirstHasShifted)
{
    const ClockState first = slewed(started(0, kReal, 1'000), 0, 10 * kSecond, 100 * kSecond);
    const ClockState second = slewed(first, 50 * kSecond, 1 * kSecond, 10 * kSecond);
    EXPECT_EQ(realAt(second, 50 * kSecond), kReal + 55 * kSecond);
    EXPECT_EQ(realAt(second, 60 * kSecond), kReal + 66 * kSecond);
}

TEST(ClockStateTest, LeapSecondPassesTwice)
{
    const ClockState clock = withLeapAt(started(0, kReal, 1'000), 0, kReal + 5 * kSecond);
    EXPECT_EQ(realAt(clock, 5 * kSecond - 1), kReal + 5 * kSecond - 1);
    EXPECT_EQ(realAt(clock, 5 * kSecond), kReal + 4 * kSecond);
    EXPECT_EQ(realAt(clock, 6 * kSecond), kReal + 5 * kSecond);
}

TEST(ClockStateTest, StepAfterALeapSecondDoesNotUndoIt)
{
    const ClockState leapt = withLeapAt(started(0, kReal, 1'000), 0, kReal + 5 * kSecond);
    const ClockState clock = stepped(leapt, 10 * kSecond, -100 * kSecond);
    EXPECT_EQ(realAt(clock, 10 * kSecond), kReal - 91 * kSecond);
}

TEST(ClockStateTest, SpanTakesTheMachineSoMuchLess)
{
    const ClockState clock = started(0, kReal, 100'000);
    EXPECT_EQ(machineSpan(clock, 0, 7200 * kSecond, 100 * kSecond), 72 * kSecond);
    EXPECT_EQ(clockSpan(clock, 72 * kSecond), 7200 * kSecond);
}

TEST(ClockStateTest, MachineSpanIsRoundedUp)
{
    const ClockState clock = started(0, kReal, 100'000);
    EXPECT_EQ(machineSpan(clock, 0, 1, kSecond), 1);
    EXPECT_EQ(machineSpan(clock, 0, 101, kSecond), 2);
}

TEST(ClockStateTest, MachineSpanKnowsOfARateThatIsToCome)
{
    const ClockState clock = withRate(started(0, kReal, 1'000), 10 * kSecond, 100'000);
    EXPECT_EQ(machineSpan(clock, 8 * kSecond, 1 * kSecond, 100 * kSecond), 1 * kSecond);
    EXPECT_EQ(machineSpan(clock, 8 * kSecond, 102 * kSecond, 100 * kSecond), 3 * kSecond);
    EXPECT_EQ(machineSpan(clock, 8 * kSecond, 102 * kSecond, kSecond), kSecond);
    EXPECT_EQ(machineSpan(clock, 8 * kSecond, 1'000'000 * kSecond, 5 * kSecond), 5 * kSecond);
}

TEST(ClockStateTest, MachineSpanKeepsToItsLimitWhateverIsAsked)
{
    const ClockState clock = started(0, kReal, ClockState::kLeastRate);
    EXPECT_EQ(machineSpan(clock, 0, 9'000'000'000'000'000'000, kSecond), kSecond);
    EXPECT_EQ(machineSpan(clock, 0, -1, kSecond), 0);
}

TEST(ClockStateTest, StateOfNonsenseIsNotValid)
{
    ClockState clock = started(0, kReal, 1'000);
    EXPECT_TRUE(isValid(clock));
    clock.rate = 0;
    EXPECT_FALSE(isValid(clock));
    clock.rate = 1'000;
    clock.slewDuration = -1;
    EXPECT_FALSE(isValid(clock));
}
