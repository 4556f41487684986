#include "tests/support/Desk.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <string>

using Ending = ChildProcess::Ending;
using testing::HasSubstr;
using testing::Not;

namespace {

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
