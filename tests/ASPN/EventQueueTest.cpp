#include "ASPN/EventQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

using ASPN2::EventQueue;
using namespace std::chrono_literals;

namespace {

EventQueue::Clock::time_point s_now{};

struct EventQueueTest : testing::Test {
    EventQueueTest() { s_now = EventQueue::Clock::time_point(1000s); }

    /// The next item as "<type>:<text>", or "none".
    std::string pop(std::chrono::nanoseconds timeout = 0ns)
    {
        std::int32_t type = -1;
        std::string text;
        return queue.pop_front(type, text, timeout) ? std::to_string(type) + ":" + text : "none";
    }

    EventQueue queue{10, 2, 300s, [] { return s_now; }};
};

}  // namespace

TEST_F(EventQueueTest, ItemsComeInTheOrderGiven)
{
    EXPECT_TRUE(queue.push_back(3, "first"));
    EXPECT_TRUE(queue.push_back(0, "second"));
    EXPECT_EQ(queue.size(), 2u);
    EXPECT_EQ(pop(), "3:first");
    EXPECT_EQ(pop(), "0:second");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, OutputsStayAsTheyWereWhenNothingCame)
{
    std::int32_t type = 77;
    std::string text = "kept";
    EXPECT_FALSE(queue.pop_front(type, text, 0ns));
    EXPECT_EQ(type, 77);
    EXPECT_EQ(text, "kept");
}

TEST_F(EventQueueTest, EleventhPlainEventIsDropped)
{
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(queue.push_back(0, std::to_string(i)));
    EXPECT_FALSE(queue.push_back(0, "lost"));
    EXPECT_EQ(queue.size(), 10u);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(pop(), "0:" + std::to_string(i));
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, ConfigurationEventIsAcceptedByAFullQueue)
{
    for (int i = 0; i < 10; ++i) queue.push_back(0, "plain");
    queue.push_back_config("banner");
    EXPECT_EQ(queue.size(), 11u);
}

TEST_F(EventQueueTest, QueuedConfigurationEventsCountAgainstPlainOnes)
{
    for (int i = 0; i < 10; ++i) queue.push_back_config(std::to_string(i));
    EXPECT_FALSE(queue.push_back(0, "lost"));
}

TEST_F(EventQueueTest, ConfigurationEventsThatWaitForTheirRepeatDoNotCount)
{
    for (int i = 0; i < 10; ++i) queue.push_back_config(std::to_string(i));
    for (int i = 0; i < 10; ++i) pop();
    EXPECT_EQ(queue.size(), 0u);
    EXPECT_TRUE(queue.push_back(0, "accepted"));
}

TEST_F(EventQueueTest, ConfigurationEventHasTheConfigurationType)
{
    queue.push_back_config("banner");
    EXPECT_EQ(pop(), "2:banner");
}

TEST_F(EventQueueTest, ConfigurationEventRepeatsWhenThePeriodIsOver)
{
    queue.push_back_config("banner");
    EXPECT_EQ(pop(), "2:banner");
    s_now += 300s - 1ns;
    EXPECT_EQ(pop(), "none");
    s_now += 1ns;
    EXPECT_EQ(pop(), "2:banner");
    EXPECT_EQ(pop(), "none");
    s_now += 300s;
    EXPECT_EQ(pop(), "2:banner");
}

TEST_F(EventQueueTest, ThePeriodStartsWhenTheEventIsTaken)
{
    queue.push_back_config("banner");
    s_now += 1000s;
    EXPECT_EQ(pop(), "2:banner");
    s_now += 299s;
    EXPECT_EQ(pop(), "none");
    s_now += 1s;
    EXPECT_EQ(pop(), "2:banner");
}

TEST_F(EventQueueTest, EveryDueRepeatIsQueuedAtTheStartOfAPop)
{
    for (int i = 0; i < 12; ++i) queue.push_back_config(std::to_string(i));
    for (int i = 0; i < 12; ++i) pop();
    s_now += 300s;
    EXPECT_EQ(pop(), "2:0");
    EXPECT_EQ(queue.size(), 11u);  // repeats do not look at the limit
}

