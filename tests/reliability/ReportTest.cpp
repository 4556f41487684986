#include "reliability/Report.h"

#include <gtest/gtest.h>
#include <limits>
#include <sstream>

namespace {

class ReportTest : public testing::Test {
protected:
    std::ostringstream m_said;
    Report m_report{"load", m_said};
};

TEST_F(ReportTest, AFigureIsALineWithItsUnit)
{
    m_report.figure("longest hold", 0.8251, "ms");
    m_report.figure("joins", 600);
    EXPECT_EQ(m_said.str(), "load: longest hold: 0.8251 ms\nload: joins: 600\n");
}

TEST_F(ReportTest, AGoalIsKeptAtItsLimit)
{
    m_report.figure("hold", 1, "ms", {Goal::AtMost, 1});
    m_report.figure("rate", 9.5, "Hz", {Goal::AtLeast, 9.5});
    EXPECT_EQ(m_said.str(), "load: hold: 1 ms (at most 1: kept)\nload: rate: 9.5 Hz (at least 9.5: kept)\n");
}

TEST_F(ReportTest, AMissedGoalIsToldAndIsNoFailure)
{
    m_report.figure("hold", 1.5, "ms", {Goal::AtMost, 1});
    m_report.figure("score", 89, "%", {Goal::AtLeast, 90});
    EXPECT_EQ(m_said.str(), "load: hold: 1.5 ms (at most 1: MISSED)\nload: score: 89 % (at least 90: MISSED)\n");
    EXPECT_EQ(m_report.status(), 0);
}

TEST_F(ReportTest, AFigureThatIsNoNumberMissesItsGoal)
{
    m_report.figure("hold", std::numeric_limits<double>::quiet_NaN(), "ms", {Goal::AtMost, 1});
    EXPECT_NE(m_said.str().find("MISSED"), std::string::npos);
}

TEST_F(ReportTest, ABrokenPromiseIsAFailure)
{
    EXPECT_TRUE(m_report.expect(true, "it ends"));
    EXPECT_EQ(m_report.status(), 0);
    EXPECT_FALSE(m_report.expect(false, "it ends within 60 s"));
    EXPECT_EQ(m_said.str(), "load: BROKEN: it ends within 60 s\n");
    EXPECT_EQ(m_report.status(), 1);
}

}  // namespace
