#include "face/HX_TypedTS.h"

#include "aspn2_msgs/CommandResponsePubSubTypes.h"
#include "face/HX_TSS_Listeners.h"
#include "tests/face/NineTypes.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/Transport.h"
#include "tests/support/Weeks.h"

#include <fastrtps/publisher/Publisher.h>
#include <fastrtps/subscriber/Subscriber.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;
using FACE::TSS::Details::HX_TypedTS;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

TransportConfig threeConnections()
{
    return TransportConfig()
        .connect("Times", "UTCTime")
        .connect("Commands", "CommandResponse")
        .connect("Events", "EventLog");
}

template <class T>
RETURN_CODE_TYPE::Value send(HX_TypedTS<T>& front, long long id, const T& message)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    long long transaction = 5;
    front.Send_Message(id, -1, transaction, message, code);
    EXPECT_EQ(transaction, 5);
    return code;
}

template <class T>
RETURN_CODE_TYPE::Value registerSender(HX_TypedTS<T>& front, long long id)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front.Register_Sender(id, code);
    return code;
}

template <class T>
RETURN_CODE_TYPE::Value registerCallback(HX_TypedTS<T>& front, long long id,
                                         const FACE::TSS::Read_Callback<T>& callback)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front.Register_Callback(id, callback, code);
    return code;
}

UTCTime week(int number)
{
    UTCTime time;
    time.gps_week(number);
    return time;
}

/// A transport whose first three connections have the ids 0, 1, 2.
class HX_TypedTSTest : public ::testing::Test {
protected:
    void start(const TransportConfig& config = threeConnections())
    {
        inboxes = std::make_unique<Inboxes>();
        transport = std::make_unique<Transport>(config, "unit");
        for (const char* const name : {"Times", "Commands", "Events"}) transport->connect(name);
        times = transport->typed<UTCTime>();
        commands = transport->typed<CommandResponse>();
    }
    void TearDown() override
    {
        times.reset();
        commands.reset();
        transport.reset();  // before what its callbacks write to
    }

    struct Inboxes {
        Inbox<UTCTime> first;
        Inbox<UTCTime> second;
        Inbox<CommandResponse> commands;
    };
    std::unique_ptr<Inboxes> inboxes;
    std::unique_ptr<Transport> transport;
    std::shared_ptr<HX_TypedTS<UTCTime>> times;
    std::shared_ptr<HX_TypedTS<CommandResponse>> commands;
};

class NoTransport : public FACE::TSS::Base {
    void Initialize(const FACE::String&, RETURN_CODE_TYPE::Value&) override {}
    void Create_Connection(const FACE::String&, long long, long long&, int&, RETURN_CODE_TYPE::Value&) override {}
    void Destroy_Connection(long long, RETURN_CODE_TYPE::Value&) override {}
    void Unregister_Sender(long long, RETURN_CODE_TYPE::Value&) override {}
    void Unregister_Callback(long long, RETURN_CODE_TYPE::Value&) override {}
};

}  // namespace

TEST_F(HX_TypedTSTest, OneTransportOfTheRightKindIsTaken)
{
    HX_TypedTS<UTCTime> front;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    front.Set_Reference("", nullptr, 0, code);
    EXPECT_EQ(code, 3);
    front.Set_Reference("", std::make_shared<NoTransport>(), 0, code);
    EXPECT_EQ(code, 3);
    const auto tss = std::make_shared<FACE::TSS::HX_TSS>("unit");
    front.Set_Reference("", tss, 0, code);
    EXPECT_EQ(code, 0);
    front.Set_Reference("", tss, 0, code);
    EXPECT_EQ(code, 2);
    front.Set_Reference("", nullptr, 0, code);
    EXPECT_EQ(code, 2);
}

