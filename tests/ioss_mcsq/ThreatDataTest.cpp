#include "ioss_mcsq/ThreatData.h"

#include "tests/ioss_mcsq/FrameBytes.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

double stored(double seconds)
{
    ThreatData message;
    message.setGpsTime(seconds);
    return message.gpsTime();
}

/// A frame of zeros whose entry `index` holds `entry`.
Bytes frameWith(std::size_t index, const Bytes& entry)
{
    Bytes bytes(212);
    std::copy(entry.begin(), entry.end(), bytes.begin() + static_cast<std::ptrdiff_t>(10 + 38 + 18 * index));
    return bytes;
}

ThreatEntry entryOf(const Bytes& bytes)
{
    ThreatData message;
    const Bytes frame = frameWith(0, bytes);
    EXPECT_TRUE(message.OkSetContent(frame.data(), 212));
    return message.threat(0);
}

}  // namespace

TEST(ThreatDataTest, NewMessageIsAHeaderWithoutChecksum)
{
    const ThreatData message;
    Bytes expected(212);
    const Bytes header = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    std::copy(header.begin(), header.end(), expected.begin());
    EXPECT_EQ(frameBytes(message), expected);
    EXPECT_EQ(message.wordCount(), 100u);
    EXPECT_EQ(message.messageId(), 15051);
}

TEST(ThreatDataTest, TakesAFrameOf212BytesOrOneMore)
{
    ThreatData message;
    const Bytes bytes(300, 0x11);
    EXPECT_FALSE(message.OkSetContent(bytes.data(), 211));
    EXPECT_TRUE(message.OkSetContent(bytes.data(), 212));
    EXPECT_TRUE(message.OkSetContent(bytes.data(), 213));
    EXPECT_FALSE(message.OkSetContent(bytes.data(), 214));
}

TEST(ThreatDataTest, SensorFieldsAreNativeNumbersAtTheirOffsets)
{
    Bytes bytes(212);
    const auto put = [&bytes](std::size_t offset, const Bytes& value) {
        std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(10 + offset));
    };
    put(0, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F});
    put(8, {0, 0, 0, 0, 0, 0, 0x00, 0xC0});
    put(16, {0, 0, 0, 0, 0, 0, 0x08, 0x40});
    put(24, {0, 0, 0, 0, 0, 0x40, 0x8F, 0x40});
    put(32, {0x34, 0x12});
    ThreatData message;
    ASSERT_TRUE(message.OkSetContent(bytes.data(), 212));
    EXPECT_EQ(message.gpsTime(), 1.5);
    EXPECT_EQ(message.lat(), -2.0);
    EXPECT_EQ(message.lon(), 3.0);
    EXPECT_EQ(message.alt(), 1000.0);
    EXPECT_EQ(message.Pos_Accuracy(), 0x1234);
}

TEST(ThreatDataTest, StoredTimeIsADoubleAtTheStartOfTheData)
{
    ThreatData message;
    message.setGpsTime(1.5);
    const Bytes bytes = frameBytes(message);
    EXPECT_EQ(Bytes(bytes.begin() + 8, bytes.begin() + 20), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0xF8, 0x3F, 0, 0}));
}

TEST(ThreatDataTest, TimeIsBroughtIntoTheClosedWeek)
{
    EXPECT_EQ(stored(604800.0), 604800.0);
    EXPECT_EQ(stored(604800.5), 0.5);
    EXPECT_EQ(stored(-1.0), 604799.0);
    EXPECT_EQ(stored(1814400.0), 604800.0);
    EXPECT_EQ(stored(-1e-20), 604800.0);
    EXPECT_EQ(stored(0.0), 0.0);
}

TEST(ThreatDataTest, WholeWeeksBelowEndAtPositiveZero)
{
    EXPECT_EQ(stored(-604800.0), 0.0);
    EXPECT_FALSE(std::signbit(stored(-604800.0)));
    EXPECT_TRUE(std::signbit(stored(-0.0)));
}

TEST(ThreatDataTest, WildTimesEndAtOnce)
{
    EXPECT_EQ(stored(604800.0 * 1e9), 604800.0);
    EXPECT_EQ(stored(604800.0 * 1e9 + 0.5), 0.5);
    EXPECT_EQ(stored(-604800.0 * 1e9), 0.0);
    EXPECT_TRUE(stored(9.7e300) >= 0.0 && stored(9.7e300) <= 604800.0);
    EXPECT_TRUE(stored(-9.7e300) >= 0.0 && stored(-9.7e300) <= 604800.0);
    EXPECT_TRUE(std::isnan(stored(std::numeric_limits<double>::infinity())));
    EXPECT_TRUE(std::isnan(stored(std::numeric_limits<double>::quiet_NaN())));
}

