#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/HardDeadline.h"

#include <algorithm>
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
using testing::MatchesRegex;
using testing::Not;
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
        victory.setFile("config", "<config/>");
        victory.setFile("vcl", "<vcl:VCL/>");
        server.useBusFiles("config", "vcl");
        popHealthEvents();
    }

    void start(const std::vector<SensorText>& sensors = {})
    {
        directory.write("sensors.xml", fileOf(sensors));
        server.startBus();
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
    void update(const std::string& name, const std::string& serialNumber = "", const std::string& software = "",
                const std::string& hardware = "", const std::string& code = "")
    {
        server.setConfigurationHead(name, serialNumber, software, hardware, code);
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

TEST_F(ManagementTest, OrSevenInTheirOwnOrder)
{
    server.change([](auto& settings) { settings.allOutputs = true; });
    start();
    EXPECT_THAT(outputs(), ElementsAre(0, 1, 2, 4, 6, 3, 5));
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
    EXPECT_TRUE(server.busRuns());
}

TEST_F(ManagementTest, AnEmptySensorFileIsAListOfNoRows)
{
    start();
    EXPECT_TRUE(server.busRuns());
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
    server.setDebug(true);
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
    EXPECT_TRUE(server.busRuns());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(ManagementTest, DefaultsAreToldThoughATesterKeepsPublicationsBack)
{
    server.setTellDisabled(true);
    start();
    for (const char* operation :
         {"vapntsTellAvailableOutputs", kTell, "vapntsTellAvailableSensors", "vapntsTellBlendedNavigationData"})
        EXPECT_EQ(victory.count(operation), 1U) << operation;
}

TEST_F(ManagementTest, HeadOfTheConfigurationIsFilledAndItsRowsStay)
{
    server.changeConfiguration([](auto& configuration) {
        configuration.componentCount = 3;
        configuration.components[2].name[0] = 'x';
    });
    update("name", "serial", "software", "hardware", "ABCDEFG");
    const auto configuration = server.configuration();
    EXPECT_STREQ(configuration.systemName, "name");
    EXPECT_STREQ(configuration.systemSerialNumber, "serial");
    EXPECT_STREQ(configuration.systemSoftware, "software");
    EXPECT_EQ(configuration.softwarePresent, 1U);
    EXPECT_STREQ(configuration.systemHardware, "hardware");
    EXPECT_EQ(configuration.hardwarePresent, 1U);
    EXPECT_EQ(std::string(configuration.manufacturerCode, 5), "ABCDE");
    EXPECT_THAT(configuration.reserved1037, Each(0));
    EXPECT_EQ(configuration.manufacturerCodePresent, 1U);
    EXPECT_EQ(configuration.componentCount, 3);
    EXPECT_EQ(configuration.components[2].name[0], 'x');
}

TEST_F(ManagementTest, EmptyTextsOfTheHeadAreAbsent)
{
    update("name", "serial", "software", "hardware", "ABCDE");
    update("");
    const auto configuration = server.configuration();
    EXPECT_STREQ(configuration.systemName, "");
    EXPECT_STREQ(configuration.systemSerialNumber, "N/A");
    EXPECT_EQ(configuration.softwarePresent, 0U);
    EXPECT_EQ(configuration.hardwarePresent, 0U);
    EXPECT_EQ(std::string(configuration.manufacturerCode, 5), std::string(5, '\0'));
    EXPECT_EQ(configuration.manufacturerCodePresent, 0U);
}

TEST_F(ManagementTest, TextsOfTheHeadAreCutToTheirFields)
{
    const std::string tooLong(400, 'x');
    update(tooLong, tooLong, tooLong, tooLong, "A");
    const auto configuration = server.configuration();
    EXPECT_EQ(configuration.systemName, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemSerialNumber, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemSoftware, std::string(255, 'x'));
    EXPECT_EQ(configuration.systemHardware, std::string(255, 'x'));
    EXPECT_EQ(std::string(configuration.manufacturerCode, 5), std::string("A\0\0\0\0", 5));
}

TEST_F(ManagementTest, AWipedConfigurationIsToldAndTheOwnStays)
{
    start();
    server.changeConfiguration([](auto& configuration) { configuration.componentCount = 2; });
    server.wipeConfiguration();
    EXPECT_EQ(victory.count(kTell), 2U);
    EXPECT_THAT(bytesOf(configuration()), Each(0));
    EXPECT_STREQ(server.configuration().systemSerialNumber, "N/A");
    EXPECT_EQ(server.configuration().componentCount, 2);
}

TEST_F(ManagementTest, NothingIsWipedInAServiceThatIsDown)
{
    start();
    server.stopBus();
    victory.forgetCalls();
    server.wipeConfiguration();
    EXPECT_THAT(victory.operations(), IsEmpty());
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
    server.library().tellConfiguration();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 10s);
    const std::string text = "OrvaneServer : Cannot request part numbers while APNT service is not running!";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_THAT(console.text(), HasSubstr(text + "\n"));
}

TEST_F(ManagementTest, ARequestOnceAllIsCollectedTellsNothingItself)
{
    server.setPartNumbersComplete();
    start();
    victory.forgetCalls();
    victory.fireSystemConfiguration();
    EXPECT_THAT(victory.operations(), IsEmpty());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    EXPECT_EQ(console.text(), "");
}

TEST_F(ManagementTest, ARequestIsReportedOnDebug)
{
    server.setPartNumbersComplete();
    start();
    server.setDebug(true);
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
    server.setSelfTestOver();
    server.setPartNumberRequestDue(false);
    server.run();
    for (const int source : {53 << 16 | 1, 53 << 16, 39 << 16, 47 << 16, 47 << 16 | 2, 49 << 16, 38 << 16}) {
        aspn2_msgs::idl::CommandResponse answer;
        answer.header().device_id(source);
        answer.command_response("PARTNUMBERS");
        server.response(answer);
    }
    std::thread client([&] { victory.fireSystemConfiguration(); });
    server.partNumberTurn();
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
    server.setPartNumbersComplete();
    server.setDebug(true);
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
    server.setPartNumbersComplete();
    server.setDebug(true);
    const BeforeNextLine failure([] { throw 1; });
    victory.fireSystemConfiguration();
    EXPECT_EQ(popHealthEvents().back(),
              "3:OrvaneServer: Unknown c++ exception occurred in cbTellSystemConfigurationCallback");
}
