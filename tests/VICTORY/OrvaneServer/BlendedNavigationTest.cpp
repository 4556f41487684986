#include "VICTORY/OrvaneServer/BlendedNavigation.h"

#include "tests/support/ConsoleCapture.h"
#include "tests/support/ValueAt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace aspn2_msgs::idl;

std::uint32_t word(const VapntcBlendedNavigationRecord& record, std::size_t offset)
{
    return valueAt<std::uint32_t>(record, offset);
}

double real(const VapntcBlendedNavigationRecord& record, std::size_t offset)
{
    return valueAt<double>(record, offset);
}

struct BlendedNavigationTest : testing::Test {
    BlendedNavigationTest()
    {
        utcTime.gps_week(2235);
        utcTime.gps_tow_sec(100);
        utcTime.gps_tow_nsec(250'000'000.0);
        utcTime.utc_tod_sec(82);
        utcTime.utc_tod_nsec(250'000'000.0);
        utcTime.covariance()[0][0] = 4e-14;
        encoder.initMeasSourceEncoder();
    }

    VapntcBlendedNavigationRecord make() const
    {
        return BlendedNavigation::record({utcTime, pnt, mis, pva, assurance, receiver, gpsLost},
                                         [this](unsigned short id) { return encoder.encodeVictoryMeasSource(id); });
    }
    void addMeasurement(std::int32_t id, std::int32_t used)
    {
        meas_type_set entry;
        entry.meas_set_id(id);
        entry.meas_used(used);
        mis.meas_types().push_back(entry);
    }
    std::vector<std::uint32_t> sourceTypes() const
    {
        const auto record = make();
        std::vector<std::uint32_t> types;
        for (std::uint32_t i = 0; i < word(record, 13668); ++i) types.push_back(word(record, 68 + 272 * i));
        return types;
    }
    void setPositionVariance(double north, double east, double down)
    {
        pva.covariance()[0][0] = north;
        pva.covariance()[1][1] = east;
        pva.covariance()[2][2] = down;
    }

    UTCTime utcTime;
    HalvexPNT pnt;
    MeasurementIncorporationStatus mis;
    PositionVelocityAttitude pva;
    AssuranceState assurance;
    unpacked_msg8504_t receiver = {};
    bool gpsLost = false;
    BlendedNavigation::MeasSources encoder;
    const ConsoleCapture console{std::cout};
};

using Types = std::vector<std::uint32_t>;

}  // namespace

TEST_F(BlendedNavigationTest, SourceTable)
{
    const auto sources = BlendedNavigation::measSources();
    const Types types = {3, 0, 0, 14, 14, 4, 14, 14, 5, 11, 2, 14};
    const std::vector<std::string> texts = {"",
                                            "",
                                            "",
                                            "GPS_L1_DELTARANGE",
                                            "GPS_L2_DELTARANGE",
                                            "",
                                            "SPEED_SENSOR_STATIONARY",
                                            "SPEED_SENSOR_ZERO_ANGULAR_RATE",
                                            "",
                                            "",
                                            "",
                                            "ALTNAV_TIME"};
    ASSERT_EQ(sources.size(), 12U);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        EXPECT_EQ(valueAt<std::uint32_t>(sources[i], 0), types[i]) << i;
        EXPECT_EQ(valueAt<std::uint64_t>(sources[i], 4), 0U) << i;
        std::string description = texts[i];
        description.resize(256);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(&sources[i]) + 12, 256), description) << i;
        EXPECT_EQ(valueAt<std::uint32_t>(sources[i], 268), texts[i].empty() ? 0U : 1U) << i;
    }
}

TEST_F(BlendedNavigationTest, TimeAndReceiver)
{
    receiver.angle084 = 1.0F;
    receiver.status101 = 0b0000'0100;
    receiver.status096 = 0b0001'0000;
    const auto record = make();
    EXPECT_DOUBLE_EQ(real(record, 0), 100.25);
    EXPECT_DOUBLE_EQ(real(record, 8), 57.295779513082323);
    EXPECT_EQ(word(record, 16), 1U);
    EXPECT_EQ(word(record, 20), 1U);
}

TEST_F(BlendedNavigationTest, OtherStatusBitsAreNotTold)
{
    receiver.status101 = 0b1111'1011;
    receiver.status096 = 0b1110'1111;
    const auto record = make();
    EXPECT_EQ(word(record, 16), 0U);
    EXPECT_EQ(word(record, 20), 0U);
}

TEST_F(BlendedNavigationTest, AngleIsBroughtIntoHalfACircleEitherWay)
{
    receiver.angle084 = 4.0F;
    EXPECT_DOUBLE_EQ(real(make(), 8), 229.18311805232929 - 360.0);
    receiver.angle084 = -4.0F;
    EXPECT_DOUBLE_EQ(real(make(), 8), -229.18311805232929 + 360.0);
}

