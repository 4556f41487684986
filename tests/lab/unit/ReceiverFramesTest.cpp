#include "lab/unit/ReceiverFrames.h"

#include "ioss_mcsq/GssipBytes.h"
#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_5044_Msg.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

using namespace unitsim;

namespace {

Solution solution()
{
    Solution made;
    made.time = GpsMoment::fromUtcSeconds(1772323200);
    made.state.attitude = {0.0, 0.0, 4.5};
    return made;
}

}  // namespace

TEST(ReceiverFramesTest, ReportUnpacksToWhatWasSet)
{
    const auto frame = frame8504(solution(), {.receiverFailure = true, .secondStatus = true});
    ZentorM_8504_Msg message;
    ASSERT_TRUE(message.ok_set_8504_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size())));
    message.unpack_8504();
    const unpacked_msg8504_t record = message.unpacked();
    EXPECT_EQ(double{record.field000}, 18.0);
    EXPECT_NEAR(float{record.angle084}, 4.5F, 1e-6F);
    EXPECT_EQ(record.status096, 0x10);
    EXPECT_EQ(record.status101, 0x04);
    EXPECT_TRUE(message.recieverFailureDetected());
}

TEST(ReceiverFramesTest, PlainReportHasNeitherFlag)
{
    const auto frame = frame8504(solution(), {});
    EXPECT_EQ(frame.at(10 + 96), 0);
    EXPECT_EQ(frame.at(10 + 101), 0);
}

TEST(ReceiverFramesTest, BytesAreThoseOfTheWire)
{
    const auto frame = frame8504(solution(), {});
    ASSERT_EQ(frame.size(), 412U);
    EXPECT_EQ(std::vector<std::uint8_t>(frame.begin(), frame.begin() + 8),
              (std::vector<std::uint8_t>{0xFF, 0x81, 0x38, 0x21, 0xC8, 0x00, 0x00, 0x90}));
    EXPECT_TRUE(gssip::beginsWithHeader(frame));
    EXPECT_EQ(gssip::residualOf(gssip::Bytes(frame).subspan(10)), 0);
}

TEST(ReceiverFramesTest, OtherLengthsAreWholeFramesThatAreRefused)
{
    for (const std::uint16_t words : std::initializer_list<std::uint16_t>{0, 1, 199, 201, 1900}) {
        const auto frame = frame8504(solution(), {}, words);
        EXPECT_EQ(frame.size(), words == 0 ? 10U : 12U + 2U * words);
        EXPECT_TRUE(gssip::beginsWithHeader(frame)) << words;
        EXPECT_EQ(gssip::residualOf(gssip::Bytes(frame).subspan(10)), 0) << words;
        ZentorM_8504_Msg message;
        EXPECT_FALSE(message.ok_set_8504_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size()))) << words;
    }
}

TEST(ReceiverFramesTest, RecordTellsTheLengthOfItsFrame)
{
    const auto record = gssipRecord(frame8504(solution(), {}));
    EXPECT_EQ(record.num_bytes(), 412);
    EXPECT_EQ(record.data().size(), 412U);
}

TEST(ReceiverFramesTest, WarningUnpacksToWhatWasSet)
{
    const auto frame = frame5044(solution().time, {6, "ANTENNA OPEN!"});
    ZentorM_5044_Msg message;
    ASSERT_TRUE(message.ok_set_5044_gpsip(frame.data(), static_cast<std::uint32_t>(frame.size())));
    message.unpack_5044();
    EXPECT_EQ(double{message.unpacked().field000}, 18.0);
    EXPECT_EQ(std::uint16_t{message.unpacked().warningNumber}, 6);
    EXPECT_EQ(warningTextOf(message.unpacked()), "ANTENNA OPEN!");
}

TEST(ReceiverFramesTest, BytesOfAWarningAreThoseOfTheWire)
{
    const auto frame = frame5044(solution().time, {0x1234, "HEY"});
    ASSERT_EQ(frame.size(), 54U);
    EXPECT_EQ(std::vector<std::uint8_t>(frame.begin(), frame.begin() + 8),
              (std::vector<std::uint8_t>{0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90}));
    EXPECT_EQ(std::vector<std::uint8_t>(frame.begin() + 18, frame.begin() + 25),
              (std::vector<std::uint8_t>{0x34, 0x12, 'E', 'H', 0, 'Y', 0}));
    EXPECT_TRUE(gssip::beginsWithHeader(frame));
    EXPECT_EQ(gssip::residualOf(gssip::Bytes(frame).subspan(10)), 0);
}

