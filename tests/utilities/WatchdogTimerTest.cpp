#include "utilities/WatchdogTimer.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/PretendedClock.h"
#include "tests/support/ProcessState.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

class WatchdogTimerTest : public testing::Test {
protected:
    std::function<void()> count()
    {
        return [this] { ++m_expiries; };
    }
    bool expires() const
    {
        return eventually([this] { return m_expiries > 0; });
    }
    bool expiresWithin(std::chrono::milliseconds time, int above = 0) const
    {
        return eventually([=, this] { return m_expiries > above; }, time);
    }

    HardDeadline m_deadline;
    std::atomic<int> m_expiries = 0;
    WatchdogTimer m_timer;
};

std::chrono::steady_clock::duration since(std::chrono::steady_clock::time_point start)
{
    return std::chrono::steady_clock::now() - start;
}

}  // namespace

TEST_F(WatchdogTimerTest, ATimeOfZeroExpiresAtOnce)
{
    m_timer.startWatchdog(0s, count());
    EXPECT_TRUE(expires());
}

TEST_F(WatchdogTimerTest, ANegativeTimeExpiresAtOnce)
{
    m_timer.startWatchdog(std::chrono::seconds::min(), count());
    EXPECT_TRUE(expires());
}

TEST_F(WatchdogTimerTest, ExpiresAfterTheTimeAndNotBefore)
{
    const auto start = std::chrono::steady_clock::now();
    std::atomic<std::int64_t> elapsed = 0;
    m_timer.startWatchdog(300ms, [&] { elapsed = since(start) / 1ms; });
    EXPECT_TRUE(eventually([&] { return elapsed != 0; }));
    EXPECT_GE(elapsed, 300);
}

TEST_F(WatchdogTimerTest, SecondsAreSeconds)
{
    const auto start = std::chrono::steady_clock::now();
    m_timer.startWatchdog(1s, count());
    EXPECT_TRUE(expires());
    EXPECT_GE(since(start), 1s);
}

TEST_F(WatchdogTimerTest, AfterOneExpiryItStaysSilent)
{
    m_timer.startWatchdog(1ms, count());
    ASSERT_TRUE(expires());
    m_timer.petWatchdog();
    EXPECT_FALSE(expiresWithin(200ms, 1));
}

TEST_F(WatchdogTimerTest, AnExpiredTimerIsArmedAgain)
{
    for (int round = 1; round <= 3; ++round) {
        m_timer.startWatchdog(1ms, count());
        EXPECT_TRUE(eventually([&] { return m_expiries == round; }));
    }
}

TEST_F(WatchdogTimerTest, APetBeginsTheFullPeriodAnew)
{
    bool isLate = true;  // a pet came when the period may have been over: this thread stood still, so once more
    bool hasExpired = false;
    std::chrono::steady_clock::time_point lastPet;
    for (int attempt = 0; isLate && attempt < 10; ++attempt) {
        m_timer.cancelWatchdog();
        m_expiries = 0;
        lastPet = std::chrono::steady_clock::now();
        m_timer.startWatchdog(2s, count());
        hasExpired = eventually(
            [&] {
                const auto previous = std::exchange(lastPet, std::chrono::steady_clock::now());
                m_timer.petWatchdog();
                const bool isOver = m_expiries > 0;
                isLate = since(previous) >= 2s;  // looked at last, so an expiry that is due makes it late
                return isOver || isLate;
            },
            2500ms);
    }
    ASSERT_FALSE(isLate);
    EXPECT_FALSE(hasExpired);
    EXPECT_TRUE(expires());
    EXPECT_GE(since(lastPet), 2s);
}

TEST_F(WatchdogTimerTest, APetOfAnIdleTimerHasNoEffect)
{
    m_timer.petWatchdog();
    m_timer.startWatchdog(7200s, count());
    m_timer.cancelWatchdog();
    m_timer.petWatchdog();
    EXPECT_FALSE(expiresWithin(100ms));
}

TEST_F(WatchdogTimerTest, ACancelledTimerStaysSilent)
{
    std::chrono::steady_clock::time_point start;
    do {  // again if the cancel itself came too late
        m_expiries = 0;
        start = std::chrono::steady_clock::now();
        m_timer.startWatchdog(300ms, count());
        m_timer.cancelWatchdog();
    } while (since(start) >= 300ms);
    EXPECT_FALSE(expiresWithin(600ms));
}

