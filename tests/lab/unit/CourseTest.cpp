#include "lab/unit/Course.h"

#include "utilities/geodetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace unitsim;
using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kPi = std::numbers::pi;

/// The velocity that the positions before and after tell, in the frame of the tangent plane.
Vector3d velocityByPositions(double seconds)
{
    constexpr double kStep = 0.01;
    const Vector3d before = Geodetic::ECEF_From_Geodetic(Course::at(seconds - kStep).position);
    const Vector3d after = Geodetic::ECEF_From_Geodetic(Course::at(seconds + kStep).position);
    const Vector3d here = Course::at(seconds).position;
    return Geodetic::Build_CET(here[0], here[1], here[2]) * ((after - before) * (0.5 / kStep));
}

double speed(const VehicleState& state)
{
    return state.velocity.magnitude();
}

}  // namespace

TEST(CourseTest, VelocityIsHowThePositionMoves)
{
    for (double seconds = 1.0; seconds < 900.0; seconds += 7.3) {
        const Vector3d told = Course::at(seconds).velocity;
        const Vector3d moved = velocityByPositions(seconds);
        for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(told[axis], moved[axis], 2e-4) << seconds;
    }
}

TEST(CourseTest, VehicleStandsAtTheStartAndAtEachMinute)
{
    for (const double seconds : {0.0, 60.0, 120.0, 3600.0}) EXPECT_NEAR(speed(Course::at(seconds)), 0.0, 1e-9);
    EXPECT_GT(speed(Course::at(30.0)), 8.0);
}

TEST(CourseTest, SpeedStaysThatOfAVehicle)
{
    for (double seconds = 0.0; seconds < 7200.0; seconds += 1.0) EXPECT_LT(speed(Course::at(seconds)), 67.0 / 3.6);
}

TEST(CourseTest, DriveStaysOnItsGround)
{
    for (double seconds = 0.0; seconds < 7200.0; seconds += 11.0) {
        const Vector3d position = Course::at(seconds).position;
        EXPECT_NEAR(position[0] * 180.0 / kPi, 39.5, 0.006);
        EXPECT_NEAR(position[1] * 180.0 / kPi, -76.1, 0.004);
        EXPECT_NEAR(position[2], 92.0, 5.0 + 1e-9);
    }
}

TEST(CourseTest, CourseIsClosed)
{
    // The mean rate of 0.0155 rad/s goes round in 405.4 s; stops delay it by less than a stop's length.
    const Vector3d start = Geodetic::ECEF_From_Geodetic(Course::at(0.0).position);
    double nearest = 1e9;
    for (double seconds = 340.0; seconds < 470.0; seconds += 0.05)
        nearest = std::min(nearest, (Geodetic::ECEF_From_Geodetic(Course::at(seconds).position) - start).magnitude());
    EXPECT_LT(nearest, 1.0);
}

TEST(CourseTest, VehiclePointsWhereItGoes)
{
    for (double seconds = 1.0; seconds < 900.0; seconds += 7.3) {
        const VehicleState state = Course::at(seconds);
        const double ground = std::hypot(state.velocity[0], state.velocity[1]);
        if (ground < 0.01) continue;
        EXPECT_NEAR(std::cos(state.attitude[2]), state.velocity[0] / ground, 1e-9);
        EXPECT_NEAR(std::sin(state.attitude[2]), state.velocity[1] / ground, 1e-9);
        EXPECT_NEAR(std::tan(state.attitude[1]), -state.velocity[2] / ground, 1e-9);
    }
}

TEST(CourseTest, AttitudeIsThatOfACar)
{
    for (double seconds = 0.0; seconds < 900.0; seconds += 1.0) {
        const Vector3d attitude = Course::at(seconds).attitude;
        EXPECT_LT(std::abs(attitude[0]), 0.05);
        EXPECT_LT(std::abs(attitude[1]), 0.05);
        EXPECT_GE(attitude[2], 0.0);
        EXPECT_LT(attitude[2], 2.0 * kPi);
    }
}
