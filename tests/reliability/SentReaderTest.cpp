#include "reliability/day/SentReader.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

struct SentReaderTest : testing::Test {
    void write(const std::string& text)
    {
        std::ofstream(m_directory.path() / "log", std::ios::app) << text;
        m_reader.readOn(m_ledgers);
    }

    TemporaryDirectory m_directory;
    SentReader m_reader{(m_directory.path() / "log").string()};
    Ledgers m_ledgers;
};

}  // namespace

TEST_F(SentReaderTest, EpochsAreDueAsTheyWereSent)
{
    write("0.000 epoch 100.000000000 111111\n1.000 epoch 101.000000000 111101\n");
    EXPECT_EQ(m_ledgers.joins.verdict(100, 102).missing, 1U);
    EXPECT_EQ(m_reader.begin, 100.0);
    EXPECT_EQ(m_reader.last, 101.0);
}

TEST_F(SentReaderTest, LineThatIsNotCompleteWaitsForItsRest)
{
    write("0.000 epoch 100.00000");
    EXPECT_EQ(m_reader.last, -1.0);
    write("0000 111111\n");
    EXPECT_EQ(m_reader.last, 100.0);
}

TEST_F(SentReaderTest, StatusesAreThoseOfTheStateBefore)
{
    write("0.000 gps lost\n1.000 epoch 101.0 111111\n2.000 epoch 102.0 111011\n3.000 epoch 103.0 111111\n");
    EXPECT_EQ(m_ledgers.gps.verdict(0, 100).due, 0U);  // one was not sent
    write("4.000 epoch 104.0 111111\n");
    EXPECT_EQ(m_ledgers.gps.verdict(0, 100).due, 1U);
}

TEST_F(SentReaderTest, RequestsAreAnsweredByAllUnlessOneIsSilent)
{
    write("0.100 silent GPS\n2.000 heard REQUEST_PARTNUMBERS\n2.050 answer GPS x\n11.000 speaking GPS\n"
          "12.100 heard REQUEST_PARTNUMBERS\n13.000 heard REQUEST_ZEROIZE\n");
    EXPECT_EQ(m_ledgers.partNumbers.verdict(0, 13).requests, 2U);
    EXPECT_EQ(m_ledgers.partNumbers.verdict(0, 13).unanswered, 1U);
}

TEST_F(SentReaderTest, ThreatsAndWarningsAddUp)
{
    write("1.000 threats 3 2\n2.000 warning 6 ANTENNA OPEN\n3.000 threats 4 0\n");
    EXPECT_EQ(m_reader.threats, 2U);
    EXPECT_EQ(m_reader.warnings, 1U);
    EXPECT_EQ(m_ledgers.threats.verdict(0, 10).due, 2U);
    EXPECT_EQ(m_ledgers.warnings.verdict(0, 10).due, 1U);
}
