#include "VICTORY/OrvaneServer/TopicWiring.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "tests/VICTORY/OrvaneServer/ServiceTopics.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Transport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace aspn2_msgs::idl;
using FACE::RETURN_CODE_TYPE;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using Topic = TopicWiring::Topic;

namespace {

CommandResponse messageOf(const std::string& text)
{
    CommandResponse message;
    message.command_response(text);
    return message;
}

struct TopicWiringTest : testing::Test {
    TopicWiringTest()
    {
        setTopics({});
        popHealthEvents();
    }
    ~TopicWiringTest() override { wiring.disconnect(); }

    /// All topics but some are there, and one may be of another type.
    void setTopics(const std::set<std::string>& missing, const std::string& mistyped = "")
    {
        const auto config = serviceTopicsWithout(missing, mistyped);
        settings.m_connectionsFile = directory.write("connections.xml", config.text()).c_str();
    }

    int connect()
    {
        const auto count = [](std::atomic<int>& counter) { return [&counter](const auto&) { ++counter; }; };
        return wiring.connect({.bitReport = count(others),
                               .command = count(commands),
                               .response = count(responses),
                               .pva = count(others),
                               .utcTime = count(times),
                               .halvexPNT = count(others),
                               .mis = count(others),
                               .assuranceState = count(others)});
    }

    const HardDeadline deadline;
    const TemporaryDirectory directory;
    ServerSettings settings;
    std::atomic<int> commands = 0;
    std::atomic<int> responses = 0;
    std::atomic<int> times = 0;
    std::atomic<int> others = 0;
    const ConsoleCapture console{std::cout};
    TopicWiring wiring{settings};
};

/// What registering once more answers: `NO_ACTION` (1) where there is a registration.
template <class T>
RETURN_CODE_TYPE::Value listenAgain(const TopicWiring& wiring, Topic topic)
{
    auto code = RETURN_CODE_TYPE::DATA_OVERFLOW;
    const auto ignore = [](long long, long long, const T&, const auto&, const auto&, auto&) {};
    wiring.transport<T>()->Register_Callback(wiring.id(topic), ignore, code);
    return code;
}

std::vector<RETURN_CODE_TYPE::Value> listenToAllAgain(const TopicWiring& wiring)
{
    return {listenAgain<BitReport>(wiring, Topic::BitReport),
            listenAgain<CommandResponse>(wiring, Topic::Command),
            listenAgain<CommandResponse>(wiring, Topic::Response),
            listenAgain<PositionVelocityAttitude>(wiring, Topic::PositionVelocityAttitude),
            listenAgain<UTCTime>(wiring, Topic::UTCTime),
            listenAgain<HalvexPNT>(wiring, Topic::HalvexPNT),
            listenAgain<MeasurementIncorporationStatus>(wiring, Topic::MeasurementIncorporationStatus),
            listenAgain<AssuranceState>(wiring, Topic::AssuranceState)};
}

template <class T>
RETURN_CODE_TYPE::Value sendAgain(const TopicWiring& wiring, Topic topic)
{
    auto code = RETURN_CODE_TYPE::DATA_OVERFLOW;
    wiring.transport<T>()->Register_Sender(wiring.id(topic), code);
    return code;
}

/// The two of the service's own, and those that the reporters have made.
std::vector<RETURN_CODE_TYPE::Value> sendOnAllAgain(const TopicWiring& wiring)
{
    return {sendAgain<CommandResponse>(wiring, Topic::Command), sendAgain<CommandResponse>(wiring, Topic::Response),
            sendAgain<EventLog>(wiring, Topic::EventLog), sendAgain<MaintenanceEvent>(wiring, Topic::MaintenanceEvent)};
}

}  // namespace

TEST_F(TopicWiringTest, AllTenAreConnectedAndEachHasAnId)
{
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::NO_ERROR);
    std::set<long long> ids;
    for (std::size_t i = 0; i < 10; ++i) ids.insert(wiring.id(static_cast<Topic>(i)));
    EXPECT_EQ(ids.size(), 10U);
    EXPECT_FALSE(ids.contains(-1));
    EXPECT_NE(wiring.transport<EventLog>(), nullptr);
    EXPECT_NE(wiring.transport<MaintenanceEvent>(), nullptr);
    EXPECT_EQ(console.text(), "");
}