TEST_F(EventQueueTest, RepeatsStandBehindWhatIsQueued)
{
    queue.push_back_config("banner");
    pop();
    s_now += 300s;
    queue.push_back(3, "plain");
    EXPECT_EQ(pop(), "3:plain");
    EXPECT_EQ(pop(), "2:banner");
}

TEST_F(EventQueueTest, SameConfigurationTextGivenTwiceRepeatsTwice)
{
    EXPECT_EQ(queue.push_back_config("banner"), queue.push_back_config("banner"));
    pop();
    pop();
    s_now += 300s;
    EXPECT_EQ(pop(), "2:banner");
    EXPECT_EQ(pop(), "2:banner");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, HashIsThatOfTheText)
{
    EXPECT_EQ(queue.push_back_config("banner"), std::hash<std::string>{}("banner"));
    EXPECT_EQ(queue.push_back_config("other", 0), std::hash<std::string>{}("other"));
}

TEST_F(EventQueueTest, ReplacingDropsTheQueuedText)
{
    const std::size_t old = queue.push_back_config("old");
    queue.push_back_config("new", old);
    EXPECT_EQ(pop(), "2:new");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, ReplacingDropsTheTextThatWaitsForItsRepeat)
{
    const std::size_t old = queue.push_back_config("old");
    pop();
    queue.push_back_config("new", old);
    EXPECT_EQ(pop(), "2:new");
    s_now += 300s;
    EXPECT_EQ(pop(), "2:new");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, ReplacingDropsOneQueuedAndOneWaitingTextOfTheHash)
{
    queue.push_back_config("old");
    pop();
    queue.push_back_config("old");
    const std::size_t old = queue.push_back_config("old");
    queue.push_back_config("new", old);
    EXPECT_EQ(pop(), "2:old");
    EXPECT_EQ(pop(), "2:new");
    EXPECT_EQ(pop(), "none");
    s_now += 300s;
    EXPECT_EQ(pop(), "2:old");
    EXPECT_EQ(pop(), "2:new");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, ReplacingDropsTheFirstOfTheQueuedTextsOfTheHash)
{
    queue.push_back_config("old");
    queue.push_back_config("other");
    const std::size_t old = queue.push_back_config("old");
    queue.push_back_config("new", old);
    EXPECT_EQ(pop(), "2:other");
    EXPECT_EQ(pop(), "2:old");
    EXPECT_EQ(pop(), "2:new");
}

TEST_F(EventQueueTest, ARepeatedTextMayBeReplacedToo)
{
    const std::size_t old = queue.push_back_config("old");
    pop();
    s_now += 300s;
    EXPECT_EQ(pop(), "2:old");
    s_now += 300s;
    queue.push_back(0, "plain");
    EXPECT_EQ(pop(), "0:plain");  // the repeat is queued behind it
    EXPECT_EQ(queue.push_back_config("new", old), std::hash<std::string>{}("new"));
    EXPECT_EQ(pop(), "2:new");
    EXPECT_EQ(pop(), "none");
}

TEST_F(EventQueueTest, ReplacingAnUnknownHashJustAdds)
{
    queue.push_back_config("one");
    queue.push_back_config("two", 12345);
    EXPECT_EQ(pop(), "2:one");
    EXPECT_EQ(pop(), "2:two");
}

TEST_F(EventQueueTest, HashZeroNeverDropsAPlainEvent)
{
    queue.push_back(3, "plain");
    queue.push_back_config("new", 0);
    EXPECT_EQ(pop(), "3:plain");
    EXPECT_EQ(pop(), "2:new");
}

TEST_F(EventQueueTest, PopReturnsEmptyHandedAfterItsTimeout)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(pop(20ms), "none");
    EXPECT_GE(std::chrono::steady_clock::now() - start, 20ms);
}

TEST_F(EventQueueTest, NegativeAndHugeTimeoutsAreTaken)
{
    EXPECT_EQ(pop(-1h), "none");
    EXPECT_EQ(pop(std::chrono::nanoseconds::min()), "none");
    queue.push_back(1, "there");
    EXPECT_EQ(pop(std::chrono::nanoseconds::max()), "1:there");
}

namespace {

/// A clock of which each reading is a second later than the last.
EventQueue::Clock::time_point tick()
{
    return s_now += 1s;
}

}  // namespace

