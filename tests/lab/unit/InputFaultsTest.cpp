#include "lab/unit/InputFaults.h"

#include "lab/unit/ReceiverFrames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace unitsim;
using namespace aspn2_msgs::idl;

namespace {

/// A digit for each epoch: 1 if it is sent.
std::string epochsSent(FaultyInput& input, int count)
{
    std::string sent;
    for (int i = 0; i < count; ++i) sent += input.skipsEpoch() ? '0' : '1';
    return sent;
}

std::string epochsSent(const Fault& fault, int count, std::uint64_t seed = 1)
{
    FaultyInput input(seed, Output::UTCTime);
    input.set(fault);
    return epochsSent(input, count);
}

Solution solution()
{
    Solution made;
    made.trueTime.nanoseconds = 1'000'000'000;
    made.time.nanoseconds = 1'000'000'020;
    made.truth.position = {0.7, -1.3, 90.0};
    made.state.position = {0.7, -1.3, 93.0};
    made.truth.velocity = {10.0, 0.0, 0.0};
    made.state.velocity = {9.5, 0.0, 0.0};
    made.positionError = {1.0, 1.0, 2.0};
    made.timeError = 20e-9;
    return made;
}

}  // namespace

TEST(InputFaultsTest, SoundOutputSkipsNothing)
{
    EXPECT_EQ(epochsSent(Fault(), 5), "11111");
}

TEST(InputFaultsTest, OutputThatIsOffSkipsAll)
{
    EXPECT_EQ(epochsSent({Fault::Kind::Off}, 5), "00000");
}

TEST(InputFaultsTest, SlowOutputSendsOneOfSoMany)
{
    EXPECT_EQ(epochsSent({Fault::Kind::Slow, 3.0}, 8), "10010010");
}

TEST(InputFaultsTest, IntermittentOutputIsLeftOutAtRandom)
{
    const std::string sent = epochsSent({Fault::Kind::Intermittent, 0.5}, 1000);
    EXPECT_NEAR(static_cast<double>(std::count(sent.begin(), sent.end(), '1')), 500.0, 60.0);
    EXPECT_EQ(sent, epochsSent({Fault::Kind::Intermittent, 0.5}, 1000));
    EXPECT_NE(sent, epochsSent({Fault::Kind::Intermittent, 0.5}, 1000, 2));
    EXPECT_EQ(epochsSent({Fault::Kind::Intermittent, 0.0}, 5), "11111");
    EXPECT_EQ(epochsSent({Fault::Kind::Intermittent, 1.0}, 5), "00000");
}

TEST(InputFaultsTest, OnlyADelayedOutputIsLate)
{
    FaultyInput input(1, Output::UTCTime);
    EXPECT_EQ(input.delaySeconds(), 0.0);
    input.set({Fault::Kind::Delayed, 2.5});
    EXPECT_EQ(input.delaySeconds(), 2.5);
    input.set({Fault::Kind::Wrong, 2.5});
    EXPECT_EQ(input.delaySeconds(), 0.0);
}

TEST(InputFaultsTest, ErrorsAndClaimsAreScaledTogether)
{
    const Solution made = scaled(solution(), 3.0);
    EXPECT_EQ(made.time.nanoseconds, 1'000'000'060);
    EXPECT_NEAR(made.state.position[2], 99.0, 1e-9);
    EXPECT_NEAR(made.state.velocity[0], 8.5, 1e-9);
    EXPECT_EQ(made.positionError[2], 6.0);
    EXPECT_NEAR(made.timeError, 60e-9, 1e-15);
}

TEST(InputFaultsTest, WrongPositionIsSoManyMetresToTheNorth)
{
    Solution at45 = solution();
    at45.state.position = {0.78539816339744831, 0.0, 0.0};
    const Solution wrong = wrongSolution(at45, Output::HalvexPNT, 1000.0);
    // By the radius of the meridian at 45 degrees, 6367381.816 m.
    EXPECT_NEAR((wrong.state.position[0] - at45.state.position[0]) * 6367381.815619548, 1000.0, 1e-5);
    EXPECT_EQ(wrong.time.nanoseconds, at45.time.nanoseconds);
}

TEST(InputFaultsTest, WrongTimeIsSoManySecondsAhead)
{
    const Solution wrong = wrongSolution(solution(), Output::UTCTime, 10.0);
    EXPECT_EQ(wrong.time.nanoseconds, 11'000'000'020);
    EXPECT_EQ(wrong.state.position[2], 93.0);
}

TEST(InputFaultsTest, ScrambledNumbersAreOthersEachTime)
{
    std::mt19937_64 random(1);
    PositionVelocityAttitude one, other;
    scramble(one, random);
    scramble(other, random);
    EXPECT_NE(one.position().latitude(), other.position().latitude());
    EXPECT_NE(one.covariance()[8][8], other.covariance()[8][8]);
}

TEST(InputFaultsTest, ScrambledSequenceKeepsItsLength)
{
    std::mt19937_64 random(1);
    MeasurementIncorporationStatus record;
    record.meas_types().resize(8);
    scramble(record, random);
    EXPECT_EQ(record.meas_types().size(), 8U);
    EXPECT_NE(record.meas_types()[7].meas_used(), 0);
}

TEST(InputFaultsTest, ScrambledFrameKeepsItsHeaderOnly)
{
    std::mt19937_64 random(1);
    GSSIP record = gssipRecord(frame8504(solution(), {}, 200));
    const GSSIP sound = record;
    scramble(record, random);
    ASSERT_EQ(record.data().size(), sound.data().size());
    EXPECT_TRUE(std::equal(record.data().begin(), record.data().begin() + 10, sound.data().begin()));
    EXPECT_FALSE(std::equal(record.data().begin() + 10, record.data().end(), sound.data().begin() + 10));
}