TEST(ReceiverFramesTest, TextOfAWarningFillsItsFieldAndNoMore)
{
    const auto frame = frame5044(solution().time, {1, "THIS TEXT IS 32 CHARACTERS LONG!AND MORE"});
    ZentorM_5044_Msg message;
    ASSERT_TRUE(message.ok_set_5044_gpsip(frame.data(), 54));
    message.unpack_5044();
    EXPECT_EQ(warningTextOf(message.unpacked()), "THIS TEXT IS 32 CHARACTERS LONG!");
}

namespace {

void take(ThreatData& data, const std::vector<std::uint8_t>& frame)
{
    ASSERT_TRUE(data.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size())));
}

}  // namespace

TEST(ReceiverFramesTest, ThreatsAreReadAsTheyWereSet)
{
    Threat first;
    first.azimuthDegrees = 90;
    first.elevationDegrees = -45;
    first.center = 24552;
    first.bandwidthKhz = std::uint16_t{1500};
    first.power = std::int16_t{-71};
    first.confidenceTimes25 = 3U;
    ThreatData data;
    take(data, frame15051(solution().time, solution(), {{first, Threat()}}));

    const ThreatEntry told = data.threat(0);
    EXPECT_TRUE(told.isReported());
    EXPECT_EQ(told.Az, 90);
    EXPECT_EQ(told.El, -45);
    EXPECT_EQ(told.centerHz(), 1'227'600'000.0);
    EXPECT_EQ(told.bandwidthHz(), 1'500'000.0);
    EXPECT_TRUE(told.hasPower());
    EXPECT_EQ(told.Power, -71);
    EXPECT_TRUE(told.hasConfidence());
    EXPECT_EQ(told.confidence(), 75U);

    const ThreatEntry bare = data.threat(1);
    EXPECT_TRUE(bare.isReported());
    EXPECT_FALSE(bare.hasPower() || bare.hasConfidence());
    EXPECT_EQ(bare.bandwidthHz(), 33'000'000.0);
    EXPECT_EQ(bare.centerHz(), 1'575'400'000.0);
    EXPECT_FALSE(data.threat(2).isReported());
}

TEST(ReceiverFramesTest, ThreatWithoutABearingOrInAnotherStateIsNotReported)
{
    ThreatData data;
    take(data, frame15051(solution().time, solution(), {{{.hasBearing = false}, {.state = 1}, {.state = 3}, {}}}));
    EXPECT_FALSE(data.threat(0).isReported());
    EXPECT_FALSE(data.threat(1).isReported());
    EXPECT_FALSE(data.threat(2).isReported());
    EXPECT_TRUE(data.threat(3).isReported());
}

TEST(ReceiverFramesTest, ThreatReportTellsTimeAndPlace)
{
    Solution where = solution();
    where.state.position = {0.5, -1.25, 92.0};
    where.positionError = {1.0, 2.0, 2.0};
    ThreatData data;
    take(data, frame15051(where.time, where, {}));
    EXPECT_EQ(data.gpsTime(), 18.0);
    EXPECT_EQ(data.lat(), 0.5);
    EXPECT_EQ(data.lon(), -1.25);
    EXPECT_EQ(data.alt(), 92.0);
    EXPECT_EQ(data.Pos_Accuracy(), 3);
}

TEST(ReceiverFramesTest, ThreatReportHasRightChecksumsAndNineThreatsAtTheMost)
{
    const auto frame = frame15051(solution().time, solution(), {std::vector<Threat>(12)});
    ASSERT_EQ(frame.size(), 212U);
    EXPECT_EQ(std::vector<std::uint8_t>(frame.begin(), frame.begin() + 8),
              (std::vector<std::uint8_t>{0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80}));
    EXPECT_TRUE(gssip::beginsWithHeader(frame));
    EXPECT_EQ(gssip::residualOf(gssip::Bytes(frame).subspan(10)), 0);
    ThreatData data;
    take(data, frame);
    EXPECT_TRUE(data.threat(8).isReported());
}

TEST(ReceiverFramesTest, PositionErrorBeyondTheFieldIsItsMost)
{
    Solution where = solution();
    where.positionError = {1e9, 0.0, 0.0};
    ThreatData data;
    take(data, frame15051(where.time, where, {}));
    EXPECT_EQ(data.Pos_Accuracy(), 65535);
}
