#include "face/HX_TSS_Listeners.h"
#include "tests/face/NineTypes.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;

namespace {

struct Codes {
    std::atomic<int> sent = 0;
    std::atomic<int> unavailable = 0;
    std::atomic<int> other = 0;

    void count(RETURN_CODE_TYPE::Value code)
    {
        (code == RETURN_CODE_TYPE::NO_ERROR ? sent : code == RETURN_CODE_TYPE::NOT_AVAILABLE ? unavailable : other)++;
    }
};

/// Threads that send on all connections until they are stopped.
class Senders {
public:
    Senders(const Transport& transport, int threads, const std::vector<long long>& ids)
    {
        for (int i = 0; i < threads; ++i)
            m_threads.emplace_back([this, front = transport.typed<UTCTime>(), ids] {
                while (!m_isStopped) {
                    for (const long long id : ids) {
                        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
                        long long transaction = 0;
                        front->Send_Message(id, -1, transaction, UTCTime(), code);
                        m_codes.count(code);
                    }
                }
            });
    }
    ~Senders()
    {
        m_isStopped = true;
        for (std::thread& thread : m_threads) thread.join();
    }
    Senders(const Senders&) = delete;
    Senders& operator=(const Senders&) = delete;

    const Codes& codes() const { return m_codes; }

private:
    std::atomic<bool> m_isStopped = false;
    Codes m_codes;
    std::vector<std::thread> m_threads;
};

/// A callback that runs once, from when it is entered until it is released.
class HeldCallback {
public:
    void run()
    {
        m_entered.set_value();
        m_release.get_future().wait();
        m_hasEnded = true;
    }
    void waitUntilEntered() { m_entered.get_future().wait(); }
    void release() { m_release.set_value(); }
    bool hasEnded() const { return m_hasEnded; }

private:
    std::promise<void> m_entered;
    std::promise<void> m_release;
    std::atomic<bool> m_hasEnded = false;
};

/// Whether the connection's slot for a publisher is empty. One of another type asks without entering the library.
bool refusesNewWrites(FACE::TSS::Details::HX_TypedTS<EventLog>& otherFront, long long id)
{
    try {
        return otherFront.write(id, EventLog()) == RETURN_CODE_TYPE::NOT_AVAILABLE;
    } catch (const std::runtime_error&) {
        return false;
    }
}

}  // namespace

TEST(TransportThreadsTest, SendersOutliveTheirPublishers)
{
    const HardDeadline deadline;
    std::atomic<int> received = 0;
    const Transport transport(TransportConfig().connect("Times", "UTCTime"));
    const auto front = transport.typed<UTCTime>();
    const long long id = transport.connect("Times");
    const Senders senders(transport, 3, {id});
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    for (int i = 0; i < 30; ++i) {
        const int before = senders.codes().sent;
        front->Register_Callback(
            id, [&](auto&&...) { ++received; }, code);
        ASSERT_EQ(code, 0);
        front->Register_Sender(id, code);
        ASSERT_EQ(code, 0);
        ASSERT_TRUE(eventually([&] { return senders.codes().sent > before; }));
        transport->Unregister_Callback(id, code);
        ASSERT_EQ(code, 0);
        const int receivedBefore = received;
        transport->Unregister_Sender(id, code);
        ASSERT_EQ(code, 0);
        ASSERT_EQ(received, receivedBefore);
    }
    EXPECT_TRUE(eventually([&] { return senders.codes().unavailable > 0; }));
    EXPECT_EQ(senders.codes().other, 0);
}

TEST(TransportThreadsTest, ConnectionsAreMadeWhileOthersSend)
{
    const HardDeadline deadline;
    TransportConfig config;
    for (int i = 0; i < 20; ++i) config.connect("Times" + std::to_string(i), "UTCTime");
    const Transport transport(config);
    const auto front = transport.typed<UTCTime>();
    const long long first = transport.connect("Times0");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(first, code);
    const Senders senders(transport, 2, {first});
    for (int i = 1; i < 20; ++i) {
        const int before = senders.codes().sent;
        EXPECT_EQ(transport.connect("Times" + std::to_string(i)), i);
        front->Register_Sender(i, code);
        EXPECT_EQ(code, 0);
        ASSERT_TRUE(eventually([&] { return senders.codes().sent > before; }));
    }
    EXPECT_EQ(senders.codes().unavailable + senders.codes().other, 0);
}

TEST(TransportThreadsTest, UnregisterWaitsForTheWriteThatIsUnderWay)
{
    const HardDeadline deadline;
    HeldCallback held;
    const Transport transport(TransportConfig().connect("Times", "UTCTime"));
    const auto front = transport.typed<UTCTime>();
    const long long id = transport.connect("Times");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front->Register_Sender(id, code);
    front->Register_Callback(
        id, [&](auto&&...) { held.run(); }, code);
    ASSERT_TRUE(transport.waitForSubscribers(id));
    ASSERT_TRUE(transport.waitForPublishers(id));
    std::thread sender([&] { EXPECT_EQ(front->write(id, UTCTime()), 0); });
    held.waitUntilEntered();
    std::thread remover([&] {
        RETURN_CODE_TYPE::Value removed = RETURN_CODE_TYPE::TIMED_OUT;
        transport->Unregister_Sender(id, removed);
        EXPECT_EQ(removed, 0);
        EXPECT_TRUE(held.hasEnded());
    });
    const auto other = transport.typed<EventLog>();
    EXPECT_TRUE(eventually([&] { return refusesNewWrites(*other, id); }));
    EXPECT_FALSE(held.hasEnded());
    held.release();
    sender.join();
    remover.join();
}

TEST(TransportThreadsTest, TransportsComeAndGo)
{
    const HardDeadline deadline;
    const auto config = TransportConfig().connect("Times", "UTCTime").connect("Events", "EventLog");
    for (int i = 0; i < 5; ++i) {
        Inbox<UTCTime> inbox;
        const Transport there(config, "there");
        const Transport here(config, "here");
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        there.typed<UTCTime>()->Register_Sender(there.connect("Times"), code);
        here.typed<UTCTime>()->Register_Callback(here.connect("Times"), inbox.callback(), code);
        ASSERT_TRUE(here.waitForPublishers(0));
        ASSERT_TRUE(there.waitForSubscribers(0));
        const Senders senders(there, 2, {0});
        ASSERT_TRUE(inbox.waitFor(10));
    }
}

TEST(TransportThreadsTest, CommandAndResponseAnswerEachOther)
{
    const HardDeadline deadline;
    std::atomic<int> responses = 0;
    const Transport transport(
        TransportConfig().connect("Command", "CommandResponse").connect("Response", "CommandResponse"));
    const auto front = transport.typed<CommandResponse>();
    const long long command = transport.connect("Command");
    const long long response = transport.connect("Response");
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    for (const long long id : {command, response}) front->Register_Sender(id, code);
    front->Register_Callback(
        command, [&](auto&&...) { front->write(response, CommandResponse()); }, code);
    front->Register_Callback(
        response, [&](auto&&...) { ++responses; }, code);
    for (const long long id : {command, response}) {
        ASSERT_TRUE(transport.waitForSubscribers(id));
        ASSERT_TRUE(transport.waitForPublishers(id));
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 100; ++n) EXPECT_EQ(front->write(command, CommandResponse()), 0);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(eventually([&] { return responses == 300; }));
    for (const long long id : {command, response}) transport->Unregister_Callback(id, code);
}
