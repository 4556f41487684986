#include "lab/unit/World.h"

#include "lab/unit/Radio.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace unitsim;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;
const Vector3d kHere(39.5 * kDegree, -76.1 * kDegree, 92.0);

Vector3d place(double latitude, double longitude, double height)
{
    return {latitude * kDegree, longitude * kDegree, height};
}

/// 1 W on L1, 1110 m to the north.
Jammer northern()
{
    Jammer jammer;
    jammer.position = place(39.51, -76.1, 92.0);
    jammer.powerDbm = 30.0;
    return jammer;
}

}  // namespace

// Expected numbers of ranges and angles were computed from Earth-centred coordinates by hand-written formulas elsewhere.

TEST(GeometryTest, PlaceToTheNorthIsSeenThere)
{
    const Sight sight = sightOf(place(39.51, -76.1, 92.0), kHere);
    EXPECT_NEAR(sight.range, 1110.2674122902, 1e-6);
    EXPECT_NEAR(sight.azimuth, 0.0, 1e-9);
    EXPECT_NEAR(sight.elevation / kDegree, -0.0050000015, 1e-8);
}

TEST(GeometryTest, PlaceAboveAndToTheEastIsSeenThere)
{
    const Sight sight = sightOf(place(39.5, -76.08, 592.0), kHere);
    EXPECT_NEAR(sight.range, 1791.5468758428, 1e-6);
    EXPECT_NEAR(sight.azimuth / kDegree, 89.9936392177, 1e-8);
    EXPECT_NEAR(sight.elevation / kDegree, 16.1980903467, 1e-8);
}

TEST(GeometryTest, PlaceToTheSouthWestHasANegativeAzimuth)
{
    const Sight sight = sightOf(place(39.49, -76.12, 92.0), kHere);
    EXPECT_NEAR(sight.range, 2047.5649045173, 1e-6);
    EXPECT_NEAR(sight.azimuth / kDegree, -122.8296922094, 1e-8);
}

TEST(GeometryTest, AnglesAreBroughtIntoATurn)
{
    EXPECT_NEAR(fullTurn(-0.5), 2.0 * std::numbers::pi - 0.5, 1e-12);
    EXPECT_NEAR(halfTurn(358.0 * kDegree), -2.0 * kDegree, 1e-12);
}

TEST(RadioTest, LossGrowsWithDistanceAndFrequency)
{
    EXPECT_NEAR(pathLossDb(1000.0, 1575.42), 96.3957103129, 1e-9);
    EXPECT_NEAR(pathLossDb(10000.0, 1227.6), 114.2289208171, 1e-9);
}

TEST(RadioTest, WhatIsNearerThanAMetreIsTakenToBeThere)
{
    EXPECT_NEAR(pathLossDb(0.0, 1575.42), 36.3957103129, 1e-9);
}

TEST(RadioTest, GpsIsLostAtFortyTwoDecibelsAboveTheSignal)
{
    EXPECT_NEAR(disturbedDbHz(-131.5 + 42.0112270431), 28.0, 1e-9);
    EXPECT_NEAR(disturbedDbHz(-131.5 + 36.8157084993), 33.0, 1e-9);
    EXPECT_EQ(disturbedDbHz(-std::numeric_limits<double>::infinity()), 45.0);
}

TEST(RadioTest, ErrorsAreSevenTimesAsLargeBeforeGpsIsLost)
{
    EXPECT_NEAR(noiseFactor(28.0), 7.0794578438, 1e-9);
    EXPECT_EQ(noiseFactor(45.0), 1.0);
}

TEST(RadioTest, BandOfL1IsReachedFromBesideByAWideSource)
{
    EXPECT_TRUE(reachesL1(1575.42, 0.001));
    EXPECT_FALSE(reachesL1(1600.0, 20.0));
    EXPECT_TRUE(reachesL1(1600.0, 30.0));
    EXPECT_FALSE(reachesL1(1227.6, 20.0));
}

