#include "reliability/day/JoinLedger.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(verdict.joins, 10U);
    EXPECT_EQ(verdict.missing + verdict.impossible + verdict.twice, 0U);
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
    EXPECT_EQ(ledger.verdict(0, 10).twice, 1U);
}

TEST(JoinLedgerTest, JoinOfWhatWasNotSentIsImpossible)
{
    JoinLedger ledger = tenSent();
    ledger.addJoin(4.5);
    EXPECT_EQ(ledger.verdict(0, 10).impossible, 1U);
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
        EXPECT_EQ(ledger.verdict(0, 10).impossible, 1U);
    }
}

TEST(JoinLedgerTest, InputsLessThanASecondApartMayBeJoined)
{
    JoinLedger ledger;
    ledger.addSent(0.0, 0.0, kWithoutTime);
    ledger.addSent(0.9, 0.9, kTimeAlone);
    ledger.addJoin(0.9);
    EXPECT_EQ(ledger.verdict(0, 10).impossible, 0U);
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
    EXPECT_EQ(ledger.verdict(3, 5).joins, 2U);
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
    EXPECT_EQ(verdict.joins, 8U);
    EXPECT_EQ(verdict.missing, 2U);
    EXPECT_EQ(verdict.firstMissing, 2.0);
}
