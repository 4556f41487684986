#include "lab/unit/Records.h"

#include "ASPN/AspnHelper.h"
#include "utilities/GpsDateTime.h"
#include "utilities/PositionUtilities.h"
#include "utilities/TimeUtilities.h"
#include "utilities/geodetic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

using namespace unitsim;
using QD_K71T_geometry::Geodetic;
using QD_K71T_geometry::Vector3d;

namespace {

Solution solutionAt(double seconds, bool gpsLost = false)
{
    Navigation navigation(3);
    return navigation.solve(seconds, GpsMoment::fromUtcSeconds(1772323200), gpsLost);
}

std::vector<std::vector<int>> setsOf(const aspn2_msgs::idl::MeasurementIncorporationStatus& record)
{
    std::vector<std::vector<int>> sets;
    for (const auto& set : record.meas_types()) sets.push_back({set.meas_set_id(), set.meas_avail(), set.meas_used()});
    return sets;
}

}  // namespace

TEST(RecordsTest, BothSolutionsAreOnePlace)
{
    for (double seconds = 0.0; seconds < 400.0; seconds += 13.0) {
        const Solution solution = solutionAt(seconds);
        const auto pva = positionVelocityAttitude(solution);
        const auto pnt = halvexPnt(solution, 2);
        const Vector3d place = Geodetic::Geodetic_From_ECEF(pnt.ECEF_Pos_X(), pnt.ECEF_Pos_Y(), pnt.ECEF_Pos_Z());
        EXPECT_NEAR(place[0], pva.position().latitude(), 1e-9);
        EXPECT_NEAR(place[1], pva.position().longitude(), 1e-12);
        EXPECT_NEAR(place[2], pva.position().altitude(), 1e-2);
    }
}

TEST(RecordsTest, BothSolutionsMoveAlike)
{
    const Solution solution = solutionAt(30.0);
    const auto pva = positionVelocityAttitude(solution);
    const auto pnt = halvexPnt(solution, 2);
    const Vector3d velocity = Geodetic::Build_CET(pva.position().latitude(), pva.position().longitude(), 0.0) *
                              Vector3d(pnt.ECEF_Vel_X(), pnt.ECEF_Vel_Y(), pnt.ECEF_Vel_Z());
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(velocity[axis], pva.velocity()[axis], 1e-9);
    EXPECT_EQ(pnt.Roll(), pva.attitude()[0]);
    EXPECT_EQ(pnt.Pitch(), pva.attitude()[1]);
    EXPECT_EQ(pnt.Heading(), pva.attitude()[2]);
}

TEST(RecordsTest, CovarianceIsTheSquareOfTheClaims)
{
    const auto pva = positionVelocityAttitude(solutionAt(0.0));
    const double expected[9] = {1.44, 1.44, 4.0, 0.0025, 0.0025, 0.0064, 4e-6, 4e-6, 1.6e-5};
    for (std::size_t row = 0; row < 9; ++row)
        for (std::size_t column = 0; column < 9; ++column)
            EXPECT_NEAR(pva.covariance()[row][column], row == column ? expected[row] : 0.0, 1e-12);
}

TEST(RecordsTest, FiguresOfMeritAreThoseOfAGoodReceiver)
{
    const Solution solution = solutionAt(0.0);
    const auto pva = positionVelocityAttitude(solution);
    const auto& covariance = pva.covariance();
    const double variance = covariance[0][0] + covariance[1][1] + covariance[2][2];
    EXPECT_EQ(PositionUtilities::PosVar2Fom(variance), 1);
    EXPECT_EQ(TimeUtilities::TimeVar2Tfom(utcTime(solution).covariance()[0][0]), 3);
}

TEST(RecordsTest, ErrorsOfTheSolutionAreOneSigmaOfOneAxis)
{
    const auto pnt = halvexPnt(solutionAt(0.0), 2);
    EXPECT_DOUBLE_EQ(pnt.Horz_PosError(), 1.2);
    EXPECT_DOUBLE_EQ(pnt.Vert_PosError(), 2.0);
    EXPECT_DOUBLE_EQ(pnt.Horz_Vel_Error(), 0.05);
    EXPECT_DOUBLE_EQ(pnt.Vert_VelError(), 0.08);
    EXPECT_DOUBLE_EQ(pnt.Time_Error(), 20e-9);
    EXPECT_DOUBLE_EQ(pnt.Roll_Error(), 0.002);
    EXPECT_DOUBLE_EQ(pnt.Pitch_Error(), 0.002);
    EXPECT_DOUBLE_EQ(pnt.Heading_Error(), 0.004);
}

