#include "aspn2_msgs/EventLog.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <optional>
#include <string>

using aspn2_msgs::idl::EventLog;
using Ending = ChildProcess::Ending;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

constexpr const char* kBanner = "OrvaneServer KPN: 345-1290-118B  " ORVANE_MAKERS_STATEMENT;
constexpr const char* kNoEventSender = "InitHealthReporter(OrvaneServer) unable to register sender.";
constexpr const char* kNoMaintenanceSender = "InitMaintReporter(OrvaneServer) unable to register sender.";
constexpr const char* kWrongClock = "FPGA clock rate mismatch";

/// A unit whose devices, or whose reports, are not as they should be.
struct DevicesSystemTest : testing::Test {
    /// Gives a topic a type that is not its type support's: it can be connected, but not be published.
    void mistype(const std::string& topic) const
    {
        desk.replace("Connections.xml", "<TopicType>aspn2_msgs::idl::" + topic + "<",
                     "<TopicType>aspn2_msgs::idl::Other<");
    }

    void breakClock() const { desk.setRegister(Desk::kClockRate, 1); }

    /// Runs the service to its end, which is an uncaught exception, and gives all that it printed.
    std::string failedRun()
    {
        desk.start();
        EXPECT_EQ(desk.service().wait(), Ending({-1, SIGABRT}));
        return desk.service().output() + desk.service().errors();
    }

    Desk desk;
};

/// A service whose events this test listens to.
struct EventsSystemTest : testing::Test {
    EventsSystemTest()
    {
        desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");
        transport.emplace("/opt/halvex/config/Connections.xml", "listener");
        events.emplace(*transport, "EventLog");
    }

    std::size_t published(const std::string& text)
    {
        const auto items = events->inbox().items();
        return static_cast<std::size_t>(
            std::ranges::count(items, text, [](const auto& item) { return item.message.eventlog(); }));
    }

    /// How often the service has said that it could not publish an information.
    std::size_t reported(const std::string& text) const
    {
        return desk.count("!!!!!! OrvaneServer HealthReporter could not publish event type/info = 2/" + text + "\n");
    }

    Desk desk;
    std::optional<Transport> transport;
    std::optional<Subscriber<EventLog>> events;
};

}  // namespace

TEST_F(DevicesSystemTest, WithoutAQueueDeviceTheServiceEnds)
{
    desk.replace("IODevices.xml", "<Port>6<", "<Port>7<");
    EXPECT_THAT(failedRun(), HasSubstr("Unable to open output pipe file: /dev/mcs7\n"));
    EXPECT_EQ(desk.count("]:INVALID_CONFIG Framework_Connect() failed\n"), 2U) << desk.service().output();
    EXPECT_EQ(desk.count("KPN:"), 0U);
}

TEST_F(DevicesSystemTest, WithoutAQueueDeviceNothingOfThePlatformIsStarted)
{
    desk.replace("IODevices.xml", "<Port>5<", "<Port>7<");
    for (const char* const topic : {"EventLog", "MaintenanceEvent"}) mistype(topic);
    EXPECT_THAT(failedRun(), Not(HasSubstr("unable to register sender")));
    breakClock();
    EXPECT_THAT(failedRun(), Not(HasSubstr(kWrongClock)));
}

TEST_F(DevicesSystemTest, EventsThatCannotBePublishedEndTheService)
{
    mistype("EventLog");
    const std::string output = failedRun();
    EXPECT_THAT(output, HasSubstr("Participant OrvaneServer error creating publisher for topic: EventLog\n"));
    EXPECT_THAT(output, HasSubstr(kNoEventSender));
    EXPECT_THAT(output, Not(HasSubstr("Framework_Connect() failed")));
    EXPECT_EQ(desk.count("KPN:"), 0U);
}

TEST_F(DevicesSystemTest, MaintenanceRecordsThatCannotBePublishedEndTheService)
{
    mistype("MaintenanceEvent");
    EXPECT_THAT(failedRun(), HasSubstr(kNoMaintenanceSender));
    EXPECT_EQ(desk.count("KPN:"), 0U);
}

TEST_F(DevicesSystemTest, RegistersComeBeforeEventsAndEventsBeforeMaintenanceRecords)
{
    mistype("EventLog");
    mistype("MaintenanceEvent");
    const std::string withClock = failedRun();
    EXPECT_THAT(withClock, HasSubstr(kNoEventSender));
    EXPECT_THAT(withClock, Not(HasSubstr(kNoMaintenanceSender)));
    breakClock();
    const std::string withoutClock = failedRun();
    EXPECT_THAT(withoutClock, HasSubstr(kWrongClock));
    EXPECT_THAT(withoutClock, Not(HasSubstr(kNoEventSender)));
}

TEST_F(DevicesSystemTest, RegistersAreLetGoBeforeTheBusIs)
{
    desk.set("Debug", "true");
    desk.run();
    const std::string maps = "/proc/" + std::to_string(desk.service().id()) + "/maps";
    Bus bus;
    auto answer = std::async(std::launch::async, [&] { return bus.request({{"request", "clear-data"}}); });
    EXPECT_TRUE(desk.awaitOutput("CALLBACK RECIEVED --- \n"));  // which the end of the bus is to wait for
    EXPECT_THAT(readFile(maps), HasSubstr("/dev/mem"));
    desk.service().send(SIGTERM);
    EXPECT_TRUE(eventually([&] { return readFile(maps).find("/dev/mem") == std::string::npos; }));
    EXPECT_EQ(desk.count("VapntsService exited"), 0U);
    answer.wait();
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    EXPECT_GE(desk.count("VapntsService exited"), 1U);
}

TEST_F(EventsSystemTest, BannerIsSentAsItIsPrinted)
{
    desk.run();
    EXPECT_TRUE(desk.awaitOutput(std::string(kBanner) + "\n"));
    EXPECT_EQ(desk.count(std::string(kBanner) + "\n"), 1U) << desk.service().output();
    ASSERT_TRUE(events->inbox().waitFor(2));
    EXPECT_EQ(events->inbox().items()[1].message.eventlog(), kBanner);
}

TEST_F(EventsSystemTest, IdentityLineEndsInTheTimeOfTheBuildAndIsOnlySent)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(1));
    EXPECT_THAT(events->inbox().items()[0].message.eventlog(),
                MatchesRegex("//aspn://Sarvent/OrvaneServer:[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z/"));
    EXPECT_EQ(desk.count("aspn://"), 0U);
}

// The publisher takes up the first of them while the topics are being ended: it may be lost on the way.
TEST_F(EventsSystemTest, LastEventsComeOnceAtTheMostAndTheVeryLastIsReported)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(3));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    const std::string stopped = "OrvaneServer stopped successfully.";
    const std::string exited = "OrvaneServer : VapntsService exited";
    EXPECT_LE(published(stopped) + reported(stopped), 1U);
    EXPECT_EQ(published(exited), 0U);
    EXPECT_EQ(reported(exited), 1U);
}