TEST(ThreatDataTest, EntryFieldsStandAtTheirOffsets)
{
    const ThreatEntry entry =
        entryOf({0xAA, 0x77, 0xFE, 0xFF, 0x02, 0x80, 0x10, 0x90, 1, 2, 3, 4, 5, 6, 0x4C, 0xFF, 0x59, 0x00});
    EXPECT_EQ(entry.statusA, 0xAA);
    EXPECT_EQ(entry.statusB, 0x77);
    EXPECT_EQ(entry.Power, -2);
    EXPECT_EQ(entry.Center, 0x8002);
    EXPECT_EQ(entry.BW, 0x9010);
    EXPECT_EQ(entry.Az, -180);
    EXPECT_EQ(entry.El, 89);
}

TEST(ThreatDataTest, NineEntriesFollowEachOther)
{
    for (std::size_t index = 0; index < 9; ++index) {
        ThreatData message;
        const Bytes bytes = frameWith(index, Bytes(18, static_cast<std::uint8_t>(index + 1)));
        ASSERT_TRUE(message.OkSetContent(bytes.data(), 212));
        for (std::size_t i = 0; i < 9; ++i) {
            const int value = i == index ? static_cast<int>(index + 1) * 0x0101 : 0;
            EXPECT_EQ(message.threat(i).Power, value);
            EXPECT_EQ(message.threat(i).El, value);
        }
    }
}

TEST(ThreatDataTest, EntryBeyondTheNinthIsEmpty)
{
    ThreatData message;
    const Bytes bytes(212, 0xFF);
    ASSERT_TRUE(message.OkSetContent(bytes.data(), 212));
    for (const std::size_t index : {std::size_t{9}, std::size_t{1000}, std::numeric_limits<std::size_t>::max()}) {
        EXPECT_EQ(message.threat(index).statusA, 0);
        EXPECT_EQ(message.threat(index).El, 0);
    }
}

TEST(ThreatDataTest, OnlyStateTwoWithABearingIsReported)
{
    for (unsigned a = 0; a < 256; ++a)
        for (unsigned b = 0; b < 256; ++b) {
            ThreatEntry entry{};
            entry.statusA = static_cast<std::uint8_t>(a);
            entry.statusB = static_cast<std::uint8_t>(b);
            ASSERT_EQ(entry.isReported(), a % 4 == 2 && b % 2 == 1) << a << " " << b;
        }
}

TEST(ThreatDataTest, NineEntriesInOtherStatesAreNoThreat)
{
    for (const auto state : std::to_array<std::uint8_t>({0, 1, 3})) {
        Bytes bytes(212, 0xFF);
        for (std::size_t i = 0; i < 9; ++i) bytes[48 + 18 * i] = static_cast<std::uint8_t>(0xFC | state);
        ThreatData message;
        ASSERT_TRUE(message.OkSetContent(bytes.data(), 212));
        for (std::size_t i = 0; i < 9; ++i) EXPECT_FALSE(message.threat(i).isReported());
    }
}

TEST(ThreatDataTest, BitsSayWhatIsValid)
{
    EXPECT_TRUE(entryOf({0x08, 0}).hasPower());
    EXPECT_FALSE(entryOf({0xF7, 0xFF}).hasPower());
    EXPECT_TRUE(entryOf({0, 0x02}).hasConfidence());
    EXPECT_FALSE(entryOf({0xFF, 0xFD}).hasConfidence());
}

TEST(ThreatDataTest, ConfidenceIsInStepsOf25)
{
    EXPECT_EQ(entryOf({0xFF, 0xC3}).confidence(), 0u);
    EXPECT_EQ(entryOf({0, 0x04}).confidence(), 25u);
    EXPECT_EQ(entryOf({0, 0x10}).confidence(), 100u);
    EXPECT_EQ(entryOf({0, 0x3C}).confidence(), 375u);
}

TEST(ThreatDataTest, FrequenciesAreInHertz)
{
    EXPECT_EQ(entryOf({0x20, 0, 0, 0, 0x13, 0x7B, 0xE8, 0x03}).centerHz(), 1575350000.0) << "31507 x 50 kHz";
    EXPECT_EQ(entryOf({0x20, 0, 0, 0, 0, 0, 0xE8, 0x03}).bandwidthHz(), 1000000.0);
    EXPECT_EQ(entryOf({0x20, 0, 0, 0, 0, 0, 0xFF, 0xFF}).bandwidthHz(), 65535000.0);
}

TEST(ThreatDataTest, WithoutABandwidthItIs33Megahertz)
{
    for (const auto low : std::to_array<std::uint8_t>({0x00, 0x01, 0xFF}))
        EXPECT_EQ(entryOf({0xDF, 0xFF, 0, 0, 0, 0, low, 0x12}).bandwidthHz(), 3.3e7);
}

TEST(ThreatDataTest, DebugPrintIsSilent)
{
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    ThreatData message;
    message.debugPrintMessage();
    message.GssipMessage::debugPrintMessage();
    EXPECT_EQ(output.text() + errors.text(), "");
}
