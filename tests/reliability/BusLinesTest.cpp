#include "reliability/day/BusTap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

std::string warnings(const std::vector<std::string>& rows)
{
    std::string text;
    for (const std::string& row : rows) text += (text.empty() ? "" : ",") + row;
    return R"({"number":9,"type":"tell","tell":"warning-messages","at_ms":1,"record":{"gpsSeconds":1.5,"warnings":[)" +
           text + R"(],"warningCount":1}})";
}

std::string row(int id, const std::string& text = "")
{
    return R"({"warningId":)" + std::to_string(id) + R"(,"customText":")" + text + R"("})";
}

class BusLinesTest : public testing::Test {
protected:
    void take(const std::string& line) { m_lines.take(line, m_published); }

    BusLines m_lines;
    Published m_published;
};

}  // namespace

TEST_F(BusLinesTest, JoinsAreThoseThatHaveATime)
{
    take(R"({"type":"tell","tell":"blended-navigation","at_ms":7,"timeOfValidity":null,"record":{"gpsSeconds":0.0}})");
    take(R"({"type":"tell","tell":"blended-navigation","at_ms":8,"timeOfValidity":{},"record":{"gpsSeconds":12.5}})");
    EXPECT_EQ(m_published.joins, (std::vector{12.5}));
    EXPECT_EQ(m_published.atMs, 8);
}

TEST_F(BusLinesTest, PastPublicationsDoNotCount)
{
    take(R"({"last":true,"type":"tell","tell":"blended-navigation","timeOfValidity":{},"record":{"gpsSeconds":12.5}})");
    EXPECT_TRUE(m_published.joins.empty());
}

TEST_F(BusLinesTest, ThreatsOfAllPublicationsAddUp)
{
    take(R"({"type":"tell","tell":"navwar-sa","record":{"threats":[],"threatCount":3}})");
    take(R"({"type":"tell","tell":"navwar-sa","record":{"threats":[],"threatCount":2}})");
    EXPECT_EQ(m_published.threats, 5U);
    ASSERT_EQ(m_published.threatTells.size(), 2U);
    EXPECT_EQ(m_published.threatTells[1].count, 2U);
    EXPECT_EQ(m_published.awareness, 2U);
}

TEST_F(BusLinesTest, WarningThatIsRepeatedCountsOnce)
{
    take(warnings({row(6)}));
    take(warnings({row(6)}));
    take(warnings({row(6), row(6), row(67)}));
    EXPECT_EQ(m_published.warnings, 3U);
    EXPECT_EQ(m_published.gpsWarnings.size(), 1U);
}

TEST_F(BusLinesTest, WarningThatPushesAnotherOutCountsOnce)
{
    take(warnings({row(1), row(2), row(3)}));
    take(warnings({row(2), row(3), row(4)}));
    EXPECT_EQ(m_published.warnings, 4U);
}

TEST_F(BusLinesTest, ClearingsAreKnownByTheirTexts)
{
    take(warnings({row(22, "OrvaneServer: Clear data complete for command, REQUEST_ZEROIZE."),
                   row(23, "OrvaneServer: Clear data command,  REQUEST_ZEROIZE, timed out after 7200 seconds.")}));
    EXPECT_EQ(m_published.clearings, (std::vector<std::int64_t>{1}));
    EXPECT_EQ(m_published.timedOut, 1U);
}

TEST_F(BusLinesTest, AnswersAreKnownByTheirIdsAndRefusalsCount)
{
    take(R"({"type":"answer","request":"bit-run","id":7,"ok":true})");
    take(R"({"type":"answer","request":"bit-run","id":12,"ok":false,"error":"there is no service"})");
    EXPECT_EQ(m_published.answers, (std::vector<int>{7, 12}));
    EXPECT_EQ(m_published.refused, 1U);
}

TEST_F(BusLinesTest, TestsAreKnownByTheirTimes)
{
    take(R"({"type":"tell","tell":"execute-built-in-tests","at_ms":17,"expectedSeconds":60,"id":"1"})");
    EXPECT_EQ(m_published.tests, (std::vector<std::int64_t>{17}));
}

TEST_F(BusLinesTest, DroppedLinesCount)
{
    take(R"({"type":"dropped","lines":17})");
    EXPECT_EQ(m_published.dropped, 17U);
}

TEST_F(BusLinesTest, WarningsOfGpsHaveTheTimeAtWhichTheyAreNew)
{
    take(warnings({row(67)}));
    take(warnings({row(67), row(68), row(6)}));
    ASSERT_EQ(m_published.gpsWarnings.size(), 2U);
    EXPECT_TRUE(m_published.gpsWarnings[0].isLost);
    EXPECT_FALSE(m_published.gpsWarnings[1].isLost);
    EXPECT_EQ(m_published.gpsWarnings[1].atMs, 1);
    EXPECT_EQ(m_published.otherWarnings, (std::vector<std::int64_t>{1}));
}

TEST_F(BusLinesTest, ConfigurationIsWholeByItsName)
{
    take(
        R"({"type":"tell","tell":"system-configuration","at_ms":5,"record":{"systemName":"Kolt Gen II - Collecting"}})");
    take(R"({"type":"tell","tell":"system-configuration","at_ms":6,"record":{"systemName":"Kolt Gen II"}})");
    take(R"({"type":"tell","tell":"system-configuration","at_ms":7,"record":{"systemName":""}})");
    EXPECT_EQ(m_published.configurations, (std::vector<std::int64_t>{6}));
}

TEST_F(BusLinesTest, ATestThatIsNotTakenCountsForNothing)
{
    take(R"({"type":"tell","tell":"execute-built-in-tests","at_ms":5,"expectedSeconds":25.0,"id":"49"})");
    take(R"({"type":"tell","tell":"execute-built-in-tests","at_ms":6,"expectedSeconds":0.0,"id":""})");
    EXPECT_EQ(m_published.tests, (std::vector<std::int64_t>{5}));
}

TEST_F(BusLinesTest, ResultsAreForgottenWhereTheServiceSaysSo)
{
    take(R"({"type":"tell","tell":"clear-built-in-test-results","at_ms":5,"cleared":1})");
    take(R"({"type":"tell","tell":"clear-built-in-test-results","at_ms":6,"cleared":0})");
    EXPECT_EQ(m_published.testsForgotten, 1U);
}