TEST_F(HX_TypedTSTest, ReceiveIsNotSupported)
{
    HX_TypedTS<UTCTime> front;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    long long transaction = 0;
    UTCTime time;
    FACE::TSS::HEADER_TYPE header;
    FACE::Sequence<FACE::TSS::QoS_Element> qos;
    start();
    for (HX_TypedTS<UTCTime>* const each : {&front, times.get()}) {
        try {
            each->Receive_Message(0, -1, transaction, time, header, qos, code);
            FAIL();
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "HX_TypedTS::Receive_Message() is not supported.");
        }
    }
}

TEST_F(HX_TypedTSTest, NothingIsAvailableWithoutATransport)
{
    HX_TypedTS<UTCTime> front;
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(registerSender(front, 0), 2);
        EXPECT_EQ(registerCallback<UTCTime>(front, 0, {}), 2);
        EXPECT_EQ(send(front, -1, week(1)), 2);
        front.Set_Reference("", std::make_shared<FACE::TSS::HX_TSS>("not initialized"), 0, code);
    }
}

TEST_F(HX_TypedTSTest, UnknownIdIsAnInvalidParameterAndSilent)
{
    start();
    const ConsoleCapture console(std::cerr);
    for (const long long id : {99LL, 3LL, -1LL, 0xFFFFFFFFLL, 0x100000000LL, -0x100000000LL}) {
        EXPECT_EQ(registerSender(*times, id), 3) << id;
        EXPECT_EQ(registerCallback<UTCTime>(*times, id, {}), 3) << id;
        EXPECT_EQ(send(*times, id, week(1)), 3) << id;
        EXPECT_THROW(times->write(id, week(1)), std::out_of_range) << id;
    }
    EXPECT_EQ(console.text(), "");
}

TEST_F(HX_TypedTSTest, SecondRegistrationIsNoActionAndTheFirstCallbackStays)
{
    start();
    EXPECT_EQ(registerSender(*times, 0), 0);
    EXPECT_EQ(registerSender(*times, 0), 1);
    EXPECT_EQ(registerCallback(*times, 0, inboxes->first.callback()), 0);
    EXPECT_EQ(registerCallback(*times, 0, inboxes->second.callback()), 1);
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    EXPECT_EQ(send(*times, 0, week(1)), 0);
    EXPECT_TRUE(inboxes->first.waitFor(1));
    EXPECT_EQ(inboxes->second.size(), 0u);
}

TEST_F(HX_TypedTSTest, SendNeedsASender)
{
    start();
    EXPECT_EQ(send(*times, 0, week(1)), 2);
    EXPECT_EQ(registerCallback(*times, 0, inboxes->first.callback()), 0);
    EXPECT_EQ(send(*times, 0, week(1)), 2);
    EXPECT_EQ(times->write(0, week(1)), 2);
}

TEST_F(HX_TypedTSTest, TimeOutsAreIgnored)
{
    start();
    registerSender(*times, 0);
    for (const long long timeout :
         {0LL, 1LL, -1LL, std::numeric_limits<long long>::max(), std::numeric_limits<long long>::min()}) {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        long long transaction = 5;
        times->Send_Message(0, timeout, transaction, week(1), code);
        EXPECT_EQ(code, 0) << timeout;
    }
}

