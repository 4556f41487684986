#include "aspn2_msgs/UTCTime.h"
#include "face/HX_Config.h"
#include "face/HX_TSS.h"
#include "face/HX_TSS_Listeners.h"
#include "face/HX_TypedTS.h"
#include "tests/support/CodeOf.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <fastrtps/Domain.h>

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>

using aspn2_msgs::idl::UTCTime;
using FACE::RETURN_CODE_TYPE;
using FACE::TSS::HX_TSS;
using namespace eprosima::fastrtps;

namespace {

/// What a call into the library does before it is passed on: nothing, but where a test has it throw.
struct Library {
    std::function<void()> onCreateParticipant = [] {};
    std::function<void()> onRegisteredType = [] {};
    std::function<void()> onUnregisterType = [] {};
    std::function<void()> onCreateEndpoint = [] {};
    std::function<void()> onRemoveEndpoint = [] {};
    bool refusesEndpoints = false;
    Participant* participant = nullptr;  // the one that was made last
};

Library theLibrary;

}  // namespace

// The library's functions by the names that the linker knows.
#define REPLACED(name) __wrap__ZN8eprosima8fastrtps6Domain##name
#define ORIGINAL(name) __real__ZN8eprosima8fastrtps6Domain##name
#define CREATE_PARTICIPANT(form) form(17createParticipantERKNS0_21ParticipantAttributesEPNS0_19ParticipantListenerE)
#define REGISTER_TYPE(form) form(12registerTypeEPNS0_11ParticipantEPNS_7fastdds3dds13TopicDataTypeE)
#define UNREGISTER_TYPE(form) form(14unregisterTypeEPNS0_11ParticipantEPKc)
#define CREATE_PUBLISHER(form)                                                                                         \
    form(15createPublisherEPNS0_11ParticipantERKNS0_19PublisherAttributesEPNS0_17PublisherListenerE)
#define CREATE_SUBSCRIBER(form)                                                                                        \
    form(16createSubscriberEPNS0_11ParticipantERKNS0_20SubscriberAttributesEPNS0_18SubscriberListenerE)
#define REMOVE_PUBLISHER(form) form(15removePublisherEPNS0_9PublisherE)
#define REMOVE_SUBSCRIBER(form) form(16removeSubscriberEPNS0_10SubscriberE)

extern "C" {

Participant* CREATE_PARTICIPANT(ORIGINAL)(const ParticipantAttributes& attributes, ParticipantListener* listener);
Participant* CREATE_PARTICIPANT(REPLACED)(const ParticipantAttributes& attributes, ParticipantListener* listener)
{
    theLibrary.onCreateParticipant();
    return theLibrary.participant = CREATE_PARTICIPANT(ORIGINAL)(attributes, listener);
}

bool REGISTER_TYPE(ORIGINAL)(Participant* participant, HX_TSS::TopicDataType* type);
bool REGISTER_TYPE(REPLACED)(Participant* participant, HX_TSS::TopicDataType* type)
{
    const bool isRegistered = REGISTER_TYPE(ORIGINAL)(participant, type);
    theLibrary.onRegisteredType();
    return isRegistered;
}

bool UNREGISTER_TYPE(ORIGINAL)(Participant* participant, const char* name);
bool UNREGISTER_TYPE(REPLACED)(Participant* participant, const char* name)
{
    theLibrary.onUnregisterType();
    return UNREGISTER_TYPE(ORIGINAL)(participant, name);
}

Publisher* CREATE_PUBLISHER(ORIGINAL)(Participant* participant, const PublisherAttributes& attributes,
                                      PublisherListener* listener);
Publisher* CREATE_PUBLISHER(REPLACED)(Participant* participant, const PublisherAttributes& attributes,
                                      PublisherListener* listener)
{
    theLibrary.onCreateEndpoint();
    if (theLibrary.refusesEndpoints) return nullptr;
    return CREATE_PUBLISHER(ORIGINAL)(participant, attributes, listener);
}

Subscriber* CREATE_SUBSCRIBER(ORIGINAL)(Participant* participant, const SubscriberAttributes& attributes,
                                        SubscriberListener* listener);
Subscriber* CREATE_SUBSCRIBER(REPLACED)(Participant* participant, const SubscriberAttributes& attributes,
                                        SubscriberListener* listener)
{
    theLibrary.onCreateEndpoint();
    if (theLibrary.refusesEndpoints) return nullptr;
    return CREATE_SUBSCRIBER(ORIGINAL)(participant, attributes, listener);
}

bool REMOVE_PUBLISHER(ORIGINAL)(Publisher* publisher);
bool REMOVE_PUBLISHER(REPLACED)(Publisher* publisher)
{
    theLibrary.onRemoveEndpoint();
    return REMOVE_PUBLISHER(ORIGINAL)(publisher);
}

bool REMOVE_SUBSCRIBER(ORIGINAL)(Subscriber* subscriber);
bool REMOVE_SUBSCRIBER(REPLACED)(Subscriber* subscriber)
{
    theLibrary.onRemoveEndpoint();
    return REMOVE_SUBSCRIBER(ORIGINAL)(subscriber);
}
}