TEST_F(WatchdogTimerTest, ACancelOfAnIdleTimerIsSafeToRepeat)
{
    m_timer.cancelWatchdog();
    m_timer.cancelWatchdog();
    m_timer.startWatchdog(1ms, count());
    ASSERT_TRUE(expires());
    m_timer.cancelWatchdog();
    m_timer.cancelWatchdog();
    EXPECT_EQ(m_expiries, 1);
}

TEST_F(WatchdogTimerTest, AStartOfAnArmedTimerReplacesTheCallback)
{
    std::atomic<bool> isOldCalled = false;
    std::chrono::steady_clock::time_point start;
    do {  // again if the second start itself came too late
        m_timer.cancelWatchdog();
        isOldCalled = false;
        m_expiries = 0;
        start = std::chrono::steady_clock::now();
        m_timer.startWatchdog(300ms, [&] { isOldCalled = true; });
        m_timer.startWatchdog(301ms, count());
    } while (since(start) >= 300ms);
    EXPECT_TRUE(expires());
    EXPECT_FALSE(isOldCalled);
}

TEST_F(WatchdogTimerTest, ACancelByTheCallbackReturnsAndTheTimerIsArmedAgain)
{
    m_timer.startWatchdog(0ms, [this] {
        m_timer.cancelWatchdog();
        ++m_expiries;
    });
    ASSERT_TRUE(expires());
    m_timer.startWatchdog(1ms, count());
    EXPECT_TRUE(eventually([this] { return m_expiries == 2; }));
}

TEST_F(WatchdogTimerTest, APetByTheCallbackReturnsAndDoesNotRepeat)
{
    m_timer.startWatchdog(0ms, [this] {
        m_timer.petWatchdog();
        ++m_expiries;
    });
    ASSERT_TRUE(expires());
    EXPECT_FALSE(expiresWithin(100ms, 1));
}

TEST_F(WatchdogTimerTest, AStartByTheCallbackIsRefused)
{
    std::atomic<bool> isRefused = false;
    m_timer.startWatchdog(0ms, [&] {
        try {
            m_timer.startWatchdog(0ms, count());
        } catch (const std::system_error& error) {
            isRefused = error.code() == std::errc::resource_deadlock_would_occur;
        }
    });
    EXPECT_TRUE(eventually([&] { return isRefused.load(); }));
    EXPECT_EQ(m_expiries, 0);
}

TEST_F(WatchdogTimerTest, ACancelWaitsForTheCallbackThatRuns)
{
    std::atomic<bool> hasBegun = false;
    std::atomic<bool> hasEnded = false;
    m_timer.startWatchdog(0ms, [&] {
        hasBegun = true;
        eventually([] { return false; }, 100ms);
        hasEnded = true;
    });
    ASSERT_TRUE(eventually([&] { return hasBegun.load(); }));
    m_timer.cancelWatchdog();
    EXPECT_TRUE(hasEnded);
}

TEST_F(WatchdogTimerTest, AnEmptyCallbackIsNotCalled)
{
    static std::atomic<pid_t> thread;  // that has looked at the clock last
    WatchdogTimer timer([] {
        thread = gettid();
        return std::chrono::steady_clock::now();
    });
    timer.startWatchdog(0ms, nullptr);
    ASSERT_TRUE(eventually([] { return thread != gettid() && hasEnded(thread); }));
    timer.startWatchdog(1ms, count());
    EXPECT_TRUE(expires());
}

TEST_F(WatchdogTimerTest, DestructionWhileArmedReturnsAtOnce)
{
    const auto start = std::chrono::steady_clock::now();
    {
        WatchdogTimer timer;
        timer.startWatchdog(7200s, count());
    }
    EXPECT_LT(since(start), 10s);
    EXPECT_EQ(m_expiries, 0);
}

TEST_F(WatchdogTimerTest, TheLongestTimesNeitherExpireNorOverflow)
{
    using Unsigned = std::chrono::duration<std::uint64_t>;
    m_timer.startWatchdog(Unsigned(18'446'744'073'709'551'615u), count());
    EXPECT_FALSE(expiresWithin(100ms));
    m_timer.startWatchdog(std::chrono::seconds::max(), count());
    EXPECT_FALSE(expiresWithin(100ms));
    m_timer.startWatchdog(std::chrono::milliseconds::max(), count());
    m_timer.petWatchdog();
    EXPECT_FALSE(expiresWithin(100ms));
    m_timer.startWatchdog(std::chrono::duration<double>(std::numeric_limits<double>::infinity()), count());
    EXPECT_FALSE(expiresWithin(100ms));
}