TEST_F(HX_TypedTSTest, OwnMessagesArriveOnTheThreadOfTheSender)
{
    start();
    std::thread::id thread;
    registerSender(*times, 0);
    registerCallback<UTCTime>(*times, 0, [&](auto&&...) { thread = std::this_thread::get_id(); });
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    EXPECT_EQ(send(*times, 0, week(1)), 0);
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(HX_TypedTSTest, CodeOfACallbackBeginsAtNoErrorAndIsIgnored)
{
    start();
    std::vector<int> given;
    registerSender(*times, 0);
    registerCallback<UTCTime>(*times, 0, [&](long long, long long, const UTCTime&, auto&&, auto&&, auto& code) {
        given.push_back(code);
        code = RETURN_CODE_TYPE::INVALID_MODE;
    });
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    for (int i = 1; i <= 2; ++i) EXPECT_EQ(send(*times, 0, week(i)), 0);
    EXPECT_THAT(given, ElementsAre(0, 0));
}

TEST_F(HX_TypedTSTest, CallbackMaySendOnAnotherConnection)
{
    start();
    registerSender(*times, 0);
    registerSender(*commands, 1);
    registerCallback(*times, 0, inboxes->first.callback());
    registerCallback<CommandResponse>(*commands, 1, [&](auto&&...) { EXPECT_EQ(send(*times, 0, week(7)), 0); });
    for (const long long id : {0, 1}) {
        ASSERT_TRUE(transport->waitForSubscribers(id));
        ASSERT_TRUE(transport->waitForPublishers(id));
    }
    EXPECT_EQ(send(*commands, 1, CommandResponse()), 0);
    ASSERT_TRUE(inboxes->first.waitFor(1));
    EXPECT_THAT(weeksOf(inboxes->first), ElementsAre(7));
}

TEST_F(HX_TypedTSTest, CallbackIsToldWhereTheMessageComesFrom)
{
    start();
    registerSender(*times, 0);
    registerCallback(*times, 0, inboxes->first.callback());
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    const auto now = [] {
        return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
    };
    const auto before = now();
    send(*times, 0, week(1));
    send(*times, 0, week(2));
    const auto after = now();
    ASSERT_TRUE(inboxes->first.waitFor(2));
    const auto items = inboxes->first.items();
    auto& connection = (*transport)->connectionMap_mutex_at(0);
    EXPECT_EQ(items[1].connection, 0);
    EXPECT_EQ(items[0].transaction, 1);
    EXPECT_EQ(items[1].transaction, 2);
    EXPECT_EQ(items[1].header.source_uid, FACE::TSS::Listeners::GuidToUid(connection.publisher->getGuid()));
    EXPECT_EQ(items[1].header.subscriber_uid, FACE::TSS::Listeners::GuidToUid(connection.subscriber->getGuid()));
    EXPECT_NE(items[1].header.source_uid, items[1].header.subscriber_uid);
    EXPECT_GE(items[1].header.source_timestamp_ns, before - 1);  // whole nanoseconds only about
    EXPECT_LE(items[1].header.source_timestamp_ns, after + 1);
}

TEST_F(HX_TypedTSTest, CallbackIsToldTheQualityOfService)
{
    for (const bool backFill : {false, true}) {
        start(threeConnections()
                  .set("BackFillHistory", backFill ? "true" : "false")
                  .set("UseBestEffort", backFill ? "true" : "false"));
        registerSender(*times, 0);
        registerCallback(*times, 0, inboxes->first.callback());
        ASSERT_TRUE(transport->waitForSubscribers(0));
        ASSERT_TRUE(transport->waitForPublishers(0));
        for (int i = 1; i <= 3; ++i) send(*times, 0, week(i));
        ASSERT_TRUE(inboxes->first.waitFor(3));
        const auto isWhole = ElementsAre(
            Pair("DurabilityQosPolicy", backFill ? "TRANSIENT_LOCAL_DURABILITY_QOS" : "VOLATILE_DURABILITY_QOS"),
            Pair("LivelinessQosPolicy", "AUTOMATIC_LIVELINESS_QOS"),
            Pair("ReliabilityQosPolicy", backFill ? "BEST_EFFORT_RELIABILITY_QOS" : "RELIABLE_RELIABILITY_QOS"));
        for (const auto& item : inboxes->first.items()) EXPECT_THAT(item.qos, isWhole) << item.transaction;
        TearDown();
    }
}

TEST_F(HX_TypedTSTest, LateSubscriberOfThisProcessIsFilledFromTheHistory)
{
    start(threeConnections().set("BackFillHistory", "true").set("HistoryDepth", "3"));
    registerSender(*times, 0);
    for (int i = 1; i <= 10; ++i) send(*times, 0, week(i));
    registerCallback(*times, 0, inboxes->first.callback());
    ASSERT_TRUE(inboxes->first.waitFor(3));
    send(*times, 0, week(11));
    ASSERT_TRUE(inboxes->first.waitFor(4));
    EXPECT_THAT(weeksOf(inboxes->first), ElementsAre(8, 9, 10, 11));
}

TEST_F(HX_TypedTSTest, EndpointsMayBeRegisteredAgain)
{
    start();
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    registerSender(*times, 0);
    registerCallback(*times, 0, inboxes->first.callback());
    (*transport)->Unregister_Sender(0, code);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(send(*times, 0, week(1)), 2);
    EXPECT_TRUE((*transport)->connectionMap_mutex_at(0).isSubscriber());
    (*transport)->Unregister_Callback(0, code);
    EXPECT_EQ(code, 0);
    EXPECT_FALSE((*transport)->connectionMap_mutex_at(0).isSubscriber());
    EXPECT_EQ(registerSender(*times, 0), 0);
    EXPECT_EQ(registerCallback(*times, 0, inboxes->second.callback()), 0);
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    EXPECT_EQ(send(*times, 0, week(2)), 0);
    EXPECT_TRUE(inboxes->second.waitFor(1));
    EXPECT_EQ(inboxes->first.size(), 0u);
}

TEST_F(HX_TypedTSTest, WhatACallbackHoldsIsGoneWhenItIsUnregistered)
{
    start();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = held;
    EXPECT_EQ(registerCallback<UTCTime>(*times, 0, [held](auto&&...) {}), 0);
    held.reset();
    EXPECT_FALSE(watched.expired());
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    (*transport)->Unregister_Callback(0, code);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(watched.expired());
}

TEST_F(HX_TypedTSTest, OneFrontServesConnectionsOfItsType)
{
    start(threeConnections().connect("Responses", "CommandResponse"));
    Inbox<CommandResponse> responses;
    ASSERT_EQ(transport->connect("Responses"), 3);
    for (const long long id : {1, 3}) EXPECT_EQ(registerSender(*commands, id), 0);
    registerCallback(*commands, 1, inboxes->commands.callback());
    registerCallback(*commands, 3, responses.callback());
    for (const long long id : {1, 3}) {
        ASSERT_TRUE(transport->waitForSubscribers(id));
        ASSERT_TRUE(transport->waitForPublishers(id));
    }
    CommandResponse message;
    message.command_response("for one of them");
    EXPECT_EQ(send(*commands, 3, message), 0);
    ASSERT_TRUE(responses.waitFor(1));
    EXPECT_EQ(responses.items()[0].connection, 3);
    EXPECT_EQ(responses.items()[0].message.command_response(), "for one of them");
    EXPECT_EQ(inboxes->commands.size(), 0u);
    TearDown();
}

TEST_F(HX_TypedTSTest, MessageThatTheLibraryRefusesIsDataOverflow)
{
    struct Refusing : CommandResponsePubSubType {
        bool serialize(void*, SerializedPayload_t*) override { return false; }
    };
    const Transport refusing(threeConnections(), "refusing",
                             [](const std::string&) -> FACE::TSS::HX_TSS::TopicDataType* { return new Refusing(); });
    refusing.connect("Commands");
    const auto front = refusing.typed<CommandResponse>();
    EXPECT_EQ(registerSender(*front, 0), 0);
    EXPECT_EQ(send(*front, 0, CommandResponse()), 13);
    EXPECT_EQ(front->write(0, CommandResponse()), 13);
}

TEST_F(HX_TypedTSTest, TextBeyondTheLargestSizeArrivesWhole)
{
    start();
    registerSender(*commands, 1);
    registerCallback(*commands, 1, inboxes->commands.callback());
    ASSERT_TRUE(transport->waitForSubscribers(1));
    ASSERT_TRUE(transport->waitForPublishers(1));
    CommandResponse message;
    message.command_response(std::string(300, 'x'));
    EXPECT_EQ(send(*commands, 1, message), 0);
    ASSERT_TRUE(inboxes->commands.waitFor(1));
    EXPECT_EQ(inboxes->commands.items()[0].message.command_response(), std::string(300, 'x'));
}

TEST_F(HX_TypedTSTest, FrontOfAnotherTypeIsRefused)
{
    start();
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(*times, 1), 11);
    EXPECT_EQ(registerCallback(*times, 1, inboxes->first.callback()), 11);
    EXPECT_FALSE((*transport)->connectionMap_mutex_at(1).isPublisher());
    EXPECT_FALSE((*transport)->connectionMap_mutex_at(1).isSubscriber());
    EXPECT_EQ(registerSender(*commands, 1), 0);
    EXPECT_EQ(send(*times, 1, week(1)), 11);
    EXPECT_THROW(times->write(1, week(1)), std::runtime_error);
    EXPECT_EQ(console.flushed(), "Participant unit error creating publisher for topic: Commands\n"
                                 "Participant unit error creating subscriber for topic: Commands\n"
                                 "Participant unit error creating publisher for topic: Commands\n");
}

