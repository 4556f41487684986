#include "lab/unit/ReceiverFrames.h"

#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"
#include "lab/ctl/GssipBytes.h"

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
    EXPECT_TRUE(orvanectl::beginsWithHeader(frame));
    EXPECT_EQ(orvanectl::residualOf(orvanectl::Bytes(frame).subspan(10)), 0);
}

TEST(ReceiverFramesTest, OtherLengthsAreWholeFramesThatAreRefused)
{
    for (const std::uint16_t words : std::initializer_list<std::uint16_t>{0, 1, 199, 201, 1900}) {
        const auto frame = frame8504(solution(), {}, words);
        EXPECT_EQ(frame.size(), words == 0 ? 10U : 12U + 2U * words);
        EXPECT_TRUE(orvanectl::beginsWithHeader(frame)) << words;
        EXPECT_EQ(orvanectl::residualOf(orvanectl::Bytes(frame).subspan(10)), 0) << words;
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