TEST_F(EventQueueTest, ThePeriodCountsFromAReadingAfterTheWait)
{
    EventQueue ticking(10, 2, 300s, tick);
    std::int32_t type = 0;
    std::string text;
    ticking.push_back_config("banner");
    ASSERT_TRUE(ticking.pop_front(type, text, 0ns));  // readings 1 and 2: due at the second one + 300 s
    s_now += 298s;
    EXPECT_FALSE(ticking.pop_front(type, text, 0ns));  // a reading 299 s later
    EXPECT_TRUE(ticking.pop_front(type, text, 0ns));   // a reading 300 s later
}

TEST_F(EventQueueTest, OneReadingServesAllRepeatsOfAPop)
{
    EventQueue ticking(10, 2, 300s, tick);
    std::int32_t type = 0;
    std::string text;
    ticking.push_back_config("one");
    ticking.push_back_config("two");
    ASSERT_TRUE(ticking.pop_front(type, text, 0ns));  // readings 1 and 2
    ASSERT_TRUE(ticking.pop_front(type, text, 0ns));  // readings 3 and 4
    s_now += 297s;                                    // the next one is 300 s after the second, 298 s after the fourth
    ASSERT_TRUE(ticking.pop_front(type, text, 0ns));
    EXPECT_EQ(text, "one");
    EXPECT_EQ(ticking.size(), 0u);
}

TEST_F(EventQueueTest, AWaitingPopIsWokenByEitherKind)
{
    // The clock is read under the lock, which the pop then gives up only to wait.
    static std::atomic<bool> s_isPopping;
    for (const bool config : {false, true}) {
        EventQueue waiting(10, 2, 300s, [] {
            s_isPopping = true;
            return EventQueue::Clock::now();
        });
        s_isPopping = false;
        std::thread sender([&] {
            while (!s_isPopping) std::this_thread::yield();
            config ? void(waiting.push_back_config("x")) : void(waiting.push_back(2, "x"));
        });
        std::int32_t type = 0;
        std::string text;
        EXPECT_TRUE(waiting.pop_front(type, text, std::chrono::nanoseconds::max()));
        EXPECT_EQ(text, "x");
        sender.join();
    }
}

TEST_F(EventQueueTest, AWaitThatIsNotLetGoOnEndsWithNothing)
{
    static std::atomic<bool> s_isPopping;
    EventQueue waiting(10, 2, 300s, [] {
        s_isPopping = true;
        return EventQueue::Clock::now();
    });
    std::thread ender([&] {
        while (!s_isPopping) std::this_thread::yield();
        waiting.letWait(false);
    });
    std::int32_t type = 0;
    std::string text;
    EXPECT_FALSE(waiting.pop_front(type, text, std::chrono::nanoseconds::max()));
    ender.join();
}

TEST_F(EventQueueTest, WhereNobodyWaitsEventsAreTakenAllTheSame)
{
    queue.letWait(false);
    queue.push_back(3, "first");
    queue.push_back_config("banner");
    EXPECT_EQ(pop(1h), "3:first");
    EXPECT_EQ(pop(1h), "2:banner");
    EXPECT_EQ(pop(1h), "none");
}

TEST_F(EventQueueTest, AWaitMayBeLetAgain)
{
    queue.letWait(false);
    queue.letWait(true);
    const auto start = EventQueue::Clock::now();
    EXPECT_EQ(pop(20ms), "none");
    EXPECT_GE(EventQueue::Clock::now() - start, 20ms);
}

TEST_F(EventQueueTest, ManySendersAndTakersLoseNothingThatWasAccepted)
{
    std::atomic<int> accepted = 0, taken = 0, running = 4;
    std::vector<std::thread> threads;
    for (int sender = 0; sender < 4; ++sender)
        threads.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) accepted += queue.push_back(0, "event");
            --running;
        });
    for (int taker = 0; taker < 2; ++taker)
        threads.emplace_back([&] {
            std::int32_t type = 0;
            std::string text;
            while (running > 0 || queue.size() > 0) taken += queue.pop_front(type, text, 1ms);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_GT(taken, 0);
    EXPECT_EQ(taken, accepted);
}