TEST_F(HX_TypedTSTest, FrontOfAnotherTypeIsRefusedAfterAGoodMessageToo)
{
    start();
    EXPECT_EQ(registerSender(*commands, 1), 0);
    EXPECT_EQ(send(*commands, 1, CommandResponse()), 0);
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(send(*times, 1, week(1)), 11);
    EXPECT_EQ(send(*commands, 1, CommandResponse()), 0);
    EXPECT_EQ(console.flushed(), "Participant unit error creating publisher for topic: Commands\n");
}

TEST_F(HX_TypedTSTest, TopicTypeThatIsNotTheTypeSupportsIsRefused)
{
    start(TransportConfig()
              .connect("Times", "aspn2_msgs::idl::CommandResponse", "UTCTimePubSubType")
              .connect("Commands", "CommandResponse")  // makes the other name known
              .connect("Events", "aspn2_msgs::idl::Unknown", "EventLogPubSubType"));
    const auto events = transport->typed<EventLog>();
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(*times, 0), 11);
    EXPECT_EQ(registerCallback(*times, 0, inboxes->first.callback()), 11);
    EXPECT_EQ(registerSender(*events, 2), 11);
    EXPECT_EQ(console.text(), "Participant unit error creating publisher for topic: Times\n"
                              "Participant unit error creating subscriber for topic: Times\n"
                              "Participant unit error creating publisher for topic: Events\n");
}

