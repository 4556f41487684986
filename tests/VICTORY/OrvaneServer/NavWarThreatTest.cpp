#include "VICTORY/OrvaneServer/NavWarThreat.h"
#include "tests/VICTORY/OrvaneServer/ThreatFrames.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/ValueAt.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

using namespace ThreatFrames;

namespace {

constexpr double kPi = 3.14159265358979323846;

/// What one line of a frame becomes.
VapntcNavWarSaThreat threatOf(const Line& line, const VapntcTime& time = {})
{
    const auto frame = threatFrameOf({line});
    ThreatData report;
    if (!report.OkSetContent(frame.data(), 212)) throw std::logic_error("no report");
    return navWarThreat(report.threat(0), time);
}

}  // namespace

TEST(NavWarThreatTest, ValuesFoldByOneMoreThanTheRange)
{
    struct Row {
        int value, low, high, folded;
    };
    constexpr Row rows[] = {{180, -180, 180, 180},   {-180, -180, 180, -180}, {181, -180, 180, -180},
                            {-181, -180, 180, 180},  {540, -180, 180, 179},   {-541, -180, 180, -180},
                            {32767, -180, 180, -84}, {-32768, -180, 180, 83}, {90, -90, 90, 90},
                            {91, -90, 90, -90},      {-91, -90, 90, 90},      {-272, -90, 90, 90},
                            {32767, -90, 90, 6},     {-32768, -90, 90, -7},   {0, 0, 32766, 0},
                            {-1, 0, 32766, 32766},   {32767, 0, 0, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(NormalizeInt16Value(static_cast<short>(row.value), static_cast<short>(row.low),
                                      static_cast<short>(row.high)),
                  row.folded)
            << row.value;
}

TEST(NavWarThreatTest, SpansBeyondSixteenBitsWrap)
{
    const HardDeadline deadline;
    constexpr short least = std::numeric_limits<short>::min();
    constexpr short most = std::numeric_limits<short>::max();
    EXPECT_EQ(NormalizeInt16Value(7, least, -1), -32761);
    EXPECT_EQ(NormalizeInt16Value(-1, 0, most), 32767);
    EXPECT_EQ(NormalizeInt16Value(7, 0, most), 7);
    EXPECT_EQ(NormalizeInt16Value(7, least, most), 7);
    EXPECT_EQ(NormalizeInt16Value(30000, -20000, 20000), -10001);
    EXPECT_EQ(NormalizeInt16Value(-30000, -20000, 20000), 10001);
}

TEST(NavWarThreatTest, BoundsInTheWrongOrderFoldByTheSameSumsWhereTheseEnd)
{
    const HardDeadline deadline;
    constexpr short least = std::numeric_limits<short>::min();
    constexpr short most = std::numeric_limits<short>::max();
    EXPECT_EQ(NormalizeInt16Value(7, 5, 3), least);
    EXPECT_EQ(NormalizeInt16Value(7, 5, 4), 7);
    EXPECT_EQ(NormalizeInt16Value(7, most, least), 7);
    EXPECT_EQ(NormalizeInt16Value(8, most, least), 8);
}

TEST(NavWarThreatTest, LayoutOfAThreatWithAllItsParts)
{
    const auto threat = threatOf({.statusA = kState | kPowerValid | kBandwidthValid,
                                  .statusB = kBearing | kConfident | 3 << 2,
                                  .power = -57,
                                  .center = 31508,
                                  .bandwidth = 2046,
                                  .azimuth = -90,
                                  .elevation = 45},
                                 {2022, 11, 6, 0, 0, 1, 22, 250'000'000});
    std::vector<std::uint8_t> expected(704);
    put(expected, 0, std::uint32_t{2});
    put(expected, 4, std::array<std::uint32_t, 8>{2022, 11, 6, 0, 0, 1, 22, 250'000'000});
    put(expected, 300, std::array<char, 10>{"TARVO-100"});
    put(expected, 556, std::uint32_t{1});
    put(expected, 560, -kPi / 2);
    put(expected, 568, std::uint32_t{1});
    put(expected, 576, 75.0);
    put(expected, 600, kPi / 4);
    put(expected, 608, std::uint32_t{1});
    put(expected, 616, 75.0);
    put(expected, 640, 1575.4e6);
    put(expected, 648, 2.046e6);
    put(expected, 688, -57.0);
    put(expected, 696, std::uint32_t{1});
    std::vector<std::uint8_t> bytes(704);
    std::memcpy(bytes.data(), &threat, bytes.size());
    EXPECT_EQ(bytes, expected);
}

TEST(NavWarThreatTest, WhatALineDoesNotTellIsZeroAndThirtyThreeMegahertz)
{
    const auto threat = threatOf({.statusA = kState,
                                  .statusB = kBearing | 4 << 2,
                                  .power = 99,
                                  .center = 1,
                                  .bandwidth = 2046,
                                  .azimuth = 1,
                                  .elevation = 1});
    EXPECT_EQ(valueAt<double>(threat, 648), 33'000'000.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 568), 0U);
    EXPECT_EQ(valueAt<double>(threat, 576), 0.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 608), 0U);
    EXPECT_EQ(valueAt<double>(threat, 616), 0.0);
    EXPECT_EQ(valueAt<double>(threat, 688), 0.0);
    EXPECT_EQ(valueAt<std::uint32_t>(threat, 696), 0U);
}

TEST(NavWarThreatTest, ConfidenceCountsInQuartersAndHasNoCeiling)
{
    for (const int quarters : {0, 4, 15}) {
        const auto statusB = static_cast<std::uint8_t>(0xC0 | kBearing | kConfident | quarters << 2);
        const auto threat = threatOf({.statusA = kState, .statusB = statusB});
        EXPECT_EQ(threat.azimuthConfidence, quarters * 25.0);
        EXPECT_EQ(threat.elevationConfidence, quarters * 25.0);
        EXPECT_EQ(threat.azimuthConfidenceValid, 1U);
        EXPECT_EQ(threat.elevationConfidenceValid, 1U);
    }
}

TEST(NavWarThreatTest, LargestNumbersOfALine)
{
    const auto threat = threatOf({.statusA = kState | kPowerValid | kBandwidthValid,
                                  .statusB = kBearing,
                                  .power = -32768,
                                  .center = 65535,
                                  .bandwidth = 65535});
    EXPECT_EQ(threat.centreFrequency, 3'276'750'000.0);
    EXPECT_EQ(threat.bandwidth, 65'535'000.0);
    EXPECT_EQ(threat.power, -32768.0);
}

TEST(NavWarThreatTest, AnglesAreFoldedBeforeTheyBecomeRadians)
{
    struct Row {
        std::int16_t azimuth, elevation;
        double azimuthDegrees, elevationDegrees;
    };
    for (const auto& row : {Row{180, 90, 180, 90}, Row{181, 91, -180, -90}, Row{-181, -91, 180, 90},
                            Row{540, 0, 179, 0}, Row{0, 271, 0, 90}}) {
        const auto threat =
            threatOf({.statusA = kState, .statusB = kBearing, .azimuth = row.azimuth, .elevation = row.elevation});
        EXPECT_DOUBLE_EQ(threat.azimuth, row.azimuthDegrees * kPi / 180);
        EXPECT_DOUBLE_EQ(threat.elevation, row.elevationDegrees * kPi / 180);
    }
}