TEST_F(TopicWiringTest, CommandsAndResponsesGoOutOnTheirTopics)
{
    connect();
    EXPECT_TRUE(wiring.send(Topic::Command, messageOf("A")));
    EXPECT_TRUE(eventually([&] { return commands == 1; }));
    EXPECT_TRUE(wiring.send(Topic::Response, messageOf("B")));
    EXPECT_TRUE(eventually([&] { return responses == 1; }));
    EXPECT_EQ(commands, 1);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(TopicWiringTest, WhatArrivesReachesTheHandlerOfItsTopic)
{
    connect();
    const Transport partner(settings.m_connectionsFile.buffer(), "partner");
    const long long id = partner.connect("UTCTime");
    const auto front = partner.typed<UTCTime>();
    auto code = RETURN_CODE_TYPE::NO_ACTION;
    front->Register_Sender(id, code);
    ASSERT_TRUE(partner.waitForSubscribers(id));
    EXPECT_EQ(front->write(id, UTCTime()), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_TRUE(eventually([&] { return times == 1; }));
    EXPECT_EQ(commands + responses + others, 0);
}

TEST_F(TopicWiringTest, WithoutTransportsACommandIsAnEvent)
{
    EXPECT_FALSE(wiring.send(Topic::Command, messageOf("A")));
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Could not publish CommandResponse for TOV = 0, A"));
}

TEST_F(TopicWiringTest, EachMissingTopicHasItsLineButForTheLast)
{
    setTopics({"Command", "EventLog", "MaintenanceEvent"});
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_THAT(console.text(),
                MatchesRegex("OrvaneServer \\([0-9]+\\) Framework_Connect: Error connecting to CommandTopic\n"
                             "OrvaneServer \\([0-9]+\\) Framework_Connect: Error connecting to EventLogTopic\n"));
    EXPECT_EQ(wiring.transport<CommandResponse>(), nullptr);
    EXPECT_NE(wiring.id(Topic::AssuranceState), -1);
    EXPECT_EQ(wiring.id(Topic::Command), -1);
}

TEST_F(TopicWiringTest, TheLastTopicAloneIsMissedInSilence)
{
    setTopics({"MaintenanceEvent"});
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(console.text(), "");
}

TEST_F(TopicWiringTest, AFileThatIsNotThereConnectsNothing)
{
    settings.m_connectionsFile = "missing.xml";
    EXPECT_NE(connect(), RETURN_CODE_TYPE::NO_ERROR);
    EXPECT_EQ(wiring.id(Topic::BitReport), -1);
}

TEST_F(TopicWiringTest, ARefusedRegistrationShowsAllTenResultsInOneLine)
{
    setTopics({}, "Command");
    EXPECT_EQ(connect(), RETURN_CODE_TYPE::INVALID_CONFIG);
    EXPECT_EQ(console.text(), "Error from Register_Callback or Register_Sender calls:\n"
                              "bit_rcv = 0cmdRsp_rcv = 11cmdRsp_rcv2 = 11rsp_rcv = 0rsp_rcv2 = 0pva_rcv = 0"
                              "utcTime_rcv = 0MIS_rcv = 0hxPNT_rcv = 0AssuranceState_rcv = 0\n");
}

TEST_F(TopicWiringTest, OnceDisconnectedNothingIsSentAndNoHandlerIsCalled)
{
    connect();
    wiring.disconnect();
    EXPECT_FALSE(wiring.send(Topic::Command, messageOf("A")));
    EXPECT_EQ(commands, 0);
    wiring.disconnect();
    TopicWiring(settings).disconnect();
}

// What a call-back holds goes with it.
TEST_F(TopicWiringTest, CallBacksEndInTheOrderOfTheConnectionsAndAllBeforeTheSenders)
{
    std::vector<std::string> ends;
    const auto holding = [&](const std::string& name) {
        const auto note = [&, name](const int*) {
            const bool isSent = wiring.send(Topic::Response, messageOf("A"));
            ends.push_back(name + (isSent ? "" : " without a sender"));
        };
        return [held = std::shared_ptr<const int>(nullptr, note)](const auto&) {};
    };
    ASSERT_EQ(wiring.connect({.bitReport = holding("bit report"),
                              .command = holding("command"),
                              .response = holding("response"),
                              .pva = holding("position"),
                              .utcTime = holding("time"),
                              .halvexPNT = holding("halvex"),
                              .mis = holding("measurements"),
                              .assuranceState = holding("assurance")}),
              RETURN_CODE_TYPE::NO_ERROR);
    ASSERT_THAT(ends, IsEmpty());
    wiring.disconnect();
    EXPECT_THAT(ends, ElementsAre("bit report", "command", "response", "position", "time", "halvex", "measurements",
                                  "assurance"));
    EXPECT_FALSE(wiring.send(Topic::Response, messageOf("A")));
}

TEST_F(TopicWiringTest, EveryRegistrationIsEnded)
{
    ASSERT_EQ(connect(), RETURN_CODE_TYPE::NO_ERROR);
    sendOnAllAgain(wiring);
    EXPECT_THAT(listenToAllAgain(wiring), Each(RETURN_CODE_TYPE::NO_ACTION));
    EXPECT_THAT(sendOnAllAgain(wiring), Each(RETURN_CODE_TYPE::NO_ACTION));
    wiring.disconnect();
    EXPECT_THAT(listenToAllAgain(wiring), Each(RETURN_CODE_TYPE::NO_ERROR));
    EXPECT_THAT(sendOnAllAgain(wiring), Each(RETURN_CODE_TYPE::NO_ERROR));
    wiring.disconnect();
}