TEST_F(HX_TypedTSTest, TopicTypeIsComparedInTheCharactersThatTheLibraryKeeps)
{
    struct LongNamed : CommandResponsePubSubType {
        LongNamed() { setName(std::string(255, 'n').c_str()); }
    };
    const Transport longNamed(TransportConfig()
                                  .connect("Longer", std::string(300, 'n'), "any")
                                  .connect("Other", std::string(254, 'n'), "any"),
                              "unit",
                              [](const std::string&) -> FACE::TSS::HX_TSS::TopicDataType* { return new LongNamed(); });
    for (const char* const name : {"Longer", "Other"}) longNamed.connect(name);
    const auto front = longNamed.typed<CommandResponse>();
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(*front, 0), 0);
    EXPECT_EQ(registerCallback<CommandResponse>(*front, 0, [](auto&&...) {}), 0);
    EXPECT_EQ(registerSender(*front, 1), 11);
    EXPECT_EQ(console.text(), "Participant unit error creating publisher for topic: Other\n");
}

TEST_F(HX_TypedTSTest, DepthWithoutRoomIsRefused)
{
    for (const char* const depth : {"0", "-1"}) {
        start(threeConnections().set("HistoryDepth", depth));
        const ConsoleCapture console(std::cerr);
        EXPECT_EQ(registerSender(*times, 0), 11);
        EXPECT_EQ(registerCallback(*times, 0, inboxes->first.callback()), 11);
        EXPECT_EQ(console.text(), "Participant unit invalid publisher QOS for topic: Times; see error log\n"
                                  "Participant unit invalid subscriber QOS for topic: Times; see error log\n");
        TearDown();
    }
}