namespace {

void throwNumber()
{
    throw 5;
}

void throwError()
{
    throw std::runtime_error("broken");
}

/// A library that works, but for what a test does to it.
struct TransportFaultsTest : testing::Test {
    TransportFaultsTest() { theLibrary = Library(); }
    ~TransportFaultsTest() override { theLibrary = Library(); }

    const TransportConfig file = TransportConfig().connect("Times", "UTCTime");
};

/// With "Times" as connection 0.
struct ConnectedTransportFaultsTest : TransportFaultsTest {
    ConnectedTransportFaultsTest() { transport.connect("Times"); }

    RETURN_CODE_TYPE::Value registerSender() const
    {
        return codeOf([&](auto& code) { times->Register_Sender(0, code); });
    }
    RETURN_CODE_TYPE::Value registerCallback() const
    {
        return codeOf([&](auto& code) {
            times->Register_Callback(
                0, [](auto&&...) {}, code);
        });
    }
    RETURN_CODE_TYPE::Value unregisterSender() const
    {
        return codeOf([&](auto& code) { transport->Unregister_Sender(0, code); });
    }
    RETURN_CODE_TYPE::Value unregisterCallback() const
    {
        return codeOf([&](auto& code) { transport->Unregister_Callback(0, code); });
    }

    const Transport transport{file};
    const std::shared_ptr<FACE::TSS::Details::HX_TypedTS<UTCTime>> times = transport.typed<UTCTime>();
};

}  // namespace

TEST_F(TransportFaultsTest, ErrorWhileTheParticipantIsMadeIsToldAndIsABadConfiguration)
{
    const TemporaryDirectory directory;
    const std::string path = directory.write("connections.xml", file.text());
    HX_TSS tss("unit");
    codeOf([&](auto& code) { tss.Set_Reference("", std::make_shared<FACE::HX_Config>(), 0, code); });
    theLibrary.onCreateParticipant = throwError;
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(codeOf([&](auto& code) { tss.Initialize(path.c_str(), code); }), 4);
    EXPECT_EQ(console.text(), "broken\n");
    EXPECT_FALSE(tss.isInitialized());
}

TEST_F(TransportFaultsTest, AnythingElseThrownThenPassesThroughAndTheContainerIsClosed)
{
    struct : FACE::HX_Config {
        void Close(int handle, RETURN_CODE_TYPE::Value& code) override
        {
            HX_Config::Close(handle, code);
            if (code == RETURN_CODE_TYPE::NO_ERROR) ++closed;
        }
        int closed = 0;
    } config;
    const TemporaryDirectory directory;
    const std::string path = directory.write("connections.xml", file.text());
    HX_TSS tss("unit");
    codeOf([&](auto& code) {
        tss.Set_Reference("", std::shared_ptr<FACE::Configuration>(std::shared_ptr<void>(), &config), 0, code);
    });
    theLibrary.onCreateParticipant = throwNumber;
    const ConsoleCapture console(std::cerr);
    EXPECT_THROW(codeOf([&](auto& code) { tss.Initialize(path.c_str(), code); }), int);
    EXPECT_EQ(config.closed, 1);
    EXPECT_EQ(console.text(), "");
}

TEST_F(TransportFaultsTest, TypeIsNotLeftRegisteredWithoutAConnection)
{
    const Transport transport(file);
    std::optional<FailingAllocation> memory;
    theLibrary.onRegisteredType = [&] { memory.emplace(); };  // the connection finds no room
    bool isUnregistered = false;
    theLibrary.onUnregisterType = [&] {
        memory.reset();
        isUnregistered = true;
    };
    EXPECT_THROW(transport.connect("Times"), std::bad_alloc);
    memory.reset();
    ASSERT_TRUE(isUnregistered);  // else the library has a type that is gone
    HX_TSS::TopicDataType* type = nullptr;
    EXPECT_FALSE(Domain::getRegisteredType(theLibrary.participant, "aspn2_msgs::idl::UTCTime", &type));
    theLibrary = Library();
    EXPECT_EQ(transport.connect("Times"), 0);
}

