#include "reliability/hostile/JoinsDue.h"
#include "reliability/hostile/PendingSignal.h"

#include <gtest/gtest.h>

TEST(PendingSignalTest, SignalIsPendingForTheProcessOrItsThread)
{
    EXPECT_EQ(signalStateOf("Name:\tx\nState:\tS (sleeping)\nSigPnd:\t0\nShdPnd:\t0000000000004000\n", 15),
              SignalState::Pending);
    EXPECT_EQ(signalStateOf("State:\tR (running)\nSigPnd:\t4000\nShdPnd:\t0\n", 15), SignalState::Pending);
}

TEST(PendingSignalTest, OtherPendingSignalDoesNotCount)
{
    EXPECT_EQ(signalStateOf("State:\tR (running)\nSigPnd:\t0\nShdPnd:\t4000\n", 7), SignalState::Taken);
}

TEST(PendingSignalTest, ProcessThatHasEndedTakesNone)
{
    EXPECT_EQ(signalStateOf("State:\tZ (zombie)\nSigPnd:\t0\nShdPnd:\t4000\n", 15), SignalState::ProcessEnded);
    EXPECT_EQ(signalStateOf("", 15), SignalState::ProcessEnded);
}

TEST(JoinsDueTest, ThreeOfFourTurnsAreTheGoalWhereInputsAlwaysFit)
{
    const auto due = JoinsDue::of(120, 1.0);
    EXPECT_EQ(due.goal, 90.0);
    EXPECT_EQ(due.promised, 15.0);
}

TEST(JoinsDueTest, NoJoinInTwoSecondsBreaksAPromiseWhereInputsAlwaysFit)
{
    EXPECT_EQ(JoinsDue::of(8, 1.0).promised, 1.0);
}

TEST(JoinsDueTest, NothingIsPromisedOfSoFewTurnsThatChanceMayHaveItSo)
{
    EXPECT_EQ(JoinsDue::of(8, 0.3).promised, 0.0);
    EXPECT_EQ(JoinsDue::of(8, 0.3).goal, 1.0);
}
