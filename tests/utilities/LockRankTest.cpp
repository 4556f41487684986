#include "utilities/LockRank.h"
#include "tests/support/ChildProcess.h"
#include "utilities/SharedMutex.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <thread>

// The orders that are wrong are what is looked at, so the analysis has nothing to say here.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wthread-safety"
#endif

namespace {

RankedMutex<LockRank::LifeCycle> lifeCycle;
RankedMutex<LockRank::Inputs> inputs;
RankedMutex<LockRank::ThreatReport> threatReport;
RankedMutex<LockRank::Time> timeLock;
SharedMutex<LockRank::Gate> gate;

using InputsLock = MutexLock<decltype(inputs)>;
using Writer = ExclusiveLock<LockRank::Gate>;
using Reader = SharedLock<LockRank::Gate>;

/// Whether a thread that wants `Wanted` of the mutex waits while this one has `Held` of it.
template <class Held, class Wanted, class Lockable>
bool isKeptOut(Lockable& mutex)
{
    std::atomic<bool> isIn = false;
    std::thread other;
    bool isOut = false;
    {
        const Held held(mutex);
        other = std::thread([&] {
            const Wanted wanted(mutex);
            isIn = true;
        });
        isOut = !eventually([&] { return isIn.load(); }, std::chrono::milliseconds(50));
    }
    other.join();
    return isOut;
}

class LockRankDeathTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!LockOrder::kIsChecked) GTEST_SKIP() << "this build does not check the order";
        GTEST_FLAG_SET(death_test_style, "threadsafe");
    }
};

}  // namespace

TEST(LockRankTest, RisingRanksMayBeHeldTogether)
{
    const MutexLock first(lifeCycle);
    const MutexLock second(inputs);
    const SharedLock third(gate);
    const MutexLock fourth(timeLock);
    SUCCEED();
}

TEST(LockRankTest, ARankThatWasGivenBackMayBeTakenAgain)
{
    for (int i = 0; i < 2; ++i) {
        {
            const MutexLock lock(timeLock);
        }
        {
            const ExclusiveLock lock(gate);
        }
        {
            const MutexLock lock(inputs);
        }
        {
            const MutexLock lock(threatReport);
        }
    }
    SUCCEED();
}

TEST(LockRankTest, AnotherThreadHoldsNothing)
{
    const MutexLock lock(timeLock);
    std::thread([] { const MutexLock other(lifeCycle); }).join();
    SUCCEED();
}

TEST(LockRankTest, AWaitGivesItsRankBackAndTakesItAgain)
{
    std::condition_variable_any changed;
    {
        const MutexLock lock(timeLock);
        EXPECT_FALSE(changed.wait_for(timeLock, std::chrono::milliseconds(1), [] { return false; }));
    }
    const MutexLock lock(lifeCycle);
    SUCCEED();
}

TEST(LockRankTest, AMutexIsOfOneThreadAtATime)
{
    Mutex plain;
    EXPECT_TRUE((isKeptOut<MutexLock<Mutex>, MutexLock<Mutex>>(plain)));
    EXPECT_TRUE((isKeptOut<InputsLock, InputsLock>(inputs)));
}

TEST(LockRankTest, AWriterIsAloneAndReadersAreNot)
{
    EXPECT_TRUE((isKeptOut<Writer, Writer>(gate)));
    EXPECT_TRUE((isKeptOut<Writer, Reader>(gate)));
    EXPECT_TRUE((isKeptOut<Reader, Writer>(gate)));
    std::atomic<bool> isIn = false;
    const Reader held(gate);
    std::thread([&] {
        const Reader other(gate);
        isIn = true;
    }).join();
    EXPECT_TRUE(isIn);
}

TEST_F(LockRankDeathTest, ALowerRankEndsTheProcess)
{
    EXPECT_DEATH(
        {
            const MutexLock first(timeLock);
            const MutexLock second(inputs);
        },
        "lock order: configuration, inputs, threat report, clear data or VCL file is taken while time, lists or part "
        "numbers is held");
}

TEST_F(LockRankDeathTest, TheSameRankEndsTheProcess)
{
    EXPECT_DEATH(
        {
            const MutexLock first(inputs);
            const MutexLock second(threatReport);
        },
        "lock order: configuration, inputs, threat report, clear data or VCL file is taken while configuration, "
        "inputs, threat report, clear data or VCL file is held");
}

TEST_F(LockRankDeathTest, AReaderIsNoException)
{
    EXPECT_DEATH(
        {
            const SharedLock first(gate);
            const MutexLock second(lifeCycle);
        },
        "lock order: life cycle is taken while gate, results or watchdog is held");
}

TEST_F(LockRankDeathTest, ALockIsNotTakenTwice)
{
    EXPECT_DEATH(
        {
            const SharedLock first(gate);
            const SharedLock second(gate);
        },
        "lock order: gate, results or watchdog is taken while gate, results or watchdog is held");
}
