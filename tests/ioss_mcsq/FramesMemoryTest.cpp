#include "ioss_mcsq/ThreatData.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "ioss_mcsq/gps_msgs.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"

#include <gtest/gtest.h>

#include <iostream>
#include <streambuf>
#include <vector>

TEST(FramesMemoryTest, ChecksumsAllocateNothing)
{
    std::vector<std::uint16_t> frame(206, 0x1234);
    std::size_t refused = 0;
    {
        const FailingAllocation failing;
        MakeHeader(frame.data(), 15051, 100);
        OkChecksumGPSmessage(frame.data());
        ChecksumsAreOkInGPSmessage(frame.data());
        refused = failing.refused();
    }
    EXPECT_EQ(refused, 0u);
    EXPECT_TRUE(ChecksumsAreOkInGPSmessage(frame.data()));
}

TEST(FramesMemoryTest, RefusalsAllocateNothingEither)
{
    struct Nowhere : std::streambuf {
        int_type overflow(int_type character) override { return traits_type::not_eof(character); }
    } nowhere;
    std::vector<std::uint16_t> frame(206, 0x1234);
    std::vector<std::uint16_t> large(40006, 0);
    bool accepted = false;
    std::size_t refused = 0;
    std::streambuf* const previous = std::cerr.rdbuf(&nowhere);
    {
        const FailingAllocation failing;
        MakeHeader(frame.data(), 8504, 200);
        accepted |= ChecksumsAreOkInGPSmessage(frame.data());  // too many words
        frame[0] = 0x1111;
        accepted |= OkChecksumGPSmessage(frame.data());  // no delimiter
        MakeHeader(large.data(), 8504, 40000);
        accepted |= OkChecksumGPSmessage(large.data());  // too many words
        MakeHeader(frame.data(), 15051, 100);
        accepted |= ChecksumsAreOkInGPSmessage(frame.data());  // data that do not sum to zero
        ++frame[4];
        accepted |= ChecksumsAreOkInGPSmessage(frame.data());  // nor does the header
        refused = failing.refused();
    }
    std::cerr.rdbuf(previous);
    EXPECT_FALSE(accepted);
    EXPECT_EQ(refused, 0u);
}

TEST(FramesMemoryTest, MessagesAllocateNothing)
{
    const std::vector<std::uint8_t> frame(412, 0x11);
    std::size_t refused = 0;
    bool taken = false;
    {
        const FailingAllocation failing;
        ZentorM_8504_Msg message;
        taken = message.ok_set_8504_gpsip(frame.data(), 412);
        message.unpack_8504();
        message.pack_8504();
        refused = failing.refused();
    }
    EXPECT_TRUE(taken);
    EXPECT_EQ(refused, 0u);
}

TEST(FramesMemoryTest, DumpWithoutMemoryIsLeftOut)
{
    const ConsoleCapture capture(std::cout);
    const std::vector<std::uint8_t> frame(412, 0x11);
    std::size_t refused = 0;
    {
        const FailingAllocation failing;
        PrintMessageInHex(frame);
        refused = failing.refused();
    }
    EXPECT_EQ(refused, 1u);
    EXPECT_EQ(capture.text(), "");
}