TEST_F(HX_TypedTSTest, DepthIsRefusedBeforeTheTypesName)
{
    start(threeConnections()
              .set("HistoryDepth", "0")
              .connect("Misnamed", "aspn2_msgs::idl::Unknown", "UTCTimePubSubType"));
    ASSERT_EQ(transport->connect("Misnamed"), 3);
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(*times, 3), 11);
    EXPECT_EQ(registerCallback(*times, 3, inboxes->first.callback()), 11);
    EXPECT_EQ(console.text(), "Participant unit invalid publisher QOS for topic: Misnamed; see error log\n"
                              "Participant unit invalid subscriber QOS for topic: Misnamed; see error log\n");
}

TEST_F(HX_TypedTSTest, WhatACallbackThrowsComesOutOfTheWrite)
{
    start();
    registerSender(*times, 0);
    registerCallback<UTCTime>(*times, 0, {});
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(send(*times, 0, week(1)), 11);
    EXPECT_EQ(console.flushed(), "bad_function_call\n");
    EXPECT_THROW(times->write(0, week(2)), std::bad_function_call);
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
    (*transport)->Unregister_Sender(0, code);  // no write is left counted
    EXPECT_EQ(code, 0);
}

TEST_F(HX_TypedTSTest, ExceptionOfACallbackInThisProcessIsTheSendersResult)
{
    start();
    registerSender(*times, 0);
    registerCallback<UTCTime>(*times, 0, [](auto&&...) { throw std::runtime_error("thrown by the callback"); });
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(send(*times, 0, week(1)), 11);
    EXPECT_EQ(send(*times, 0, week(2)), 11);
    EXPECT_EQ(console.flushed(), "thrown by the callback\nthrown by the callback\n");
}

TEST_F(HX_TypedTSTest, ThrownThingOfNoKnownKindIsNoAction)
{
    start();
    registerSender(*times, 0);
    registerCallback<UTCTime>(*times, 0, [](auto&&...) { throw 1; });
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(transport->waitForPublishers(0));
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(send(*times, 0, week(1)), 1);
    EXPECT_EQ(console.text(), "");
}

TEST_F(HX_TypedTSTest, EqualEndpointsOfTwoParticipantsHaveEqualUids)
{
    start();
    const Transport other(threeConnections(), "other");
    other.connect("Times");
    const auto otherTimes = other.typed<UTCTime>();
    registerSender(*times, 0);
    registerSender(*otherTimes, 0);
    registerCallback(*times, 0, inboxes->first.callback());
    ASSERT_TRUE(transport->waitForPublishers(0, 2));
    ASSERT_TRUE(transport->waitForSubscribers(0));
    ASSERT_TRUE(other.waitForSubscribers(0));
    EXPECT_EQ(send(*times, 0, week(1)), 0);
    EXPECT_EQ(send(*otherTimes, 0, week(2)), 0);
    ASSERT_TRUE(inboxes->first.waitFor(2));
    const auto items = inboxes->first.items();
    EXPECT_EQ(items[0].header.source_uid, items[1].header.source_uid);
}

TEST_F(HX_TypedTSTest, DestructorOfTheTransportEndsCallbacks)
{
    start();
    const Transport other(threeConnections(), "other");
    other.connect("Times");
    const auto otherTimes = other.typed<UTCTime>();
    registerSender(*otherTimes, 0);
    registerCallback(*times, 0, inboxes->first.callback());
    ASSERT_TRUE(transport->waitForPublishers(0));
    ASSERT_TRUE(other.waitForSubscribers(0));
    std::atomic<int> sent = 0;
    std::jthread sender([&](const std::stop_token& stop) {
        for (; !stop.stop_requested(); ++sent) otherTimes->write(0, week(1));
    });
    ASSERT_TRUE(inboxes->first.waitFor(10));
    TearDown();
    const auto received = inboxes->first.size();
    const int sentBefore = sent;
    EXPECT_TRUE(eventually([&] { return sent >= sentBefore + 10; }));
    EXPECT_EQ(inboxes->first.size(), received);
}