TEST_F(BlendedNavigationTest, BestFigureOfMeritHasAnEstimate)
{
    setPositionVariance(0.25, 0.25, 0.25);
    const auto record = make();
    EXPECT_EQ(word(record, 24), 1U);
    EXPECT_EQ(word(record, 28), 1U);
    EXPECT_EQ(word(record, 32), 1U);
    EXPECT_EQ(word(record, 36), 1U);
    EXPECT_EQ(word(record, 40), 1U);
}

TEST_F(BlendedNavigationTest, EstimateDividesTheBestClass)
{
    setPositionVariance(0.0, 100.0, 0.0);
    EXPECT_EQ(word(make(), 28), 1U);
    EXPECT_GT(word(make(), 36), 1U);
}

TEST_F(BlendedNavigationTest, NoOtherClassThanTheBestIsDivided)
{
    setPositionVariance(900.0, 0.0, 0.0);
    const auto record = make();
    EXPECT_EQ(word(record, 28), 2U);
    EXPECT_EQ(word(record, 36), 0U);
    EXPECT_EQ(word(record, 40), 0U);
}

TEST_F(BlendedNavigationTest, PositionIsValidUpToTheLastButOneClass)
{
    setPositionVariance(4e6, 0.0, 0.0);
    const auto record = make();
    EXPECT_EQ(word(record, 24), 1U);
    EXPECT_EQ(word(record, 28), 8U);
}

TEST_F(BlendedNavigationTest, WorstFigureOfMeritMakesThePositionInvalid)
{
    setPositionVariance(1e12, 0.0, 0.0);
    const auto record = make();
    EXPECT_EQ(word(record, 24), 0U);
    EXPECT_EQ(word(record, 28), 9U);
    EXPECT_EQ(word(record, 36), 0U);
    EXPECT_EQ(word(record, 40), 0U);
}

TEST_F(BlendedNavigationTest, PositionVarianceIsTheSumOfTheFirstThreeOfTheDiagonal)
{
    for (auto& row : pva.covariance()) row.fill(1e12);
    setPositionVariance(0.25, 0.25, 0.25);
    EXPECT_EQ(word(make(), 28), 1U);
}

TEST_F(BlendedNavigationTest, TimeFigureOfMeritAndError)
{
    const auto record = make();
    EXPECT_EQ(word(record, 44), 4U);
    EXPECT_EQ(word(record, 48), 1U);
    EXPECT_EQ(word(record, 13872), 1U);
    EXPECT_DOUBLE_EQ(real(record, 13880), 2e-4);
    EXPECT_EQ(word(record, 13888), 1U);
}

TEST_F(BlendedNavigationTest, NegativeTimeVarianceIsNotChecked)
{
    utcTime.covariance()[0][0] = -1.0;
    EXPECT_TRUE(std::isnan(real(make(), 13880)));
}

TEST_F(BlendedNavigationTest, OnlyAssuranceStateTwoEarnsConfidence)
{
    assurance.assurance_state(assurance_state_enum{0});
    EXPECT_EQ(real(make(), 56), 0.5);
    EXPECT_EQ(word(make(), 64), 0U);
    assurance.assurance_state(assurance_state_enum{1});
    EXPECT_EQ(real(make(), 56), 0.5);
    EXPECT_EQ(word(make(), 64), 1U);
    assurance.assurance_state(assurance_state_enum{2});
    EXPECT_EQ(real(make(), 56), 0.95);
    EXPECT_EQ(word(make(), 64), 1U);
    assurance.assurance_state(assurance_state_enum{3});
    EXPECT_EQ(real(make(), 56), 0.5);
    EXPECT_EQ(word(make(), 64), 1U);
}

TEST_F(BlendedNavigationTest, GpsIsOneSourceInFrontOfTheOthers)
{
    for (const int id : {5, 1, 2, 3, 4, 11}) addMeasurement(id, 1);
    EXPECT_EQ(sourceTypes(), (Types{0, 4, 14}));
    EXPECT_EQ(word(make(), 13672), 1U);
}

TEST_F(BlendedNavigationTest, LostGpsIsNoSource)
{
    gpsLost = true;
    EXPECT_EQ(sourceTypes(), Types{});
    EXPECT_EQ(word(make(), 13672), 2U);
    for (const int id : {1, 2, 3, 4}) addMeasurement(id, 9);
    EXPECT_EQ(sourceTypes(), Types{});
    addMeasurement(10, 1);
    EXPECT_EQ(sourceTypes(), Types{2});
}

TEST_F(BlendedNavigationTest, UnusedMeasurementsAreLeftOutButForTheFirstType)
{
    gpsLost = true;
    for (const int id : {0, 5, 8, 9}) addMeasurement(id, id == 9 ? 1 : 0);
    addMeasurement(0, -1);
    EXPECT_EQ(sourceTypes(), (Types{3, 11, 3}));
}

TEST_F(BlendedNavigationTest, AtMostFiftySources)
{
    for (int i = 0; i < 60; ++i) addMeasurement(9, 1);
    const auto types = sourceTypes();
    ASSERT_EQ(types.size(), 50U);
    EXPECT_EQ(types.front(), 0U);
    EXPECT_EQ(types.back(), 11U);
    EXPECT_EQ(word(make(), 13676), 0U);
}

