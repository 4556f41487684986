#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/VICTORY/OrvaneServer/BusFiles.h"
#include "tests/VICTORY/OrvaneServer/KeyPipe.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/HardDeadline.h"

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace {

constexpr const char* kTell = "vapntsTellSystemConfiguration";

/// The bytes of a record that the library is given.
template <class Record>
std::vector<unsigned char> bytesOf(const Record& record)
{
    const auto* const first = reinterpret_cast<const unsigned char*>(&record);
    return {first, first + sizeof record};
}

struct ManagementTest : testing::Test {
    ManagementTest()
    {
        BusFiles::giveTo(victory);
        popHealthEvents();
    }

    void start(const std::vector<SensorText>& sensors = {})
    {
        directory.write("sensors.xml", fileOf(sensors));
        server.bus().start(nullptr);
    }

    std::vector<std::int32_t> outputs() const
    {
        const auto list = victory.last("vapntsTellAvailableOutputs").record<VapntcAvailableOutputs>();
        return {list.outputs, list.outputs + list.outputCount};
    }
    VapntcSystemConfiguration configuration() const { return victory.last(kTell).record<VapntcSystemConfiguration>(); }
    VapntcAvailableSensors sensors() const
    {
        return victory.last("vapntsTellAvailableSensors").record<VapntcAvailableSensors>();
    }

    const TemporaryDirectory directory;
    VictoryRecorder victory;
    ServerDoor server{(directory.path() / "sensors.xml").string()};
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(ManagementTest, FiveOutputsAreOffered)
{
    start();
    EXPECT_THAT(outputs(), ElementsAre(0, 1, 2, 3, 5));
}

TEST_F(ManagementTest, WhoAsksEarlyIsToldToWait)
{
    start();
    const auto told = configuration();
    EXPECT_STREQ(told.systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told.systemSerialNumber, "N/A");
    EXPECT_STREQ(told.systemSoftware, "");
    EXPECT_EQ(told.softwarePresent, 0U);
    EXPECT_STREQ(told.systemHardware, "");
    EXPECT_EQ(told.hardwarePresent, 0U);
    EXPECT_EQ(std::string(told.manufacturerCode, 5), "9XQ27");
    EXPECT_THAT(told.reserved1037, Each(0));
    EXPECT_EQ(told.manufacturerCodePresent, 1U);
    EXPECT_EQ(told.componentCount, 0);
}

TEST_F(ManagementTest, ASanitizedUnitTellsNoConfigurationAtItsStart)
{
    server.run();
    aspn2_msgs::idl::CommandResponse order;
    order.command_response("START_ZEROIZE");
    server.command(order);
    start();
    EXPECT_EQ(victory.count(kTell), 0U);
    EXPECT_EQ(victory.count("vapntsTellAvailableSensors"), 1U);
    EXPECT_TRUE(server.bus().isStarted());
}

TEST_F(ManagementTest, AnEmptySensorFileIsAListOfNoRows)
{
    start();
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_EQ(sensors().sensorCount, 0);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(ManagementTest, SensorsAreToldInTheirOrderWithAllTheirFields)
{
    start({SensorText("GPS 1", "0x39"), SensorText("Odometer", "27")
                                            .set("SensorType", "VAPNTC_SENSOR_TYPE_OTHER")
                                            .set("HasOtherSensorType", "true")
                                            .set("OtherSensorType", "wheel")});
    const auto told = sensors();
    ASSERT_EQ(told.sensorCount, 2);
    EXPECT_STREQ(told.sensors[0].sensorId, "GPS 1");
    EXPECT_EQ(told.sensors[0].sensorType, 0);
    EXPECT_EQ(told.sensors[0].otherSensorTypePresent, 0U);
    EXPECT_STREQ(told.sensors[1].sensorId, "Odometer");
    EXPECT_EQ(told.sensors[1].sensorType, 19);
    EXPECT_STREQ(told.sensors[1].otherSensorType, "wheel");
    EXPECT_EQ(told.sensors[1].otherSensorTypePresent, 1U);
    EXPECT_STREQ(told.sensors[1].componentConfigurationId, "27");
    EXPECT_EQ(told.sensors[1].componentConfigurationIdPresent, 1U);
    EXPECT_EQ(told.sensors[1].enabled, 1U);
    EXPECT_STREQ(told.sensors[2].sensorId, "");
}

TEST_F(ManagementTest, ADisabledSensorIsNotTold)
{
    start({SensorText("GPS 1"), SensorText("GPS 2").set("Enabled", "false"), SensorText("GPS 3")});
    const auto told = sensors();
    EXPECT_EQ(told.sensorCount, 2);
    EXPECT_STREQ(told.sensors[0].sensorId, "GPS 1");
    EXPECT_STREQ(told.sensors[1].sensorId, "GPS 3");
    EXPECT_STREQ(told.sensors[2].sensorId, "");
}

TEST_F(ManagementTest, SensorsBeyondFiftyAreDroppedWithOneEvent)
{
    start(manySensors(60));
    EXPECT_EQ(sensors().sensorCount, 50);
    EXPECT_STREQ(sensors().sensors[49].sensorId, "S49");
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Only the first 50 sensors are told to the APNT service."));
}

TEST_F(ManagementTest, FiftySensorsAreToldWithoutAWord)
{
    start(manySensors(50));
    EXPECT_EQ(sensors().sensorCount, 50);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(ManagementTest, SensorsAreShownOnDebug)
{
    server.settings().m_debug = true;
    start({SensorText("GPS 1", "0x39").set("HasOtherSensorType", "true").set("OtherSensorType", "x")});
    EXPECT_THAT(console.text(), HasSubstr("sensorServerList size fetched from m_bitFeatures = 1\n"
                                          "numberOfSensors =  1\n"
                                          "<OrvaneBitResults::server>"
                                          "\nsensorId: GPS 1"
                                          "\nsensorType: VAPNTC_SENSOR_TYPE_GPS"
                                          "\nsensorTypeEnum: 0"
                                          "\notherSensorType: x"
                                          "\nhasOtherSensorType: true"
                                          "\ncomponentConfigurationId: 0x39"
                                          "\ncomponentConfigurationIdNumber: 57"
                                          "\nhasComponentConfigurationId: true"
                                          "\nenabled: true\n"));
}

TEST_F(ManagementTest, FirstNavigationRecordIsZeroButForFourNumbers)
{
    start();
    auto told = victory.last("vapntsTellBlendedNavigationData").record<VapntcBlendedNavigationRecord>();
    EXPECT_EQ(victory.last("vapntsTellBlendedNavigationData").time(), nullptr);
    EXPECT_EQ(told.fom, 9U);
    EXPECT_EQ(told.tfom, 9U);
    EXPECT_EQ(told.efom, 1U);
    EXPECT_EQ(told.gpsAvailability, 1U);
    told.fom = told.tfom = told.efom = told.gpsAvailability = 0;
    EXPECT_THAT(bytesOf(told), Each(0));
}

TEST_F(ManagementTest, DefaultsDoNotDependOnWhatTheLibraryAnswers)
{
    for (const char* operation :
         {"vapntsTellAvailableOutputs", kTell, "vapntsTellAvailableSensors", "vapntsTellBlendedNavigationData"})
        victory.answer(operation, -1);
    start();
    EXPECT_TRUE(server.bus().isStarted());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(ManagementTest, DefaultsAreToldThoughATesterKeepsPublicationsBack)
{
    const KeyPipe tester;
    tester.type("z");
    server->checkForFaultTestEvents();
    start();
    for (const char* operation :
         {"vapntsTellAvailableOutputs", kTell, "vapntsTellAvailableSensors", "vapntsTellBlendedNavigationData"})
        EXPECT_EQ(victory.count(operation), 1U) << operation;
}

// The request of a client.

TEST_F(ManagementTest, ARequestWithoutAnInstanceIsReported)
{
    ServerDoor::libraryWithoutContext().tellConfiguration();
    const std::string text = "OrvaneServer: instance pointer was not found in VICTORY "
                             "cbTellSystemConfigurationCallback, callbackData parameter";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_THAT(console.text(), HasSubstr(text + "\n"));
}

TEST_F(ManagementTest, ARequestOfAServiceThatIsDownIsReportedAtOnce)
{
    const auto before = std::chrono::steady_clock::now();
    server.busLibrary().tellConfiguration();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    const std::string text = "OrvaneServer : Cannot request part numbers while APNT service is not running!";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_THAT(console.text(), HasSubstr(text + "\n"));
}

TEST_F(ManagementTest, ARequestOnceAllIsCollectedTellsNothingItself)
{
    server.collectPartNumbers();
    start();
    victory.forgetCalls();
    victory.fireSystemConfiguration();
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(ManagementTest, ARequestIsReportedOnDebug)
{
    server.collectPartNumbers();
    start();
    server.settings().m_debug = true;
    victory.fireSystemConfiguration();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("2:OrvaneServer : VICTORY APNT Configuration / Part number request received."));
    EXPECT_THAT(console.text(), HasSubstr(" : VICTORY APNT Configuration / Part number request received.\n"));
}

TEST_F(ManagementTest, AnEarlyRequestWaitsTwelveSecondsAndNothingIsTold)
{
    const HardDeadline deadline;
    start();
    victory.forgetCalls();
    const auto before = std::chrono::steady_clock::now();
    victory.fireSystemConfiguration();
    EXPECT_GE(std::chrono::steady_clock::now() - before, 12s);
    const std::string text = "OrvaneServer : Warning! Complete set of part numbers was not available for APNT "
                             "Configuration after 12 seconds.";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(ManagementTest, AnEarlyRequestEndsWhenAllIsCollected)
{
    const HardDeadline deadline;
    start();
    std::thread client([&] { victory.fireSystemConfiguration(); });
    server.collectPartNumbers();
    client.join();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_STREQ(configuration().systemName, "Kolt Gen II");
}

TEST_F(ManagementTest, AnExceptionOfARequestIsReported)
{
    // The console stands for whatever may go wrong.
    struct Failing : std::streambuf {
        std::streamsize xsputn(const char*, std::streamsize) override { throw std::runtime_error("no luck"); }
    } failing;
    start();
    server.collectPartNumbers();
    server.settings().m_debug = true;
    std::streambuf* const previous = std::cout.rdbuf(&failing);
    std::cout.exceptions(std::ios::badbit);
    victory.fireSystemConfiguration();
    std::cout.exceptions(std::ios::goodbit);
    std::cout.rdbuf(previous);
    std::cout.clear();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("2:OrvaneServer : VICTORY APNT Configuration / Part number request received.",
                            "3:OrvaneServer: An exception occurred in cbTellSystemConfigurationCallback. Details: no "
                            "luck"));
}

TEST_F(ManagementTest, WhatIsNoStandardExceptionOfARequestIsReportedAsUnknown)
{
    start();
    server.collectPartNumbers();
    server.settings().m_debug = true;
    const BeforeNextLine failure([] { throw 1; });
    victory.fireSystemConfiguration();
    EXPECT_EQ(popHealthEvents().back(),
              "3:OrvaneServer: Unknown c++ exception occurred in cbTellSystemConfigurationCallback");
}
