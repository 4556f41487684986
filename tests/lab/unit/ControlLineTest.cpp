#include "lab/unit/ControlLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace unitsim;

namespace {

std::vector<Event> g_ordered;

std::string answer(const std::string& line)
{
    g_ordered.clear();
    return answerToLine(line, 7.5, [](const Event& event) { g_ordered.push_back(event); });
}

}  // namespace

TEST(ControlLineTest, LineWithoutATimeIsNow)
{
    EXPECT_EQ(answer("threat jam az=90"), "ok");
    ASSERT_EQ(g_ordered.size(), 1U);
    EXPECT_EQ(g_ordered[0].seconds, 7.5);
    EXPECT_EQ(std::get<ThreatReport>(g_ordered[0].what).threats.at(0).azimuthDegrees, 90);
}

TEST(ControlLineTest, LineOfAScenarioKeepsItsTime)
{
    EXPECT_EQ(answer("  at 20 gps-lost"), "ok");
    ASSERT_EQ(g_ordered.size(), 1U);
    EXPECT_EQ(g_ordered[0].seconds, 20.0);
}

TEST(ControlLineTest, NotesAndEmptyLinesOrderNothing)
{
    for (const char* line : {"", "  \r", "# note"}) {
        EXPECT_EQ(answer(line), "ok");
        EXPECT_TRUE(g_ordered.empty());
    }
}

TEST(ControlLineTest, WrongWordIsTheAnswer)
{
    EXPECT_EQ(answer("threat jma"), "error 'jma' is no kind of threat; did you mean jam?");
    EXPECT_TRUE(g_ordered.empty());
}

TEST(ControlLineTest, StretchHasABeginAndAnEnd)
{
    EXPECT_EQ(answer(" fault pva stuck  20..60"), "ok");
    ASSERT_EQ(g_ordered.size(), 2U);
    EXPECT_EQ(g_ordered[0].seconds, 20.0);
    EXPECT_TRUE(g_ordered[0].what == Happening(SetFault{Output::PositionVelocityAttitude, {Fault::Kind::Stuck, 0.0}}));
    EXPECT_EQ(g_ordered[1].seconds, 60.0);
    EXPECT_TRUE(g_ordered[1].what == Happening(SetFault{Output::PositionVelocityAttitude, Fault()}));
    EXPECT_EQ(answer("quality gps 5 2.."), "ok");
    ASSERT_EQ(g_ordered.size(), 1U);
    EXPECT_EQ(g_ordered[0].seconds, 2.0);
}

TEST(ControlLineTest, StretchThatIsOverIsRefused)
{
    EXPECT_EQ(answer("fault pva stuck 2..7.5"), "error '2..7.5' is over: it counts from the start of unit-sim");
    EXPECT_TRUE(g_ordered.empty());
    EXPECT_EQ(answer("fault pva stuck 2..7.6"), "ok");
}

TEST(ControlLineTest, WrongStretchIsTheAnswer)
{
    EXPECT_EQ(answer("fault pva stck 20..60"), "error 'stck' is no kind of fault; did you mean stuck?");
    EXPECT_EQ(answer("fault pva stuck 60..20"), "error '60..20' ends before it begins");
    EXPECT_EQ(answer("fault pva stuck"), "ok");
}

TEST(ControlLineTest, PlacesAreForTheFile)
{
    EXPECT_EQ(answer("place jammer at 1 2 power 3"),
              "error 'place' is for the file of a scenario: places stay as they are while it runs");
    EXPECT_TRUE(g_ordered.empty());
}
