#include "lab/ctl/TopicWatch.h"

#include <gtest/gtest.h>

#include <poll.h>

using namespace orvanectl;

namespace {

bool isReadable(const SampleBox& box)
{
    pollfd waiting{box.descriptor(), POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
}

Sample sampleOf(std::size_t topic)
{
    return {topic, {}, nullptr};
}

}  // namespace

TEST(SampleBoxTest, SamplesComeOutInOrderAndOnce)
{
    SampleBox box;
    for (std::size_t topic = 0; topic < 3; ++topic) box.put(sampleOf(topic));
    const auto samples = box.take();
    ASSERT_EQ(samples.size(), 3U);
    EXPECT_EQ(samples[0].topic, 0U);
    EXPECT_EQ(samples[2].topic, 2U);
    EXPECT_TRUE(box.take().empty());
}

TEST(SampleBoxTest, DescriptorTellsThatThereIsSomethingToTake)
{
    SampleBox box;
    EXPECT_FALSE(isReadable(box));
    box.put(sampleOf(0));
    box.put(sampleOf(1));
    EXPECT_TRUE(isReadable(box));
    box.take();
    EXPECT_FALSE(isReadable(box));
    box.put(sampleOf(2));
    EXPECT_TRUE(isReadable(box));
}

TEST(SampleBoxTest, WhatFindsNoRoomIsLeftOutAndCounted)
{
    SampleBox box;
    for (std::size_t topic = 0; topic < 4098; ++topic) box.put(sampleOf(topic));
    EXPECT_EQ(box.leftOut(), 2U);
    const auto samples = box.take();
    ASSERT_EQ(samples.size(), 4096U);
    EXPECT_EQ(samples.back().topic, 4095U);
    box.put(sampleOf(1));
    EXPECT_EQ(box.take().size(), 1U);
}

TEST(SampleBoxTest, OfWhatWasLeftOutTheFirstAndTheLatestOfEachWriterAreKnown)
{
    SampleBox box;
    const auto put = [&](std::uint8_t writer, std::int64_t number) { box.put({7, {{}, {writer}, number}, nullptr}); };
    for (std::int64_t number = 1; number <= 4098; ++number) put(1, number);
    put(2, 9);
    std::vector<SampleBox::LeftOut> leftOut;
    EXPECT_EQ(box.take(leftOut).size(), 4096U);
    ASSERT_EQ(leftOut.size(), 2U);
    EXPECT_EQ(leftOut[0].topic, 7U);
    EXPECT_EQ(leftOut[0].first.writerNumber, 4097);
    EXPECT_EQ(leftOut[0].latest.writerNumber, 4098);
    EXPECT_EQ(leftOut[1].first.writerNumber, 9);
    EXPECT_EQ(leftOut[1].latest.writerNumber, 9);
    leftOut.clear();
    box.take(leftOut);
    EXPECT_TRUE(leftOut.empty());
}

TEST(SampleBoxTest, FloodOfWritersTakesNoMoreMemory)
{
    SampleBox box;
    for (std::size_t topic = 0; topic < 4096 + 2000; ++topic) box.put(sampleOf(topic));
    std::vector<SampleBox::LeftOut> leftOut;
    box.take(leftOut);
    EXPECT_EQ(leftOut.size(), 1024U);
    EXPECT_EQ(box.leftOut(), 2000U);
}
