#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>

using Json = Bus::Json;

namespace {

/// A service whose topics all come from a DDS product of another make; here there is no participant but the service.
struct ForeignInputSystemTest : testing::Test {
    ForeignInputSystemTest()
    {
        desk.set("Debug", "true");
        desk.set("PARAM_1", "false");
        desk.run();
    }

    /// The receiver's report: the only input that comes by a queue.
    void sendReceiver(std::int64_t seconds, std::int32_t nanoseconds)
    {
        aspn2_msgs::idl::GSSIP record;
        record.header().device_id(deviceId(39));
        validAt(record, seconds, nanoseconds);
        unpacked_msg8504_t report = {};
        report.angle084 = 0.5F;
        report.status096 = 0b0001'0000;
        report.status101 = 0b0000'0100;
        sendReport(desk, record, report);
    }

    Desk desk;
    ChildProcess navigator{{ORVANE_FOREIGN_NAVIGATOR, "0"}};
};

}  // namespace

TEST_F(ForeignInputSystemTest, TopicsOfAnotherMakeAreJoinedAndPublished)
{
    Bus bus;
    sendReceiver(5000, 500'000'000);
    const Json tell = bus.awaitTell("blended-navigation",
                                    [](const Json& candidate) { return !candidate.at("timeOfValidity").is_null(); });

    const auto record = bus.lastRecord("blended-navigation");
    const auto word = [&](std::size_t offset) { return valueAt<std::uint32_t>(record, offset); };
    const auto real = [&](std::size_t offset) { return valueAt<double>(record, offset); };
    ASSERT_EQ(record.size(), 14024U);
    EXPECT_DOUBLE_EQ(real(0), 345600.5);
    EXPECT_DOUBLE_EQ(real(8), 28.647889756541161);  // 0.5 rad
    EXPECT_EQ(word(28), 1U);                        // 7 m
    EXPECT_EQ(word(36), 4U);
    EXPECT_EQ(word(44), 4U);  // 300 ns
    EXPECT_EQ(word(13668), 3U);
    EXPECT_EQ(word(68), 0U);         // GPS
    EXPECT_EQ(word(68 + 272), 4U);   // of set 5
    EXPECT_EQ(word(68 + 544), 14U);  // of set 11
    EXPECT_EQ(word(13672), 1U);
    EXPECT_DOUBLE_EQ(real(13880), 3e-4);  // ms
    EXPECT_DOUBLE_EQ(real(13896), 4.7096);
    EXPECT_EQ(real(13912), 6.25);
    EXPECT_EQ(real(13952), 0.5);
    EXPECT_EQ(real(13968), 0.0625);
    EXPECT_DOUBLE_EQ(real(14008), 0.40107045659157627);  // 7 mrad

    const Json time = tell.at("timeOfValidity");
    EXPECT_EQ(time.at("year"), 2022);
    EXPECT_EQ(time.at("month"), 11);
    EXPECT_EQ(time.at("day"), 9);
    EXPECT_EQ(time.at("hour"), 23);
    EXPECT_EQ(time.at("minute"), 59);
    EXPECT_EQ(time.at("seconds"), 42);
    EXPECT_NEAR(time.at("nanoseconds").get<double>(), 500'000'000.0, 20'000.0);
}

TEST_F(ForeignInputSystemTest, TimeOfValidityOfAnotherMakeIsTheOneThatIsJoinedBy)
{
    Bus bus;
    sendReceiver(5001, 500'000'000);
    ASSERT_TRUE(desk.awaitOutput(": UTCTime <-> 8504    deltaTov: 1\n"));
    for (const char* input : {"PVA    ", "HXPNT  ", "MIS    ", "Ass. St"})
        EXPECT_GE(desk.count(std::string(": UTCTime <-> ") + input + " deltaTov: 0\n"), 1U) << input;
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(desk.count(": *** All synchronized messages received."), 0U);
}