TEST(WorldTest, PowerThatArrivesIsThatOfAllSourcesWhichSend)
{
    World world;
    world.jammers = {northern(), northern()};
    world.jammers[1].when = {10.0, 20.0};
    // 30 dBm less 97.304 dB of 1110 m at 1575.4 MHz; two of it are 3.010 dB more.
    EXPECT_NEAR(jamDbm(world, 9.9, kHere), -67.304, 0.001);
    EXPECT_NEAR(jamDbm(world, 10.0, kHere), -64.294, 0.001);
    EXPECT_NEAR(jamDbm(world, 20.0, kHere), -67.304, 0.001);
}

TEST(WorldTest, SourceOutsideTheBandDoesNotJam)
{
    World world;
    world.jammers = {northern()};
    world.jammers[0].centerMhz = 1227.6;
    EXPECT_EQ(jamDbm(world, 0.0, kHere), -std::numeric_limits<double>::infinity());
}

TEST(WorldTest, SensorTellsBearingPowerAndConfidence)
{
    World world;
    world.jammers = {northern()};
    world.jammers[0].position = place(39.5, -76.08, 592.0);
    const ThreatReport report = AntiJamSensor().look(world, 0.0, kHere);
    ASSERT_EQ(report.threats.size(), 1U);
    const Threat threat = report.threats[0];
    EXPECT_EQ(threat.state, 2);
    EXPECT_EQ(threat.azimuthDegrees, 90);
    EXPECT_EQ(threat.elevationDegrees, 16);
    EXPECT_EQ(threat.center, 31508);
    EXPECT_EQ(threat.bandwidthKhz, 2000);
    EXPECT_EQ(threat.power, -71);  // 30 less 101.46
    EXPECT_EQ(threat.confidenceTimes25, 4U);
}

TEST(WorldTest, SensorTellsOnceThatASourceHasEnded)
{
    World world;
    world.jammers = {northern()};
    world.jammers[0].when = {5.0, 6.0};
    AntiJamSensor sensor;
    EXPECT_TRUE(sensor.look(world, 4.0, kHere).threats.empty());
    EXPECT_EQ(sensor.look(world, 5.0, kHere).threats.at(0).state, 2);
    EXPECT_EQ(sensor.look(world, 6.0, kHere).threats.at(0).state, 0);
    EXPECT_TRUE(sensor.look(world, 7.0, kHere).threats.empty());
}

TEST(WorldTest, SensorDoesNotHearWhatIsBelowItsFloor)
{
    World world;
    world.jammers = {northern()};
    world.jammers[0].powerDbm = -12.8;  // -110.1 there
    EXPECT_TRUE(AntiJamSensor().look(world, 0.0, kHere).threats.empty());
    world.jammers[0].powerDbm = -12.6;
    EXPECT_EQ(AntiJamSensor().look(world, 0.0, kHere).threats.at(0).confidenceTimes25, 1U);
}

TEST(WorldTest, ConfidenceGrowsByAQuarterEachTenDecibels)
{
    EXPECT_EQ(confidenceTimes25Of(-100.1), 1U);
    EXPECT_EQ(confidenceTimes25Of(-100.0), 2U);
    EXPECT_EQ(confidenceTimes25Of(-85.0), 3U);
    EXPECT_EQ(confidenceTimes25Of(10.0), 4U);
}

TEST(WorldTest, TenMilliwattsTakeGpsAwayWithinFourteenHundredMetres)
{
    Jammer jammer = northern();
    jammer.powerDbm = 10.0;
    EXPECT_LT(disturbedDbHz(receivedDbm(jammer, 1420.0)), kLostBelowDbHz);
    EXPECT_GT(disturbedDbHz(receivedDbm(jammer, 1440.0)), kLostBelowDbHz);
}

TEST(WorldTest, GpsComesBackAtABetterLevelThanItWasLostAt)
{
    GpsReception reception;
    EXPECT_FALSE(reception.update(28.1));
    EXPECT_TRUE(reception.update(27.9));
    EXPECT_TRUE(reception.update(32.9));
    EXPECT_FALSE(reception.update(33.1));
}
