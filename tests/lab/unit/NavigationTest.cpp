#include "lab/unit/Navigation.h"

#include "utilities/geodetic.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>

using namespace unitsim;
using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr GpsMoment kMoment{1'400'000'000'000'000'000};

/// The true error of a position along north, east and down, in metres.
Vector3d positionErrorOf(const Solution& solution, double seconds)
{
    const Vector3d truth = Course::at(seconds).position;
    const Vector3d offset = Geodetic::ECEF_From_Geodetic(solution.state.position) - Geodetic::ECEF_From_Geodetic(truth);
    return Geodetic::Build_CET(truth[0], truth[1], truth[2]) * offset;
}

/// The mean of (error / claimed deviation)^2 over many navigators at one time, of ten errors each: 1 if the claim is
/// honest. GPS is lost from `lostFrom` on.
std::array<double, 10> normalizedSquares(double lostFrom, double until)
{
    constexpr int kNavigators = 2000;
    std::array<double, 10> sums{};
    for (std::uint64_t seed = 1; seed <= kNavigators; ++seed) {
        Navigation navigation(seed);
        Solution solution;
        for (double seconds = 0.0; seconds <= until; seconds += 5.0)
            solution = navigation.solve(seconds, kMoment, seconds >= lostFrom);
        const Vector3d position = positionErrorOf(solution, until);
        const VehicleState truth = Course::at(until);
        const auto add = [&](std::size_t index, double error, double deviation) {
            sums[index] += error / deviation * (error / deviation) / kNavigators;
        };
        add(0, static_cast<double>(solution.time.nanoseconds - kMoment.nanoseconds) / 1e9, solution.timeError);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            add(1 + axis, position[axis], solution.positionError[axis]);
            add(4 + axis, solution.state.velocity[axis] - truth.velocity[axis], solution.velocityError[axis]);
            add(7 + axis, solution.state.attitude[axis] - truth.attitude[axis], solution.attitudeError[axis]);
        }
    }
    return sums;
}

}  // namespace

TEST(NavigationTest, ErrorsAreAsLargeAsClaimed)
{
    for (const double square : normalizedSquares(1e9, 40.0)) EXPECT_NEAR(square, 1.0, 0.12);
}

TEST(NavigationTest, ErrorsAreAsLargeAsClaimedWithoutGpsToo)
{
    for (const double square : normalizedSquares(20.0, 120.0)) EXPECT_NEAR(square, 1.0, 0.12);
}

TEST(NavigationTest, ClaimGrowsWithAnOutageAndReturnsAfterIt)
{
    Navigation navigation(1);
    const double before = navigation.solve(0.0, kMoment, false).positionError[0];
    navigation.solve(10.0, kMoment, true);
    const double late = navigation.solve(110.0, kMoment, true).positionError[0];
    const double after = navigation.solve(111.0, kMoment, false).positionError[0];
    EXPECT_DOUBLE_EQ(before, 1.2);
    EXPECT_NEAR(late, std::hypot(1.2, 50.0), 1e-9);
    EXPECT_DOUBLE_EQ(after, 1.2);
}

TEST(NavigationTest, SameSeedDrivesTheSameWay)
{
    Navigation first(7);
    Navigation again(7);
    Navigation other(8);
    const double latitude = first.solve(3.0, kMoment, false).state.position[0];
    EXPECT_EQ(again.solve(3.0, kMoment, false).state.position[0], latitude);
    EXPECT_NE(other.solve(3.0, kMoment, false).state.position[0], latitude);
}

TEST(GpsMomentTest, LaunchOfAMonthIsInItsWeek)
{
    // 2026-03-01 00:00:00 UTC, a Sunday: 18 s into GPS week 2408.
    const GpsMoment moment = GpsMoment::fromUtcSeconds(1772323200);
    EXPECT_EQ(moment.week(), 2408);
    EXPECT_EQ(moment.nanosecondsOfWeek(), 18'000'000'000);
    EXPECT_EQ(moment.nanosecondsOfDay(), 0);
}

TEST(GpsMomentTest, LeapSecondsPutUtcOnTheDayBefore)
{
    GpsMoment moment = GpsMoment::fromUtcSeconds(1772323200);
    moment.nanoseconds -= 1;
    EXPECT_EQ(moment.week(), 2408);
    EXPECT_EQ(moment.nanosecondsOfWeek(), 17'999'999'999);
    EXPECT_EQ(moment.nanosecondsOfDay(), 86'399'999'999'999);
}

TEST(NavigationTest, ErrorsGrowWithTheNoise)
{
    Navigation quiet(7), noisy(7);
    const Solution one = quiet.solve(0.0, kMoment, false);
    const Solution other = noisy.solve(0.0, kMoment, false, 3.0);
    EXPECT_NEAR(other.positionError[0], 3.0 * one.positionError[0], 1e-12);
    EXPECT_NEAR(positionErrorOf(other, 0.0)[0], 3.0 * positionErrorOf(one, 0.0)[0], 1e-6);
}

TEST(NavigationTest, NoiseStaysAsItWasWhenGpsIsLost)
{
    Navigation navigation(7);
    navigation.solve(0.0, kMoment, false, 3.0);
    EXPECT_NEAR(navigation.solve(1.0, kMoment, true, 100.0).positionError[0], 3.6, 1e-12);
    EXPECT_NEAR(navigation.solve(2.0, kMoment, false, 1.0).positionError[0], 1.2, 1e-12);
}

TEST(NavigationTest, SolutionFollowsTheCourseThatIsGiven)
{
    const auto course = [](double seconds) {
        VehicleState state;
        state.position = {0.5, 1.0, seconds};
        return state;
    };
    EXPECT_EQ(Navigation(1, course).solve(20.0, kMoment, false).truth.position[2], 20.0);
}
