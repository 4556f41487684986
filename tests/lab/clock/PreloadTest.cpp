#include "lab/clock/ClockFile.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using namespace labclock;

namespace {

constexpr std::int64_t kReal = 1'700'000'000 * kSecond;

/// What a probe saw.
struct Seen {
    double begins = -1.0;  // s, real time
    int result = -1;       // 0: as it should be
    double passed = -1.0;  // s
    double ends = -1.0;    // s, real time
};

/// Processes that live by one clock. Sanitizers want to be loaded first themselves.
class PreloadTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
#ifdef ORVANE_SANITIZED
        GTEST_SKIP();
#endif
    }

    std::vector<std::string> probe(const std::string& call, int seconds) const
    {
        return {"/usr/bin/env",
                "LD_PRELOAD=" ORVANE_CLOCK_LIBRARY,
                "ORVANE_LAB_CLOCK=" + m_path,
                ORVANE_CLOCK_PROBE,
                call,
                std::to_string(seconds)};
    }

    static Seen seenBy(ChildProcess& process)
    {
        EXPECT_EQ(process.wait(), (ChildProcess::Ending{0, 0})) << process.errors();
        Seen seen;
        EXPECT_EQ(std::sscanf(process.output().c_str(), "begins %lf result %d passed %lf ends %lf", &seen.begins,
                              &seen.result, &seen.passed, &seen.ends),
                  4)
            << process.output();
        return seen;
    }

    static bool hasBegun(const ChildProcess& process)
    {
        return eventually([&] { return process.output().find("begins") != std::string::npos; });
    }

    /// It has said so before it asks for the time: it is in its wait when it is seen asleep several times in a row.
    static bool isWaiting(const ChildProcess& process)
    {
        const auto isAsleep = [&] {
            std::ifstream file("/proc/" + std::to_string(process.id()) + "/stat");
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            const auto name = text.rfind(')');
            return name != std::string::npos && text.substr(name, 3) == ") S";
        };
        int looks = 0;
        return hasBegun(process) && eventually([&] { return (looks = isAsleep() ? looks + 1 : 0) == 10; });
    }

    TemporaryDirectory m_directory;
    std::string m_path = (m_directory.path() / "clock").string();
};

/// Runs as many times as fast as the machine's.
constexpr std::int64_t kThousandths = 400'000;

}  // namespace