TEST_F(TransportFaultsTest, SecondConnectionOfATypeThatFindsNoMemoryLeavesTheTypeRegistered)
{
    const Transport transport(
        TransportConfig().connect("Commands", "CommandResponse").connect("Responses", "CommandResponse"));
    ASSERT_EQ(transport.connect("Commands"), 0);
    bool isUnregistered = false;
    theLibrary.onUnregisterType = [&] { isUnregistered = true; };
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    const FACE::String name("Responses");
    long long id = -1;
    std::size_t granted = 0;
    for (; id < 0; ++granted) {
        int size = 0;
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::TIMED_OUT;
        try {
            const FailingAllocation memory(granted, 1);  // what is done about it finds memory again
            transport->Create_Connection(name, -1, id, size, code);
        } catch (const std::bad_alloc&) {
        }
        HX_TSS::TopicDataType* type = nullptr;
        ASSERT_TRUE(Domain::getRegisteredType(theLibrary.participant, "aspn2_msgs::idl::CommandResponse", &type));
        ASSERT_FALSE(isUnregistered);
    }
    EXPECT_GT(granted, 1U);
    EXPECT_EQ(id, 1);
}

TEST(SubscriberListenerFaultsTest, SettingsWithoutMemoryAreRefusedAndNeverTold)
{
    FACE::TSS::Listeners::SubscriberListenerBase listener("participant");
    const ReaderQos qos;
    int refusals = 0;
    for (std::size_t granted = 0; listener.qos().length() != 3 && granted < 100; ++granted) {
        bool isRefused = false;
        try {
            const FailingAllocation memory(granted);
            listener.setQos(qos);
        } catch (const std::bad_alloc&) {
            isRefused = true;
        }
        if (isRefused) ++refusals;
        EXPECT_EQ(listener.qos().length(), isRefused ? 0U : 3U) << granted;
    }
    EXPECT_GT(refusals, 5);
    EXPECT_STREQ(listener.qos()[2].value.buffer(), "BEST_EFFORT_RELIABILITY_QOS");
}

TEST_F(ConnectedTransportFaultsTest, ThrownThingOfNoKnownKindAtRegistrationIsNoActionAndSilent)
{
    theLibrary.onCreateEndpoint = throwNumber;
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(), 1);
    EXPECT_EQ(registerCallback(), 1);
    EXPECT_EQ(console.text(), "");
    theLibrary = Library();
    EXPECT_EQ(registerSender(), 0);
    EXPECT_EQ(registerCallback(), 0);
}

TEST_F(ConnectedTransportFaultsTest, ErrorAtRegistrationIsToldAndClosesTheConnection)
{
    theLibrary.onCreateEndpoint = throwError;
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(), 11);
    EXPECT_EQ(registerCallback(), 11);
    EXPECT_EQ(console.flushed(), "broken\nbroken\n");
}

TEST_F(ConnectedTransportFaultsTest, EndpointThatTheLibraryRefusesIsToldAndClosesTheConnection)
{
    theLibrary.refusesEndpoints = true;
    const ConsoleCapture console(std::cerr);
    EXPECT_EQ(registerSender(), 11);
    EXPECT_EQ(registerCallback(), 11);
    const std::string start = "Participant " + transport->participantName() + " error creating ";
    EXPECT_EQ(console.flushed(), start + "publisher for topic: Times\n" + start + "subscriber for topic: Times\n");
    theLibrary.refusesEndpoints = false;
    EXPECT_EQ(registerSender(), 0);
    EXPECT_EQ(registerCallback(), 0);
}

TEST_F(ConnectedTransportFaultsTest, WhateverIsThrownWhileAnEndpointIsRemovedIsNoAction)
{
    ASSERT_EQ(registerSender(), 0);
    ASSERT_EQ(registerCallback(), 0);
    for (const auto thrower : {throwNumber, throwError}) {
        theLibrary.onRemoveEndpoint = thrower;
        EXPECT_EQ(unregisterSender(), 1);
        EXPECT_EQ(unregisterCallback(), 1);
    }
    theLibrary = Library();
    EXPECT_EQ(times->write(0, UTCTime()), 0);  // still there
    EXPECT_EQ(unregisterSender(), 0);
    EXPECT_EQ(unregisterCallback(), 0);
}
