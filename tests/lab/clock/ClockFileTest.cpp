#include "lab/clock/ClockFile.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

using namespace labclock;

namespace {

constexpr std::int64_t kReal = 1'700'000'000 * kSecond;

class ClockFileTest : public testing::Test {
protected:
    TemporaryDirectory m_directory;
    std::string m_path = (m_directory.path() / "clock").string();
};

}  // namespace

TEST_F(ClockFileTest, NewClockShowsTheTimeThatItWasGiven)
{
    const ClockFile clock = ClockFile::create(m_path, 1, kReal);  // a thousandth: it stands nearly still
    EXPECT_GE(clock.real(), kReal);
    EXPECT_LT(clock.real(), kReal + kSecond);
}

TEST_F(ClockFileTest, OneWhoOpensItSeesWhatAnotherSets)
{
    ClockFile one = ClockFile::create(m_path, 1, kReal);
    const ClockFile other(m_path);
    one.stepTo(2 * kReal);
    EXPECT_GE(other.real(), 2 * kReal);
    EXPECT_EQ(other.state(), one.state());
}

TEST_F(ClockFileTest, RateChangesAfterRateChangesJoin)
{
    ClockFile clock = ClockFile::create(m_path, 1'000, kReal);
    std::int64_t before = clock.monotonic();
    for (const std::int64_t rate : {500'000, 1, 1'000'000, 1'000}) {
        clock.setRate(rate);
        EXPECT_GE(clock.monotonic(), before);
        before = clock.monotonic();
    }
}

TEST_F(ClockFileTest, MonotonicTimeNeverGoesBackForAReaderBesideAWriter)
{
    ClockFile clock = ClockFile::create(m_path, 1'000'000, kReal);
    std::int64_t turns = 0, backward = 0;
    std::atomic<bool> isDone = false;
    std::thread reader([&, other = std::make_unique<ClockFile>(m_path)] {
        for (std::int64_t last = 0; !isDone; ++turns) {
            const std::int64_t now = other->monotonic();
            backward += now < last;
            last = now;
        }
    });
    for (int i = 0; i < 10; ++i) clock.setRate(i % 2 == 0 ? 1 : 1'000'000);
    isDone = true;
    reader.join();
    EXPECT_GT(turns, 0);
    EXPECT_EQ(backward, 0);
}

TEST_F(ClockFileTest, WhatIsOutOfRangeIsRefusedAndChangesNothing)
{
    ClockFile clock = ClockFile::create(m_path, 1, kReal);
    const ClockState before = clock.state();
    EXPECT_THROW(clock.setRate(0), std::invalid_argument);
    EXPECT_THROW(clock.setRate(1'000'001), std::invalid_argument);
    EXPECT_THROW(clock.step(-2 * kReal), std::invalid_argument);
    EXPECT_THROW(clock.step(INT64_MAX), std::invalid_argument);
    EXPECT_THROW(clock.slew(-10 * kSecond, 10 * kSecond), std::invalid_argument);
    EXPECT_THROW(clock.leapAt(kReal - kSecond), std::invalid_argument);
    EXPECT_EQ(clock.state(), before);
}

TEST_F(ClockFileTest, FileThatIsNoClockIsRefusedByName)
{
    for (const std::size_t size : {0U, 16U, 592U, 593U, 4096U}) {
        const std::string path = m_directory.write("other", std::string(size, 'x'));
        EXPECT_EQ(errorOf([&] { ClockFile{path}; }), path + ": is no clock of lab-clock") << size;
    }
    EXPECT_EQ(errorOf([] { ClockFile{"/dev/null"}; }), "/dev/null: is no clock of lab-clock");
}

TEST_F(ClockFileTest, MissingFileIsRefusedByName)
{
    EXPECT_EQ(errorOf([&] { ClockFile{m_path}; }), m_path + ": No such file or directory");
}
