#include "reliability/load/Numbered.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace {

using Numbered::Comes;

/// Numbers 1 to 100 but for 50, sent every 10 ms: the first at 1010.
struct NumberedTest : testing::Test {
    NumberedTest()
    {
        for (std::int32_t number = 1; number <= 100; ++number)
            if (number != 50) sent.note(number, 1000.0 + 10.0 * number);
    }

    Numbered::Findings judge(const std::vector<NumberedTell>& tells, Comes comes = Comes::Once) const
    {
        return Numbered::judge(tells, sent, comes);
    }

    SentTimes sent;
};

}  // namespace

TEST_F(NumberedTest, NothingIsFoundWhereTheNewestAreTold)
{
    const auto findings = judge({{1000, {}}, {1025, {1, 2}}, {1515, {48, 49, 51}}});
    EXPECT_EQ(findings.all, 5U);
    EXPECT_EQ(findings.leftOut + findings.repeated + findings.neverSent + findings.tooLong, 0U);
    EXPECT_EQ(findings.outdated, (std::vector<double>{0, 0}));
}

TEST_F(NumberedTest, OneThatWasSentBetweenTwoOfATellIsLeftOut)
{
    EXPECT_EQ(judge({{1200, {1, 2, 4}}}).leftOut, 1U);
    EXPECT_EQ(judge({{1200, {1, 2}}, {1300, {4, 5}}}).leftOut, 0U);  // fifty newer ones may have come between
}

TEST_F(NumberedTest, WhatIsToldOnceMayNotComeAgain)
{
    const std::vector<NumberedTell> tells = {{1200, {1, 2}}, {1300, {2, 3}}};
    EXPECT_EQ(judge(tells, Comes::Once).repeated, 1U);
    EXPECT_EQ(judge(tells, Comes::Again).repeated, 0U);
}

TEST_F(NumberedTest, OneComesTwiceInOneTellNeverRightly)
{
    EXPECT_EQ(judge({{1200, {1, 2, 2}}}, Comes::Again).repeated, 1U);
    EXPECT_EQ(judge({{1200, {3, 2}}}, Comes::Again).repeated, 1U);
}

TEST_F(NumberedTest, OneThatWasNotSentYetIsFound)
{
    EXPECT_EQ(judge({{1200, {30}}}).neverSent, 1U);
    EXPECT_EQ(judge({{1900, {50}}}).neverSent, 1U);
    EXPECT_EQ(judge({{9000, {0}}}).neverSent, 1U);
}

TEST_F(NumberedTest, TellWithoutNewOnesIsOutdatedSinceTheNextWasSent)
{
    EXPECT_EQ(judge({{1015, {1}}, {1100, {}}}).outdated, (std::vector<double>{0, 80}));
}

TEST_F(NumberedTest, FiftyOneInATellAreTooMany)
{
    std::vector<std::int32_t> numbers(51);
    std::iota(numbers.begin(), numbers.end(), 1);
    EXPECT_EQ(judge({{2000, numbers}}).tooLong, 1U);
    numbers.pop_back();
    EXPECT_EQ(judge({{2000, numbers}}).tooLong, 0U);
}
