#include "lab/ctl/play/RecordTimes.h"

#include "tests/lab/ctl/Samples.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace orvanectl;
using namespace std::chrono_literals;

namespace {

using Payload = std::vector<std::uint8_t>;

/// Arrival 12 s 5 ns, validity -3 s -4 ns, server 39.
Payload warning()
{
    return samples::bytesOf(samples::kWarningRecord);
}

/// The first 48 bytes of it in the other order.
Payload bigEndianFront()
{
    Payload payload = warning();
    payload.resize(48);
    payload[1] = 0;
    const auto turn = [&](std::ptrdiff_t begin, std::ptrdiff_t size) {
        std::reverse(payload.begin() + begin, payload.begin() + begin + size);
    };
    turn(4, 8);
    for (const int time : {12, 28}) {
        turn(time, 8);
        turn(time + 8, 4);
        turn(time + 12, 4);
    }
    turn(44, 4);
    return payload;
}

}  // namespace

TEST(RecordTimesTest, HeaderIsReadInBothOrders)
{
    for (const Payload& payload : {warning(), bigEndianFront()}) {
        const auto header = travelHeaderOf(payload);
        ASSERT_TRUE(header);
        EXPECT_EQ(header->arrival, 12'000'000'005ns);
        EXPECT_EQ(header->valid, -3'000'000'004ns);
        EXPECT_EQ(header->server, 39);
    }
}

TEST(RecordTimesTest, BothTimesAreMovedAndNothingElse)
{
    for (Payload payload : {warning(), bigEndianFront()}) {
        const Payload before = payload;
        moveTimes(payload, 5'000'000'001ns);
        EXPECT_EQ(travelHeaderOf(payload)->arrival, 17'000'000'006ns);
        EXPECT_EQ(travelHeaderOf(payload)->valid, 1'999'999'997ns);
        moveTimes(payload, -5'000'000'001ns);
        EXPECT_EQ(payload, before);
    }
}

TEST(RecordTimesTest, TimeCodesStayAsTheyAre)
{
    Payload payload = warning();
    moveTimes(payload, 90s);
    EXPECT_EQ(payload[24], 0x64);
    EXPECT_EQ(payload[40], 0x65);
}

TEST(RecordTimesTest, BytesWithoutAHeaderAreLeftAlone)
{
    Payload shorter = warning();
    shorter.resize(47);
    Payload otherEncoding = warning();
    otherEncoding[1] = 3;
    for (Payload payload : {Payload{}, shorter, otherEncoding}) {
        const Payload before = payload;
        EXPECT_FALSE(travelHeaderOf(payload));
        moveTimes(payload, 1s);
        EXPECT_EQ(payload, before);
    }
}

TEST(RecordTimesTest, TimeBeyondSixtyFourBitsStaysWhereItIs)
{
    Payload payload = warning();
    payload[19] = 0x7F;  // highest byte of the seconds of the arrival
    const Payload before = payload;
    EXPECT_FALSE(travelHeaderOf(payload));
    moveTimes(payload, 1s);
    EXPECT_EQ(Payload(payload.begin() + 12, payload.begin() + 28), Payload(before.begin() + 12, before.begin() + 28));
    payload = warning();
    moveTimes(payload, std::chrono::nanoseconds::max());
    EXPECT_EQ(payload, warning());
}

TEST(TimeMoverTest, RecordsOfOneTimeOfValidityAreMovedAlike)
{
    TimeMover mover;
    Payload first = warning(), second = warning();
    mover.move(first, 60s);
    mover.move(second, 61s);
    EXPECT_EQ(travelHeaderOf(first)->valid, 56'999'999'996ns);
    EXPECT_EQ(travelHeaderOf(second)->valid, 56'999'999'996ns);
}

TEST(TimeMoverTest, OtherTimesOfValidityAreMovedAnew)
{
    TimeMover mover;
    Payload first = warning(), next = warning();
    moveTimes(next, 1s);
    mover.move(first, 60s);
    mover.move(next, 59s);
    EXPECT_EQ(travelHeaderOf(next)->valid, 56'999'999'996ns);
}

TEST(TimeMoverTest, BegunAnewItKnowsNoneOfBefore)
{
    TimeMover mover;
    Payload first = warning(), again = warning();
    mover.move(first, 60s);
    mover.beginAnew();
    mover.move(again, 70s);
    EXPECT_EQ(travelHeaderOf(again)->valid, 66'999'999'996ns);
}