// The cancel meets the thread before its wait, in it, or between.
TEST_F(WatchdogTimerTest, ACancelRightBehindTheStartIsNeverLost)
{
    for (int round = 0; round < 1000; ++round) {
        m_timer.startWatchdog(7200s, count());
        if (round % 2) m_timer.petWatchdog();
        m_timer.cancelWatchdog();
    }
    EXPECT_EQ(m_expiries, 0);
}

// The time between start and cancel follows the outcome, so that the two keep meeting.
TEST_F(WatchdogTimerTest, NoCallbackRunsAfterACancelAtTheMomentOfExpiry)
{
    std::chrono::microseconds delay = 0us;
    int expiries = 0;
    for (int round = 0; round < 1000; ++round) {
        bool isCalled = false;  // no atomic, on purpose: the cancel is what orders the two threads
        m_timer.startWatchdog(0ms, [&] { isCalled = true; });
        for (const auto start = std::chrono::steady_clock::now(); since(start) < delay;) {
        }
        m_timer.cancelWatchdog();
        delay += isCalled ? -1us : 1us;
        expiries += isCalled ? 1 : 0;
    }
    EXPECT_GT(expiries, 0);
    EXPECT_LT(expiries, 1000);
}

TEST_F(WatchdogTimerTest, TwoHoursAreOverAfter7200SecondsAndNotAMillisecondBefore)
{
    PretendedClock::setElapsed(0s);
    WatchdogTimer timer(&PretendedClock::now);
    timer.startWatchdog(7200s, count());
    PretendedClock::setElapsed(7199'999ms);
    ASSERT_TRUE(PretendedClock::isSeenAndWaitedOn());
    EXPECT_EQ(m_expiries, 0);
    PretendedClock::setElapsed(7200s);
    EXPECT_TRUE(expires());
}

TEST_F(WatchdogTimerTest, APetBeginsTwoHoursAnew)
{
    PretendedClock::setElapsed(0s);
    WatchdogTimer timer(&PretendedClock::now);
    timer.startWatchdog(7200s, count());
    PretendedClock::setElapsed(7199s);
    timer.petWatchdog();
    PretendedClock::setElapsed(14398s);
    ASSERT_TRUE(PretendedClock::isSeenAndWaitedOn());
    EXPECT_EQ(m_expiries, 0);
    PretendedClock::setElapsed(14399s);
    EXPECT_TRUE(expires());
}

TEST_F(WatchdogTimerTest, APetWakesTheThreadThatWaits)
{
    PretendedClock::s_now = std::chrono::steady_clock::now();  // a wait for later times is a true one
    const int before = PretendedClock::s_looks;
    WatchdogTimer timer(&PretendedClock::now);
    timer.startWatchdog(7200s, count());
    ASSERT_TRUE(eventually([=] { return PretendedClock::s_looks == before + 2; }));  // the start's and the thread's
    timer.petWatchdog();
    EXPECT_TRUE(eventually([=] { return PretendedClock::s_looks >= before + 4; }));  // the pet's and the thread's
    EXPECT_EQ(m_expiries, 0);
}

TEST(WatchdogTimerLookTest, TheClockIsLookedAtAtTheDeadlineOrAfterADay)
{
    const std::chrono::steady_clock::time_point now(1000h);
    EXPECT_EQ(WatchdogTimer::nextLook(now, now + 2h), now + 2h);
    EXPECT_EQ(WatchdogTimer::nextLook(now, now + 24h), now + 24h);
    EXPECT_EQ(WatchdogTimer::nextLook(now, now + 48h), now + 24h);
    EXPECT_EQ(WatchdogTimer::nextLook(now, std::chrono::steady_clock::time_point::max()), now + 24h);
}

// The clock is 25 hours slow: a wait of a day is over, one of two is not.
TEST_F(WatchdogTimerTest, AWaitOfTwoDaysIsTakenUpAgainAfterTheFirst)
{
    PretendedClock::s_now = std::chrono::steady_clock::now() - 25h;
    WatchdogTimer timer(&PretendedClock::now);
    timer.startWatchdog(48h, count());
    EXPECT_TRUE(PretendedClock::isSeenAndWaitedOn());
    EXPECT_EQ(m_expiries, 0);
}
