#include "reliability/day/JoinLedger.h"

#include "reliability/day/Density.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

constexpr std::array<bool, 6> kAll = {true, true, true, true, true, true};
constexpr std::array<bool, 6> kWithoutTime = {true, false, true, true, true, true};
constexpr std::array<bool, 6> kTimeAlone = {false, true, false, false, false, false};

/// Epochs 0 to 9, a second apart, sent on time.
JoinLedger tenSent()
{
    JoinLedger ledger;
    for (int i = 0; i < 10; ++i) ledger.addSent(i, i, kAll);
    return ledger;
}

}  // namespace

TEST(JoinLedgerTest, JoinOfEachEpochIsAllThatIsPossible)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 10; ++i) ledger.addJoin(i + 20e-9);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.possible, 10U);
    EXPECT_EQ(verdict.missing, 0U);
    const auto strays = ledger.strays();
    EXPECT_EQ(strays.joins, 10U);
    EXPECT_EQ(strays.impossible + strays.twice + strays.backwards, 0U);
}

TEST(JoinLedgerTest, LostJoinIsMissing)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 10; ++i)
        if (i != 4) ledger.addJoin(i);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.firstMissing, 4.0);
}

TEST(JoinLedgerTest, SecondJoinOfOneTimeIsTwice)
{
    JoinLedger ledger = tenSent();
    ledger.addJoin(4);
    ledger.addJoin(4);
    EXPECT_EQ(ledger.strays().twice, 1U);
}

TEST(JoinLedgerTest, RepeatedJoinIsTwiceHoweverLateItComes)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 10; ++i) ledger.addJoin(i);
    ledger.verdict(0, 10);
    ledger.addJoin(4);
    EXPECT_EQ(ledger.strays().twice, 1U);
    EXPECT_EQ(ledger.strays().backwards, 1U);
}

TEST(JoinLedgerTest, JoinBehindALaterOneIsBackwards)
{
    JoinLedger ledger = tenSent();
    for (const int join : {3, 5, 4, 6}) ledger.addJoin(join);
    EXPECT_EQ(ledger.strays().backwards, 1U);
    EXPECT_EQ(ledger.strays().twice, 0U);
}

TEST(JoinLedgerTest, JoinOfWhatWasNotSentIsImpossible)
{
    JoinLedger ledger = tenSent();
    ledger.addJoin(4.5);
    EXPECT_EQ(ledger.strays().impossible, 1U);
}

TEST(JoinLedgerTest, EpochThatLacksAnInputIsNotDueAndItsJoinImpossible)
{
    for (const auto& inputs : {kWithoutTime, kTimeAlone}) {
        JoinLedger ledger = tenSent();
        ledger.addSent(4, 4, inputs);
        for (int i = 0; i < 10; ++i)
            if (i != 4) ledger.addJoin(i);
        EXPECT_EQ(ledger.verdict(0, 10).missing, 0U);
        EXPECT_EQ(ledger.verdict(0, 10).possible, 9U);
        ledger.addJoin(4);
        EXPECT_EQ(ledger.strays().impossible, 1U);
    }
}

TEST(JoinLedgerTest, InputsLessThanASecondApartMayBeJoined)
{
    JoinLedger ledger;
    ledger.addSent(0.0, 0.0, kWithoutTime);
    ledger.addSent(0.9, 0.9, kTimeAlone);
    ledger.addJoin(0.9);
    EXPECT_EQ(ledger.strays().impossible, 0U);
}

TEST(JoinLedgerTest, LaterJoinInTimeCoversFastEpochs)
{
    JoinLedger ledger;
    for (int i = 0; i < 20; ++i) ledger.addSent(i * 0.1, i * 0.1, kAll);
    for (const double join : {0.0, 0.3, 0.5, 0.8, 1.1, 1.9}) ledger.addJoin(join);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.possible, 20U);
    EXPECT_EQ(verdict.missing, 2U);  // of 1.2 and 1.3: the next one is more than half a second later
}

namespace {

/// A minute of ten epochs a second, and the joins of turns of which some are left out.
JoinLedger fastEpochs(double patience, double turn, int leftOut)
{
    JoinLedger ledger(patience);
    for (int i = 0; i < 600; ++i) ledger.addSent(i * 0.1, i * 0.1, kAll);
    for (int i = 0; i * turn < 60.0; ++i)
        if (i % leftOut != leftOut - 1) ledger.addJoin(std::floor(i * turn * 10.0 + 0.001) / 10.0);
    return ledger;
}

constexpr int kNone = 1000;  // turns

}  // namespace

TEST(JoinLedgerTest, EveryTurnHasItsJoinWhereEpochsAreFast)
{
    const auto verdict = fastEpochs(JoinLedger::kStrictPatience, 0.25, kNone).verdict(0, 59);
    EXPECT_EQ(verdict.missing, 0U);
    EXPECT_NEAR(verdict.turns, 236.0, 1e-6);
    EXPECT_EQ(verdict.joined, 236U);
    EXPECT_TRUE(Density::isDense(verdict));
}

TEST(JoinLedgerTest, TurnsThatTakeLongerAreStillDense)
{
    EXPECT_TRUE(Density::isDense(fastEpochs(JoinLedger::kPatience, 0.3, kNone).verdict(0, 59)));
}

