#include "lab/unit/Drive.h"

#include "utilities/geodetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace unitsim;
using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

Vector3d place(double latitude, double longitude, double height = 92.0)
{
    return {latitude * kDegree, longitude * kDegree, height};
}

/// Northward for 1110.27 m at 10 m/s, then 5 s of rest, then eastward.
Drive cornered()
{
    Drive drive(place(39.5, -76.1));
    drive.to(place(39.51, -76.1), 10.0);
    drive.stand(5.0);
    drive.to(place(39.51, -76.09), 20.0);
    return drive;
}

}  // namespace

TEST(DriveTest, LegTakesItsLengthBySpeed)
{
    EXPECT_NEAR(cornered().points()[1].seconds, 111.02674136935, 1e-8);
}

TEST(DriveTest, VehicleIsMidwayAtHalfOfTheTime)
{
    const VehicleState state = cornered().at(55.513370684675);
    EXPECT_NEAR(state.position[0] / kDegree, 39.505, 1e-10);
    EXPECT_NEAR(state.position[1] / kDegree, -76.1, 1e-10);
    EXPECT_NEAR(state.velocity[0], 10.0, 1e-6);
    EXPECT_NEAR(state.velocity[1], 0.0, 1e-9);
    EXPECT_NEAR(state.attitude[2], 0.0, 1e-9);
}

TEST(DriveTest, VehicleStandsWithTheHeadingThatItHad)
{
    Drive drive(place(39.5, -76.1));
    drive.to(place(39.5, -76.09), 10.0);
    drive.stand(5.0);
    drive.to(place(39.51, -76.09), 10.0);
    const VehicleState state = drive.at(drive.points()[1].seconds + 2.0);
    EXPECT_EQ(state.velocity.magnitude(), 0.0);
    EXPECT_NEAR(state.attitude[2] / kDegree, 90.0, 0.01);
    EXPECT_NEAR(drive.at(1e9).attitude[2] / kDegree, 0.0, 1e-9);
    EXPECT_NEAR(drive.at(1e9).position[0] / kDegree, 39.51, 1e-12);
}

TEST(DriveTest, VehicleWaitsWithTheHeadingOfItsFirstLeg)
{
    Drive drive(place(39.5, -76.1));
    drive.stand(5.0);
    drive.to(place(39.5, -76.09), 10.0);
    EXPECT_NEAR(drive.at(1.0).attitude[2] / kDegree, 90.0, 0.01);
    EXPECT_EQ(Drive(place(0.0, 0.0)).at(3.0).attitude[2], 0.0);
}

TEST(DriveTest, VehicleWaitsWithTheHeadingThatItWasGiven)
{
    Drive drive(place(39.5, -76.1), 1.5);
    EXPECT_EQ(drive.at(3.0).attitude[2], 1.5);
    drive.stand(5.0);
    drive.to(place(39.51, -76.1), 10.0);
    drive.stand(5.0);
    EXPECT_EQ(drive.at(3.0).attitude[2], 1.5);
    EXPECT_NEAR(drive.at(1e9).attitude[2], 0.0, 1e-9);
}

TEST(DriveTest, VelocityIsTheDerivativeOfThePosition)
{
    Drive drive(place(39.5, -76.1));
    drive.to(place(39.52, -76.05, 292.0), 15.0);
    constexpr double kStep = 0.01;
    const VehicleState state = drive.at(100.0);
    const Vector3d before = Geodetic::ECEF_From_Geodetic(drive.at(100.0 - kStep).position);
    const Vector3d after = Geodetic::ECEF_From_Geodetic(drive.at(100.0 + kStep).position);
    const Vector3d velocity = Geodetic::Build_CET(state.position[0], state.position[1], state.position[2]) *
                              ((after - before) * (0.5 / kStep));
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(state.velocity[axis], velocity[axis], 1e-5);
    EXPECT_NEAR(state.velocity.magnitude(), 15.0, 0.01);
    EXPECT_LT(state.velocity[2], 0.0);
    EXPECT_GT(state.attitude[1], 0.0);
}

TEST(DriveTest, DateLineIsCrossedTheShortWay)
{
    Drive drive(place(0.0, 179.99));
    drive.to(place(0.0, -179.99), 10.0);
    EXPECT_NEAR(drive.points()[1].seconds, 222.6421, 0.001);  // 0.02 degrees of 111.319 km, and 92 m of height
    EXPECT_GT(drive.at(1.0).velocity[1], 9.99);
    EXPECT_NEAR(drive.at(300.0).position[1] / kDegree, -179.99, 1e-9);
}

TEST(DriveTest, LegWithoutLengthIsNone)
{
    Drive drive(place(39.5, -76.1));
    drive.to(place(39.5, -76.1), 10.0);
    EXPECT_EQ(drive.points().size(), 1U);
}