TEST(RecordsTest, TimeIsTheMomentToWithinItsError)
{
    Solution solution = solutionAt(0.0);
    solution.time.nanoseconds = GpsMoment::fromUtcSeconds(1772323200).nanoseconds + 4 * 3600'000'000'000 + 250;
    const auto utc = utcTime(solution);
    EXPECT_EQ(utc.gps_week(), 2408);
    EXPECT_EQ(utc.gps_tow_sec(), 14418);
    EXPECT_EQ(utc.gps_tow_nsec(), 250.0);
    EXPECT_EQ(utc.utc_tod_sec(), 14400);
    EXPECT_EQ(utc.utc_tod_nsec(), 250.0);
}

TEST(RecordsTest, TimeConvertsToTheDate)
{
    Solution solution = solutionAt(0.0);
    solution.time = GpsMoment::fromUtcSeconds(1772323200 + 86399);
    const auto utc = utcTime(solution);
    GpsDateTime date(static_cast<std::uint32_t>(utc.gps_week()), utc.gps_tow_sec(), utc.utc_tod_sec(),
                     utc.utc_tod_nsec());
    GpsDateTime::CivilTimeStruct civil;
    date.ToCivilTime(civil, 0);
    EXPECT_EQ(civil.year, 2026U);
    EXPECT_EQ(civil.month, 3U);
    EXPECT_EQ(civil.day, 1U);
    EXPECT_EQ(civil.hour, 23);
    EXPECT_EQ(civil.minute, 59);
    EXPECT_NEAR(civil.seconds, 59.0, 1e-6);
}

TEST(RecordsTest, MeasurementsTellOfGpsAndOfRest)
{
    EXPECT_EQ(setsOf(measurementStatus(solutionAt(0.0))),
              (std::vector<std::vector<int>>{
                  {1, 9, 8}, {2, 8, 7}, {3, 9, 8}, {4, 8, 7}, {5, 1, 1}, {6, 0, 0}, {7, 0, 0}, {11, 1, 1}}));
    Solution resting = solutionAt(0.0);
    resting.state.velocity = {0.01, 0.02, 0.03};
    EXPECT_EQ(setsOf(measurementStatus(resting))[5], (std::vector<int>{6, 1, 1}));
}

TEST(RecordsTest, MeasurementsWithoutGpsHaveNone)
{
    EXPECT_EQ(setsOf(measurementStatus(solutionAt(30.0, true))),
              (std::vector<std::vector<int>>{
                  {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {5, 1, 1}, {6, 0, 0}, {7, 0, 0}, {11, 1, 1}}));
}

TEST(RecordsTest, MeasurementsFillUpToTheNumberAskedFor)
{
    const auto record = measurementStatus(solutionAt(0.0), 60);
    EXPECT_EQ(record.num_measurement_types(), 60);
    EXPECT_EQ(setsOf(record).size(), 60U);
    EXPECT_EQ(setsOf(record)[59], (std::vector<int>{5, 1, 1}));
    EXPECT_EQ(setsOf(measurementStatus(solutionAt(0.0), 1000)).size(), 100U);
}

TEST(RecordsTest, AssuranceFollowsGpsUnlessItIsFixed)
{
    EXPECT_EQ(assuranceOf(solutionAt(0.0), std::nullopt), 2U);
    EXPECT_EQ(assuranceOf(solutionAt(0.0, true), std::nullopt), 1U);
    EXPECT_EQ(assuranceOf(solutionAt(0.0), 0U), 0U);
    EXPECT_EQ(assuranceState(5).assurance_state(), aspn2_msgs::idl::assurance_state_enum{5});
}

TEST(RecordsTest, StampsOneSecondOfTicksApartAreOneSecondApart)
{
    aspn2_msgs::idl::header first;
    aspn2_msgs::idl::header second;
    stamp(first, 4, 0x01600000, 60 * 58982400ULL + 12345, 60 * 58982400ULL + 20000);
    stamp(second, 5, 0x01600000, 61 * 58982400ULL + 12345, 61 * 58982400ULL + 20000);
    EXPECT_EQ(ASPN2::deltaTov(second, first), 1.0);
    EXPECT_EQ(first.seq_num(), 4);
    EXPECT_EQ(first.device_id(), 0x01600000);
    EXPECT_GT(first.timestamp_arrival().nsec(), first.timestamp_valid().nsec());
}
