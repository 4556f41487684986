#include "ASPN/AspnHelper.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <limits>
#include <thread>

using namespace std::chrono_literals;
namespace idl = aspn2_msgs::idl;

namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

void expectStamp(const idl::timestamp& stamp, std::int64_t sec, std::int32_t nsec, std::int32_t code = 100)
{
    EXPECT_EQ(stamp.sec(), sec);
    EXPECT_EQ(stamp.nsec(), nsec);
    EXPECT_EQ(stamp.time_code(), code);
}

void expectToV(const ASPN2::header& header, std::int64_t sec, std::int32_t nsec, std::int32_t code = 100)
{
    EXPECT_EQ(header.tov_sec, sec);
    EXPECT_EQ(header.tov_nsec, nsec);
    EXPECT_EQ(header.tov_time_code, code);
}

void expectToA(const ASPN2::header& header, std::int64_t sec, std::int32_t nsec, std::int32_t code = 100)
{
    EXPECT_EQ(header.toa_sec, sec);
    EXPECT_EQ(header.toa_nsec, nsec);
    EXPECT_EQ(header.toa_time_code, code);
}

idl::header stampedOfTicks(std::uint64_t ticks)
{
    idl::header header;
    ASPN2::setToV_fromFpgaTicks(ticks, header);
    return header;
}

idl::header withToV(std::int64_t sec, std::int32_t nsec)
{
    idl::header header;
    header.timestamp_valid().sec(sec);
    header.timestamp_valid().nsec(nsec);
    return header;
}

idl::header withToA(std::int64_t sec, std::int32_t nsec)
{
    idl::header header;
    header.timestamp_arrival().sec(sec);
    header.timestamp_arrival().nsec(nsec);
    return header;
}

/// Goes back to live mode, which other tests expect.
struct SimulatedMode {
    SimulatedMode() { ASPN2::TimeCodeHelper::Instance().setSimMode(); }
    ~SimulatedMode() { ASPN2::TimeCodeHelper::Instance().setLiveMode(); }
};

}  // namespace

TEST(TimeCodeHelperTest, LiveIsWhereItBegins)
{
    EXPECT_EQ(ASPN2::TimeCodeHelper::Instance().getTimeCode(), 100);
    EXPECT_EQ(&ASPN2::TimeCodeHelper::Instance(), &ASPN2::TimeCodeHelper::Instance());
}

TEST(TimeCodeHelperTest, ModesHaveTheirCodes)
{
    auto& helper = ASPN2::TimeCodeHelper::Instance();
    helper.setSimMode();
    EXPECT_EQ(helper.getTimeCode(), 101);
    helper.setLiveMode();
    EXPECT_EQ(helper.getTimeCode(), 100);
}

TEST(TimeCodeHelperTest, ACodeReadWhileTheModeChangesIsOneOfTheTwo)
{
    const SimulatedMode simulated;
    std::atomic<bool> done{false};
    std::thread changer([&done] {
        while (!done) {
            ASPN2::TimeCodeHelper::Instance().setLiveMode();
            ASPN2::TimeCodeHelper::Instance().setSimMode();
        }
    });
    const auto deadline = std::chrono::steady_clock::now() + 60s;
    int changes = 0, parted = 0, others = 0, last = 0;
    while (changes < 1000 && std::chrono::steady_clock::now() < deadline) {
        idl::header header;
        ASPN2::setToVandToA_fromFpgaTicks(0, header);
        const int code = header.timestamp_valid().time_code();
        changes += code != last;
        others += code != 100 && code != 101;
        parted += code != header.timestamp_arrival().time_code();
        last = code;
    }
    done = true;
    changer.join();
    EXPECT_EQ(changes, 1000);
    EXPECT_EQ(others, 0);
    EXPECT_EQ(parted, 0);
}

TEST(HostHeaderTest, MembersStandInTheirOrder)
{
    static_assert(offsetof(ASPN2::header, seq_num) == 0);
    static_assert(offsetof(ASPN2::header, toa_sec) == 8);
    static_assert(offsetof(ASPN2::header, toa_nsec) == 16);
    static_assert(offsetof(ASPN2::header, toa_time_code) == 20);
    static_assert(offsetof(ASPN2::header, tov_sec) == 24);
    static_assert(offsetof(ASPN2::header, tov_nsec) == 32);
    static_assert(offsetof(ASPN2::header, tov_time_code) == 36);
    static_assert(offsetof(ASPN2::header, device_id) == 40);
    const ASPN2::header header{1, 2, 3, 4, 5, 6, 7, 8};
    expectToA(header, 2, 3, 4);
    expectToV(header, 5, 6, 7);
}