TEST_F(BlendedNavigationTest, IdsOutsideTheTableHaveNoSource)
{
    gpsLost = true;
    for (const int id : {12, 65536, 65541, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        addMeasurement(id, 1);
    EXPECT_EQ(sourceTypes(), Types{});
}

TEST_F(BlendedNavigationTest, WithoutATableThereAreNoSources)
{
    addMeasurement(5, 1);
    const auto noRow = [](unsigned short) { return nullptr; };
    const auto record = BlendedNavigation::record({utcTime, pnt, mis, pva, assurance, receiver, false}, noRow);
    EXPECT_EQ(word(record, 13668), 0U);
}

TEST_F(BlendedNavigationTest, DescribedSourceCarriesItsText)
{
    gpsLost = true;
    addMeasurement(11, 1);
    const auto record = make();
    EXPECT_STREQ(reinterpret_cast<const char*>(&record) + 68 + 12, "ALTNAV_TIME");
    EXPECT_EQ(word(record, 68 + 268), 1U);
}

TEST_F(BlendedNavigationTest, OnlyTheHorizontalPositionErrorIsScaled)
{
    pnt.Horz_PosError(10.0);
    pnt.Vert_PosError(20.0);
    pnt.Horz_Vel_Error(0.5);
    pnt.Vert_VelError(0.25);
    const auto record = make();
    EXPECT_DOUBLE_EQ(real(record, 13896), 11.774);
    EXPECT_EQ(word(record, 13904), 1U);
    EXPECT_EQ(real(record, 13912), 20.0);
    EXPECT_EQ(word(record, 13920), 1U);
    EXPECT_EQ(word(record, 13936), 0U);
    EXPECT_EQ(word(record, 13944), 1U);
    EXPECT_EQ(real(record, 13952), 0.5);
    EXPECT_EQ(word(record, 13960), 1U);
    EXPECT_EQ(real(record, 13968), 0.25);
    EXPECT_EQ(word(record, 13976), 1U);
    EXPECT_EQ(word(record, 13992), 0U);
}

TEST_F(BlendedNavigationTest, AttitudeErrorIsTheRootOfThreeSquaresInDegrees)
{
    pnt.Roll_Error(0.02);
    pnt.Pitch_Error(0.03);
    pnt.Heading_Error(0.06);
    const auto record = make();
    EXPECT_EQ(word(record, 14000), 1U);
    EXPECT_DOUBLE_EQ(real(record, 14008), 0.07 * 57.295779513082323);
    EXPECT_EQ(word(record, 14016), 1U);
}

TEST_F(BlendedNavigationTest, ReservedPlacesAreZero)
{
    addMeasurement(5, 1);
    const auto record = make();
    for (const std::size_t offset :
         {52U, 13676U, 13868U, 13876U, 13892U, 13908U, 13924U, 13940U, 13948U, 13964U, 13980U, 13996U, 14004U, 14020U})
        EXPECT_EQ(word(record, offset), 0U) << offset;
}

TEST_F(BlendedNavigationTest, UtcOfAGpsWeek)
{
    // Week 2235 began on Sunday 6 November 2022; GPS is 18 s ahead.
    const auto time = BlendedNavigation::victoryTime(utcTime);
    EXPECT_EQ(time.year, 2022U);
    EXPECT_EQ(time.month, 11U);
    EXPECT_EQ(time.day, 6U);
    EXPECT_EQ(time.reserved12, 0U);
    EXPECT_EQ(time.hour, 0U);
    EXPECT_EQ(time.minute, 1U);
    EXPECT_EQ(time.seconds, 22U);
    EXPECT_EQ(time.nanoseconds, 250'000'000U);
}

TEST_F(BlendedNavigationTest, TheFirstGpsSecondsOfAWeekAreTheDayBeforeInUtc)
{
    utcTime.gps_tow_sec(5);
    utcTime.utc_tod_sec(86387);
    utcTime.utc_tod_nsec(0.0);
    const auto time = BlendedNavigation::victoryTime(utcTime);
    EXPECT_EQ(time.day, 5U);
    EXPECT_EQ(time.hour, 23U);
    EXPECT_EQ(time.minute, 59U);
    EXPECT_EQ(time.seconds, 47U);
}

TEST_F(BlendedNavigationTest, NoTimeIsTooOddToBeConverted)
{
    const double odd[] = {std::numeric_limits<double>::quiet_NaN(), -1e300, 1e300};
    for (const double nanoseconds : odd) {
        utcTime.utc_tod_nsec(nanoseconds);
        utcTime.gps_week(std::numeric_limits<std::int32_t>::min());
        utcTime.gps_tow_sec(std::numeric_limits<std::int32_t>::min());
        const auto time = BlendedNavigation::victoryTime(utcTime);
        EXPECT_LT(time.minute, 60U);
        EXPECT_LE(time.nanoseconds, 1'000'000'000U);
    }
}
