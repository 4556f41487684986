#include "reliability/load/Joins.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace {

/// Epochs 1 to 100, sent every 10 ms: the first at 1010.
struct JoinsTest : testing::Test {
    JoinsTest()
    {
        for (auto& input : *sent)
            for (std::int32_t epoch = 1; epoch <= 100; ++epoch) input.note(epoch, 1000.0 + 10.0 * epoch);
    }

    static Told made(double at, std::int32_t epoch, std::int32_t pvaBlock = 0, std::int32_t assuranceBlock = 0)
    {
        return {at, {epoch, epoch, epoch, epoch, pvaBlock, assuranceBlock}};
    }

    Joins::Findings judge(const std::vector<Told>& told) const { return Joins::judge(told, *sent, 50); }

    std::unique_ptr<Joins::Sent> sent = std::make_unique<Joins::Sent>();
};

TEST_F(JoinsTest, NothingIsFoundWhereEachIsMadeOfTheLatest)
{
    const auto findings = judge({made(1013, 1), made(1027, 2)});
    EXPECT_EQ(findings.usedTwice, 0U);
    EXPECT_EQ(findings.neverSent, 0U);
    EXPECT_EQ(findings.ofAnotherBlock, 0U);
    EXPECT_EQ(findings.latency, std::vector<double>({3, 7}));
    EXPECT_EQ(findings.outdated, std::vector<double>({0, 0}));
}

TEST_F(JoinsTest, OneInputThatIsOfTheRecordBeforeIsUsedTwice)
{
    auto second = made(1500, 40);
    second.made.mis = 7;
    EXPECT_EQ(judge({made(1080, 7), second}).usedTwice, 1U);
}

TEST_F(JoinsTest, LatestInputCountsForTheLatencyAndTheOldestForItsAge)
{
    auto record = made(1205, 20);
    record.made.receiver = 15;  // and 16 was sent at 1160
    const auto findings = judge({record});
    EXPECT_EQ(findings.latency, std::vector<double>({5}));
    EXPECT_EQ(findings.outdated, std::vector<double>({45}));
}

TEST_F(JoinsTest, EpochThatIsNotSentYetCannotBeInIt)
{
    EXPECT_EQ(judge({made(1498, 50)}).neverSent, 4U);
    EXPECT_EQ(judge({made(9000, 101)}).neverSent, 4U);
    EXPECT_EQ(judge({made(9000, 100'001)}).neverSent, 4U);
    EXPECT_EQ(judge({made(1499.5, 50)}).neverSent, 0U);  // the bus tells whole milliseconds
}

TEST_F(JoinsTest, EpochThatWasLeftOutIsNotMissed)
{
    sent->front().note(21, 0.0);
    const auto findings = judge({made(1215, 20)});
    EXPECT_EQ(findings.outdated, std::vector<double>({5}));  // the three others' epoch 21
}

TEST_F(JoinsTest, PositionOfAnotherBlockIsFound)
{
    EXPECT_EQ(judge({made(1760, 75, 1, 1)}).ofAnotherBlock, 0U);
    EXPECT_EQ(judge({made(1760, 75, 0, 1)}).ofAnotherBlock, 1U);
    EXPECT_EQ(judge({made(1760, 75, 2, 1)}).ofAnotherBlock, 1U);
}

TEST_F(JoinsTest, AssuranceOfAnotherBlockIsFound)
{
    EXPECT_EQ(judge({made(1760, 75, 1, 0)}).ofAnotherBlock, 1U);
}

TEST_F(JoinsTest, BehindAGapPositionAndAssuranceMayBeAheadOfTheTime)
{
    for (std::int32_t epoch = 76; epoch < 100; ++epoch) sent->front().note(epoch, 0.0);
    EXPECT_EQ(judge({made(2001, 75, 2, 2)}).ofAnotherBlock, 0U);
    EXPECT_EQ(judge({made(2001, 75, 3, 0)}).ofAnotherBlock, 1U);
}

TEST_F(JoinsTest, AtTheEdgeOfABlockItsNeighbourIsNoOther)
{
    EXPECT_EQ(judge({made(1560, 55, 0, 0)}).ofAnotherBlock, 0U);
    EXPECT_EQ(judge({made(1960, 95, 2, 2)}).ofAnotherBlock, 0U);
}

}  // namespace