TEST(StampTest, OneSecondOfTicksIsEightNanosecondsShort)
{
    expectStamp(stampedOfTicks(58'982'400).timestamp_valid(), 0, 999'999'992);
}

TEST(StampTest, NoTicksAreMinusEightNanoseconds)
{
    expectStamp(stampedOfTicks(0).timestamp_valid(), 0, -8);
}

TEST(StampTest, ATickIsRoundedTowardZero)
{
    expectStamp(stampedOfTicks(1).timestamp_valid(), 0, 8);     // 16.95 ns
    expectStamp(stampedOfTicks(59).timestamp_valid(), 0, 992);  // 1000.3 ns
}

TEST(StampTest, ALongUptimeIsExact)
{
    expectStamp(stampedOfTicks(58'982'400ull * 1'000'000 + 29'491'200).timestamp_valid(), 1'000'000, 499'999'992);
}

TEST(StampTest, TicksTurnNegativeWhereTheProductOutgrowsSixtyThreeBits)
{
    constexpr std::uint64_t kLast = 118'059'162'071'741;  // 2^63 / 78125
    expectStamp(stampedOfTicks(kLast).timestamp_valid(), 2'001'599, 834'386'876);
    expectStamp(stampedOfTicks(kLast + 1).timestamp_valid(), -2'001'599, -834'386'880);
    expectStamp(stampedOfTicks(0xFFFF'FFFF'FFFF'FFFF).timestamp_valid(), 0, -24);
}

TEST(StampTest, AStampLeavesTheOtherAlone)
{
    idl::header header;
    ASPN2::setToV_fromFpgaTicks(58'982'400, header);
    expectStamp(header.timestamp_arrival(), 0, 0, 0);
    ASPN2::setToA_fromFpgaTicks(2 * 58'982'400, header);
    expectStamp(header.timestamp_valid(), 0, 999'999'992);
    expectStamp(header.timestamp_arrival(), 1, 999'999'992);
}

TEST(StampTest, AStampOfAHostHeaderLeavesTheOtherAlone)
{
    ASPN2::header header;
    ASPN2::setToA_fromFpgaTicks(58'982'400, header);
    expectToV(header, 0, 0, 0);
    ASPN2::setToV_fromFpgaTicks(2 * 58'982'400, header);
    expectToA(header, 0, 999'999'992);
    expectToV(header, 1, 999'999'992);
}

TEST(StampTest, BothStampsFromTicksAreOne)
{
    const SimulatedMode simulated;
    idl::header header;
    ASPN2::setToVandToA_fromFpgaTicks(58'982'400, header);
    expectStamp(header.timestamp_valid(), 0, 999'999'992, 101);
    expectStamp(header.timestamp_arrival(), 0, 999'999'992, 101);
    ASPN2::header host;
    ASPN2::setToVandToA_fromFpgaTicks(0, host);
    expectToV(host, 0, -8, 101);
    expectToA(host, 0, -8, 101);
}

TEST(StampTest, DurationGoesToTheToVAlone)
{
    idl::header header;
    ASPN2::setToV_fromNSec(12'345'678'901ns, header);
    expectStamp(header.timestamp_valid(), 12, 345'678'901);
    expectStamp(header.timestamp_arrival(), 0, 0, 0);
}

TEST(StampTest, NegativeDurationHasNegativeParts)
{
    idl::header header;
    ASPN2::setToVandToA_fromNSec(-1'500'000'000ns, header);
    expectStamp(header.timestamp_valid(), -1, -500'000'000);
    expectStamp(header.timestamp_arrival(), -1, -500'000'000);
    ASPN2::setToV_fromNSec(std::chrono::nanoseconds(kLeast), header);
    expectStamp(header.timestamp_valid(), -9'223'372'036, -854'775'808);
}

TEST(StampTest, EachStampTakesTheCodeOfItsMoment)
{
    idl::header header;
    {
        const SimulatedMode simulated;
        ASPN2::setToV_fromNSec(1s, header);
    }
    ASPN2::setToA_fromFpgaTicks(0, header);
    expectStamp(header.timestamp_valid(), 1, 0, 101);
    expectStamp(header.timestamp_arrival(), 0, -8, 100);
}

TEST(CopyTest, StampsAreCopiedAsTheyAre)
{
    const ASPN2::header host{1, 2, 3, 4, 5, 6, 7, 8};
    idl::header header;
    ASPN2::setToVandToA_fromTo(host, header);
    expectStamp(header.timestamp_arrival(), 2, 3, 4);
    expectStamp(header.timestamp_valid(), 5, 6, 7);
    EXPECT_EQ(header.seq_num(), 0);
    EXPECT_EQ(header.device_id(), 0);
    ASPN2::header back;
    ASPN2::setToVandToA_fromTo(header, back);
    expectToA(back, 2, 3, 4);
    expectToV(back, 5, 6, 7);
    EXPECT_EQ(back.seq_num, 0u);
    EXPECT_EQ(back.device_id, 0u);
}

TEST(CopyTest, AHeaderIsCopiedWithNumberAndDevice)
{
    const ASPN2::header host{0xFFFF'FFFF'FFFF'FFFE, 2, 3, 4, 5, 6, 7, 0xFEDC'BA98};
    idl::header header;
    ASPN2::copyHeader_fromTo(host, header);
    EXPECT_EQ(header.seq_num(), -2);
    EXPECT_EQ(header.device_id(), -19'088'744);
    expectStamp(header.timestamp_arrival(), 2, 3, 4);
    expectStamp(header.timestamp_valid(), 5, 6, 7);
    ASPN2::header back;
    ASPN2::copyHeader_fromTo(header, back);
    EXPECT_EQ(back.seq_num, 0xFFFF'FFFF'FFFF'FFFE);
    EXPECT_EQ(back.device_id, 0xFEDC'BA98u);
    expectToA(back, 2, 3, 4);
    expectToV(back, 5, 6, 7);
}

TEST(TimeOfArrivalTest, IsToldInNanoseconds)
{
    EXPECT_EQ(ASPN2::getNSec_fromToA(withToA(3, 25)), 3'000'000'025ns);
    EXPECT_EQ(ASPN2::getNSec_fromToA(withToA(-1, -500)), -1'000'000'500ns);
    EXPECT_EQ(ASPN2::getNSec_fromToA(withToV(3, 25)), 0ns);
}

TEST(TimeOfArrivalTest, WrapsForWildNumbers)
{
    EXPECT_EQ(ASPN2::getNSec_fromToA(withToA(kMost, 1)).count(), -999'999'999);
    EXPECT_EQ(ASPN2::getNSec_fromToA(withToA(kLeast, -1)).count(), -1);
}

TEST(DeltaTovTest, OfAHeaderWithItselfIsZero)
{
    const auto header = withToV(1234, 567);
    EXPECT_EQ(ASPN2::deltaTov(header, header), 0.0);
}

TEST(DeltaTovTest, IsInSecondsWithItsSign)
{
    EXPECT_NEAR(ASPN2::deltaTov(withToV(10, 0), withToV(9, 999'999'999)), 1e-9, 1e-15);
    EXPECT_NEAR(ASPN2::deltaTov(withToV(9, 999'999'999), withToV(10, 0)), -1e-9, 1e-15);
    EXPECT_EQ(ASPN2::deltaTov(withToV(5, 0), withToV(7, 500'000'000)), -2.5);
    EXPECT_EQ(ASPN2::deltaTov(ASPN2::header{0, 0, 0, 0, 7, 500'000'000, 0, 0}, ASPN2::header{}), 7.5);
}

TEST(DeltaTovTest, TimeCodesAreNotCompared)
{
    auto first = withToV(2, 0);
    first.timestamp_valid().time_code(101);
    EXPECT_EQ(ASPN2::deltaTov(first, withToV(1, 0)), 1.0);
}

TEST(DeltaTovTest, DifferencesWrap)
{
    EXPECT_EQ(ASPN2::deltaTov(withToV(kMost, 0), withToV(-1, 0)), -9223372036854775808.0);
    EXPECT_EQ(ASPN2::deltaTov(withToV(0, 2'147'483'647), withToV(0, -1)), -2147483648 * 1e-9);
}