TEST_P(PreloadTest, WaitTakesAsLongByTheClockAndSoMuchLessOfTheMachine)
{
    ClockFile::create(m_path, kThousandths, kReal);
    const auto begin = std::chrono::steady_clock::now();
    ChildProcess process(probe(GetParam(), 200));
    const Seen seen = seenBy(process);
    EXPECT_EQ(seen.result, 0);
    EXPECT_GE(seen.passed, 200.0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
}

INSTANTIATE_TEST_SUITE_P(Calls, PreloadTest,
                         testing::Values("sleep", "usleep", "nanosleep", "clock_nanosleep", "clock_nanosleep-until",
                                         "clock_nanosleep-until-real", "sleep_for", "condition_variable",
                                         "condition_variable-real", "condition_variable-once",
                                         "condition_variable-told", "pthread_cond_timedwait",
                                         "pthread_cond_timedwait-monotonic", "future", "future-real", "timed_mutex",
                                         "pthread_mutex_timedlock", "shared_timed_mutex", "sem_timedwait",
                                         "sem_clockwait", "poll", "ppoll", "select", "pselect", "epoll_wait",
                                         "sigtimedwait", "timerfd", "timerfd-until", "setitimer", "alarm"));

TEST_F(PreloadTest, AllThatTellTheTimeTellTheSame)
{
    ClockFile::create(m_path, 1, 4'000'000'000 * kSecond);
    ChildProcess process(probe("times", 0));
    const Seen seen = seenBy(process);
    EXPECT_EQ(seen.result, 0);
    EXPECT_GE(seen.begins, 4e9);
    EXPECT_LT(seen.ends, 4e9 + 1.0);
}

TEST_F(PreloadTest, TwoProcessesSeeAStepAlike)
{
    ClockFile clock = ClockFile::create(m_path, 1, kReal);
    ChildProcess one(probe("clock_nanosleep-until-real", 3600)), other(probe("condition_variable-real", 3600));
    ASSERT_TRUE(isWaiting(one) && isWaiting(other));
    clock.step(3700 * kSecond);
    const Seen a = seenBy(one), b = seenBy(other);
    EXPECT_EQ(a.result, 0);
    EXPECT_EQ(b.result, 0);
    EXPECT_NEAR(a.ends, 1.7e9 + 3700.0, 1.0);
    EXPECT_NEAR(b.ends, 1.7e9 + 3700.0, 1.0);
}

TEST_F(PreloadTest, StepDoesNotEndAWaitOfMonotonicTime)
{
    ClockFile clock = ClockFile::create(m_path, 1'000, kReal);
    ChildProcess process(probe("pthread_cond_timedwait-monotonic", 400));
    ASSERT_TRUE(isWaiting(process));
    clock.step(3700 * kSecond);
    clock.setRate(kThousandths);
    EXPECT_GE(seenBy(process).passed, 400.0);
}

TEST_F(PreloadTest, NewRateArrivesInAWaitThatHasBegun)
{
    for (const char* call : {"nanosleep", "condition_variable", "future", "poll", "sem_timedwait"}) {
        ClockFile clock = ClockFile::create(m_path, 1, kReal);
        ChildProcess process(probe(call, 200));
        ASSERT_TRUE(isWaiting(process));
        clock.setRate(kThousandths);
        EXPECT_GE(seenBy(process).passed, 200.0) << call;
    }
}

TEST_F(PreloadTest, TwoProcessesSeeASlewAlike)
{
    ClockFile clock = ClockFile::create(m_path, 100'000, kReal);
    clock.slew(50 * kSecond, 100 * kSecond);
    ChildProcess one(probe("nanosleep", 100)), other(probe("nanosleep", 100));
    for (ChildProcess* process : {&one, &other}) {
        const Seen seen = seenBy(*process);
        EXPECT_GT(seen.ends - seen.begins, seen.passed);
        EXPECT_LE(seen.ends - seen.begins, seen.passed + 50.1);
    }
}

TEST_F(PreloadTest, LeapSecondPassesTwice)
{
    ClockFile clock = ClockFile::create(m_path, 10'000, kReal);
    ChildProcess process(probe("nanosleep", 30));
    ASSERT_TRUE(hasBegun(process));
    clock.leapAt(clock.real() + kSecond);
    const Seen seen = seenBy(process);
    EXPECT_NEAR(seen.ends - seen.begins, seen.passed - 1.0, 0.5);
}

TEST_F(PreloadTest, MonotonicTimeNeverGoesBackWhileTheRateChanges)
{
    ClockFile clock = ClockFile::create(m_path, 100'000, kReal);
    ChildProcess process(probe("watch", 100));
    ASSERT_TRUE(hasBegun(process));
    for (int i = 0; i < 10; ++i) clock.setRate(i % 2 == 0 ? 1'000 : 400'000);
    EXPECT_EQ(seenBy(process).result, 0);
}

TEST_F(PreloadTest, WithoutAClockTimeIsTheMachines)
{
    ChildProcess process({"/usr/bin/env", "LD_PRELOAD=" ORVANE_CLOCK_LIBRARY, ORVANE_CLOCK_PROBE, "times", "0"});
    const Seen seen = seenBy(process);
    EXPECT_EQ(seen.result, 0);
    EXPECT_NEAR(seen.ends, static_cast<double>(std::time(nullptr)), 60.0);
}

TEST_F(PreloadTest, ProcessWithAFileThatIsNoClockEndsWithALine)
{
    m_directory.write("clock", "12:00");
    ChildProcess process(probe("times", 0));
    EXPECT_EQ(process.wait(), (ChildProcess::Ending{125, 0}));
    EXPECT_EQ(process.errors(), "lab-clock: " + m_path + ": is no clock of lab-clock\n");
}
