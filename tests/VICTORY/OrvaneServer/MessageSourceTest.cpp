#include "VICTORY/OrvaneServer/MessageSource.h"
#include "aspn2_msgs/UTCTime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

TEST(MessageSourceTest, ServerAndTopicAreTheThirdAndTheLowestByteOfADeviceId)
{
    EXPECT_EQ(MessageSource::serverOf(0x01350207), 53);
    EXPECT_EQ(MessageSource::topicOf(0x01350207), 7);
    EXPECT_EQ(MessageSource::serverOf(std::numeric_limits<std::int32_t>::min()), 0);
    EXPECT_EQ(MessageSource::serverOf(-1), 255);
    EXPECT_EQ(MessageSource::topicOf(-1), 255);
}

TEST(MessageSourceTest, TheHeaderSaysWhoSentAMessage)
{
    aspn2_msgs::idl::UTCTime message;
    EXPECT_EQ(MessageSource::sourceOf(message), 0);
    message.header().device_id(96 << 16);
    EXPECT_EQ(MessageSource::sourceOf(message), 96);
}

TEST(MessageSourceTest, AServerWithoutANameHasItsNumber)
{
    EXPECT_EQ(MessageSource::nameOf(96), "HalvexNavigator");
    EXPECT_EQ(MessageSource::nameOf(39), "ZentorM");
    EXPECT_EQ(MessageSource::nameOf(0), "(unknown ID 0)");
    EXPECT_EQ(MessageSource::nameOf(250), "(unknown ID 250)");
}
