#include "reliability/day/DayPlan.h"
#include "lab/unit/ScenarioText.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

TEST(DayPlanTest, SameSeedGivesTheSameDay)
{
    EXPECT_EQ(DayPlan::random(1, 86400, 4).scenario, DayPlan::random(1, 86400, 4).scenario);
    EXPECT_NE(DayPlan::random(1, 86400, 4).scenario, DayPlan::random(2, 86400, 4).scenario);
}

TEST(DayPlanTest, ScenarioIsOneThatTheSimulatorTakes)
{
    std::istringstream file(DayPlan::random(1, 86400, 4).scenario);
    EXPECT_GT(unitsim::scenarioOf(file, "day", {}).events.size(), 1000U);
}

TEST(DayPlanTest, LivesShareTheDay)
{
    const DayPlan plan = DayPlan::random(1, 86400, 4);
    ASSERT_EQ(plan.lives.size(), 4U);
    EXPECT_EQ(plan.lives[1].begin, 21600.0);
    EXPECT_EQ(plan.lives[1].end, 43200.0);
    EXPECT_EQ(plan.lives[1].sanitize, 43050.0);
}

TEST(DayPlanTest, NothingIsAskedForAboutTheEndOfALife)
{
    for (const auto& request : DayPlan::random(1, 86400, 4).requests) {
        const double ofLife = request.at - 21600.0 * static_cast<int>(request.at / 21600.0);
        EXPECT_GE(ofLife, 90.0);
        EXPECT_LE(ofLife, 21450.0);
    }
}

TEST(DayPlanTest, TheResultOfEachTestIsForgottenLater)
{
    std::vector<double> runs, forgotten;
    for (const auto& request : DayPlan::random(1, 86400, 4).requests) {
        if (request.name == "bit-run") runs.push_back(request.at + 50.0);
        if (request.name == "bit-clear") forgotten.push_back(request.at);
    }
    EXPECT_GT(runs.size(), 100U);
    EXPECT_EQ(forgotten, runs);
}