TEST(JoinLedgerTest, EverySecondJoinLostOfFastEpochsIsNotDense)
{
    const auto verdict = fastEpochs(JoinLedger::kPatience, 0.25, 2).verdict(0, 59);
    EXPECT_EQ(verdict.missing, 0U);  // each epoch is covered by a later join
    EXPECT_EQ(verdict.joined, 118U);
    EXPECT_FALSE(Density::isDense(verdict));
}

TEST(JoinLedgerTest, EachLostJoinOfFastEpochsIsMissingToTheStrict)
{
    const auto verdict = fastEpochs(JoinLedger::kStrictPatience, 0.25, 40).verdict(0, 59);
    EXPECT_EQ(verdict.missing, 5U);
    EXPECT_TRUE(Density::isDense(verdict));
}

TEST(JoinLedgerTest, TurnsWhileTheMachineStoodStillDoNotCount)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 10; ++i) ledger.addJoin(i);
    ledger.stall(2.5, 4.5);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.possible, 10U);
    EXPECT_EQ(verdict.turns, 7.0);
    EXPECT_EQ(verdict.joined, 7U);
}

TEST(DensityTest, ThinStretchAmongDenseOnesIsSeen)
{
    Density density;
    JoinLedger::Verdict dense, thin;
    dense.turns = thin.turns = 400.0;
    dense.joined = 390;
    thin.joined = 200;
    for (int i = 0; i < 10; ++i) density.add(i == 5 ? thin : dense);
    EXPECT_TRUE(Density::isDense(density.all()));
    EXPECT_EQ(density.stretches(), 10U);
    EXPECT_EQ(density.thin(), 1U);
    EXPECT_EQ(density.lowest(), 0.5);
}

TEST(DensityTest, FewTurnsAreJudgedTogetherWithTheNext)
{
    Density density;
    JoinLedger::Verdict little;
    little.turns = 200.0;
    density.add(little);
    EXPECT_EQ(density.stretches(), 0U);
    little.joined = 200;
    density.add(little);
    EXPECT_EQ(density.stretches(), 1U);
    EXPECT_EQ(density.thin(), 1U);
}

TEST(DensityTest, NothingToJoinIsDense)
{
    EXPECT_TRUE(Density::isDense({}));
}

TEST(JoinLedgerTest, EpochThatWasSentTogetherWithTheNextIsNotDue)
{
    JoinLedger ledger = tenSent();
    ledger.addSent(4, 4.9, kAll);
    for (int i = 0; i < 10; ++i)
        if (i != 4) ledger.addJoin(i);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.missing, 0U);
    EXPECT_EQ(verdict.overtaken, 1U);
}

TEST(JoinLedgerTest, WhatIsExcusedIsNotDue)
{
    JoinLedger ledger = tenSent();
    ledger.excuse(3.5, 4.5);
    for (int i = 0; i < 10; ++i)
        if (i != 4) ledger.addJoin(i);
    EXPECT_EQ(ledger.verdict(0, 10).missing, 0U);
}

TEST(JoinLedgerTest, JoinsThatStopForGoodAreMissing)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 6; ++i) ledger.addJoin(i);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.possible, 10U);
    EXPECT_EQ(verdict.missing, 4U);
    EXPECT_EQ(verdict.firstMissing, 6.0);
}

TEST(JoinLedgerTest, AllIsMissingWhereNoJoinCame)
{
    EXPECT_EQ(tenSent().verdict(0, 10).missing, 10U);
}

TEST(JoinLedgerTest, WhatIsOutsideTheStretchIsNotJudged)
{
    JoinLedger ledger = tenSent();
    ledger.addJoin(3);
    ledger.addJoin(4);
    EXPECT_EQ(ledger.verdict(3, 5).possible, 2U);
    EXPECT_EQ(ledger.verdict(3, 5).missing, 0U);
}

TEST(JoinLedgerTest, WhatIsMissingWhileTheMachineStoodStillIsToldApart)
{
    JoinLedger ledger = tenSent();
    ledger.stall(3.5, 4.5);
    for (int i = 0; i < 10; ++i)
        if (i != 4 && i != 7) ledger.addJoin(i);
    const auto verdict = ledger.verdict(0, 10);
    EXPECT_EQ(verdict.stalled, 1U);
    EXPECT_EQ(verdict.missing, 1U);
    EXPECT_EQ(verdict.possible, 9U);
}

TEST(JoinLedgerTest, JoinThatCameIsPossibleWhileTheMachineStoodStill)
{
    JoinLedger ledger = tenSent();
    ledger.stall(0, 10);
    for (int i = 0; i < 10; ++i) ledger.addJoin(i);
    EXPECT_EQ(ledger.verdict(0, 10).possible, 10U);
    EXPECT_EQ(ledger.verdict(0, 10).stalled, 0U);
}

TEST(JoinLedgerTest, VerdictsOfStretchesAddUp)
{
    JoinLedger ledger = tenSent();
    for (int i = 0; i < 10; ++i)
        if (i != 2 && i != 7) ledger.addJoin(i);
    auto verdict = ledger.verdict(0, 5);
    verdict += ledger.verdict(5, 10);
    EXPECT_EQ(verdict.possible, 10U);
    EXPECT_EQ(verdict.turns, 9.0);  // nothing is known of the time behind the last epoch
    EXPECT_EQ(verdict.joined, 7U);
    EXPECT_EQ(verdict.missing, 2U);
    EXPECT_EQ(verdict.firstMissing, 2.0);
}
