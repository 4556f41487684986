#include "lab/ctl/check/Checks.h"
#include "lab/ctl/check/ConfigCheck.h"
#include "lab/ctl/check/ConfigText.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

using namespace orvanectl;

namespace {

/// The lab's sample configuration, of which a test changes what it is about.
struct CheckTest : testing::Test {
    CheckTest()
    {
        for (const auto& file : std::filesystem::directory_iterator(ORVANE_LAB_DIR "/config"))
            std::filesystem::copy(file, directory.path());
        options.folder = directory.path().string();
        options.file = pathOf("OrvaneServer.xml");
    }

    std::string pathOf(const std::string& name) const { return (directory.path() / name).string(); }

    std::string textOf(const std::string& name) const
    {
        std::ifstream file(pathOf(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Replaces the first place with `from`.
    void change(const std::string& name, const std::string& from, const std::string& to) const
    {
        std::string text = textOf(name);
        const auto at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        write(name, text.replace(at, from.size(), to));
    }

    void write(const std::string& name, const std::string& text) const
    {
        std::ofstream(pathOf(name), std::ios::binary) << text;
    }

    /// What is found besides notes, without the folder in front.
    std::vector<std::string> found() const
    {
        return linesOf([](Severity severity) { return severity != Severity::Note; });
    }

    std::vector<std::string> notes() const
    {
        return linesOf([](Severity severity) { return severity == Severity::Note; });
    }

    template <class Condition>
    std::vector<std::string> linesOf(Condition isMeant) const
    {
        std::vector<std::string> lines;
        for (const Finding& finding : checkConfiguration(options).sorted())
            if (isMeant(finding.severity)) lines.push_back(finding.asLine().substr(options.folder.size() + 1));
        return lines;
    }

    TemporaryDirectory directory;
    CheckOptions options;
};

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(CheckTest, TheSampleIsSound)
{
    EXPECT_EQ(found(), Lines{});
}

TEST_F(CheckTest, AServerThatNoSensorHasIsANote)
{
    EXPECT_EQ(notes(), Lines{"OrvaneServer.xml:34: note: OrvaneServer/PARAM_5: no sensor of HX_Sensor_Data.xml has the "
                             "server 96 (HalvexNavigator) as its ComponentConfigurationId"});
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>39<");
    EXPECT_EQ(notes(), Lines{});
    change("OrvaneServer.xml", "<PARAM_3>0<", "<PARAM_3>37<");
    EXPECT_EQ(notes(), Lines{});
    change("HX_Sensor_Data.xml", "<ComponentConfigurationId>0x25<", "<ComponentConfigurationId>0x26<");
    EXPECT_EQ(notes(), Lines{"OrvaneServer.xml:31: note: OrvaneServer/PARAM_3: no sensor of HX_Sensor_Data.xml has the "
                             "server 37 (MasterClock) as its ComponentConfigurationId"});
}

TEST_F(CheckTest, AFirstNumberOfSecondsThatSetsNothingIsANote)
{
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>39<");
    const Lines note = {"OrvaneServer.xml:40: note: OrvaneServer/PARAM_8: the first number, 30, sets nothing: an "
                        "answer is waited for 12 seconds, whatever it is, and messages alone tell 30; 12 is usual"};
    change("OrvaneServer.xml", "<PARAM_8>12,7200<", "<PARAM_8>30,7200<");
    EXPECT_EQ(notes(), note);
    EXPECT_EQ(found(), Lines{});
    change("OrvaneServer.xml", "<PARAM_8>30,7200<", "<PARAM_8>0,7200<");
    EXPECT_EQ(notes().size(), 1u);
    change("OrvaneServer.xml", "<PARAM_8>0,7200<", "<PARAM_8>30<");  // 12 is taken
    EXPECT_EQ(notes(), Lines{});
}

TEST_F(CheckTest, ASensorThatIsNotEnabledHasNoServer)
{
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>39<");
    change("HX_Sensor_Data.xml", "<Enabled>true<", "<Enabled>false<");
    EXPECT_EQ(notes().size(), 1u);
}

TEST_F(CheckTest, WithoutASensorThatHasAServerThereIsNoNote)
{
    write("HX_Sensor_Data.xml", "<HX_Configurations></HX_Configurations>");
    EXPECT_EQ(notes(), Lines{});
    std::filesystem::remove(pathOf("HX_Sensor_Data.xml"));
    EXPECT_EQ(notes(), Lines{});
}

TEST_F(CheckTest, AMissingKeyIsAnErrorAndWhatStandsThereIsNamed)
{
    change("OrvaneServer.xml", "<PARAM_4>0</PARAM_4>", "<PARM_4>0</PARM_4>");
    EXPECT_EQ(found(), (Lines{"OrvaneServer.xml:15: error: OrvaneServer/PARAM_4: is missing: the server whose "
                              "PositionVelocityAttitude is taken; 0 takes any",
                              "OrvaneServer.xml:32: warning: OrvaneServer/PARM_4: is no key that is read; did you mean "
                              "PARAM_4?"}));
}

TEST_F(CheckTest, AnEmptyKeyIsAnErrorInItsLine)
{
    change("OrvaneServer.xml", "<Debug>false</Debug>", "<Debug> </Debug>");
    EXPECT_EQ(found(), Lines{"OrvaneServer.xml:22: error: OrvaneServer/Debug: is empty: true for more console output"});
}

TEST_F(CheckTest, ADoubledKeyNamesTheLineThatIsRead)
{
    change("OrvaneServer.xml", "<PRI>0</PRI>", "<PRI>0</PRI>\n<PRI>1</PRI>");
    EXPECT_EQ(found(),
              Lines{"OrvaneServer.xml:25: warning: OrvaneServer/PRI: stands in line 24 already, which is the one "
                    "that is read"});
}

TEST_F(CheckTest, ADoubledNameNamesTheLineThatIsFound)
{
    change("Connections.xml", "</HX_Configurations>", "<Other><Name>UTCTime</Name></Other>\n</HX_Configurations>");
    EXPECT_EQ(found(),
              Lines{"Connections.xml:95: warning: UTCTime: the name is taken by line 53, which is the one that "
                    "is found"});
}

TEST_F(CheckTest, NumbersAreWholeAndInRange)
{
    change("OrvaneServer.xml", "<PARAM_3>0<", "<PARAM_3>37x<");
    change("OrvaneServer.xml", "<PRI>0<", "<PRI>100<");
    EXPECT_EQ(found(),
              (Lines{"OrvaneServer.xml:24: warning: OrvaneServer/PRI: 100 is out of range; 0 to 99 may stand here",
                     "OrvaneServer.xml:31: warning: OrvaneServer/PARAM_3: \"37x\" is not wholly a number, 37 is "
                     "taken; 0 to 255 may stand here"}));
}

TEST_F(CheckTest, ValuesThatOnlyLookHarmlessAreTold)
{
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>0<");
    change("OrvaneServer.xml", "<PARAM_8>12,7200<", "<PARAM_8>12<");
    EXPECT_EQ(found(), (Lines{"OrvaneServer.xml:34: warning: OrvaneServer/PARAM_5: accepts frames of no server; a GPS "
                              "receiver's number, such as 39, makes Blended Navigation possible",
                              "OrvaneServer.xml:40: warning: OrvaneServer/PARAM_8: \"12\" is not two values, so that "
                              "12,7200 is taken; two numbers of seconds with a comma between them may stand here"}));
}

TEST_F(CheckTest, AServerThatThereIsNotIsTold)
{
    change("OrvaneServer.xml", "<PARAM_7>0<", "<PARAM_7>7<");
    EXPECT_EQ(found(),
              Lines{"OrvaneServer.xml:37: warning: OrvaneServer/PARAM_7: no server has the number 7, so nothing "
                    "will be taken from it; 96 (HalvexNavigator) is one, and 0 takes any"});
}

TEST_F(CheckTest, AServerThatThereIsNotAmongSeveralIsTold)
{
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>39,7<");
    EXPECT_EQ(found(),
              Lines{"OrvaneServer.xml:34: warning: OrvaneServer/PARAM_5: no server has the number 7, so nothing "
                    "will be taken from it; 39 (ZentorM) is one"});
}

TEST_F(CheckTest, ACpuWhoseLowBitsAreZeroIsRefused)
{
    change("OrvaneServer.xml", "<CPU>0<", "<CPU>256<");
    EXPECT_EQ(
        found(),
        (Lines{
            "OrvaneServer.xml:25: warning: OrvaneServer/CPU: 256 is out of range, 0 is taken; 0 to 255 may stand here",
            "OrvaneServer.xml:25: error: OrvaneServer/CPU: its low 8 bits are 0, which is no processor; "
            "1 is the first"}));
}

TEST_F(CheckTest, AFileThatIsMissingIsAnError)
{
    std::filesystem::remove(pathOf("IODevices.xml"));
    EXPECT_EQ(found(), Lines{"IODevices.xml: error: No such file or directory"});
}

TEST_F(CheckTest, WithoutATopLevelFileTheOthersAreLookedAt)
{
    options.file = pathOf("missing.xml");
    std::filesystem::remove(pathOf("HX_Sensor_Data.xml"));
    EXPECT_EQ(found(), (Lines{"missing.xml: error: No such file or directory",
                              "HX_Sensor_Data.xml: error: No such file or directory"}));
}

TEST_F(CheckTest, WhatIsNoXmlHasLineAndColumn)
{
    write("OrvaneServer.xml", "<HX_Configurations>\n  <System></Sytem>\n</HX_Configurations>\n");
    EXPECT_EQ(found().at(0), "OrvaneServer.xml:2: warning: column 13: no XML: mismatched tag");
    EXPECT_EQ(found().at(1),
              "OrvaneServer.xml:2: error: the service can't read it (XML_ERROR_MISMATCHED_ELEMENT); it must "
              "be XML");
}

TEST_F(CheckTest, ThousandsOfAttributesAreTold)
{
    std::string attributes;
    for (int i = 0; i < 1001; ++i) attributes += " a" + std::to_string(i) + "=\"\"";
    change("Connections.xml", "<Domain>", "<Domain" + attributes + ">");
    EXPECT_EQ(found(), Lines{"Connections.xml:5: warning: Domain: 1001 attributes; reading them takes their number "
                             "squared; a few are usual"});
}

TEST_F(CheckTest, AnotherDocumentElementIsRefused)
{
    write("IODevices.xml", "<Devices/>");
    EXPECT_EQ(found(), Lines{"IODevices.xml:1: error: Devices: the document element must be HX_Configurations"});
}

TEST_F(CheckTest, MisspeltSettingsOfTheTransportAreNamed)
{
    change("Connections.xml", "<Name>FastRtps<", "<Name>FastRpts<");
    EXPECT_EQ(found(), Lines{"Connections.xml: error: FastRtps: the container with the settings of the transport is "
                             "missing; did you mean FastRpts?"});
}

TEST_F(CheckTest, MisspeltElementsOfAContainerAreNamed)
{
    change("Connections.xml", "<Name>FastRtps</Name>", "<Nmae>FastRtps</Nmae>");
    auto lines = found();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(
        lines[1],
        "Connections.xml:5: warning: Domain: has no Name, so that it is never found; an element Name belongs into it");
    EXPECT_EQ(lines[2], "Connections.xml:6: warning: Domain: no element \"Nmae\" is read; did you mean Name?");

    change("Connections.xml", "<Nmae>FastRtps</Nmae>", "<Name>FastRtps</Name>");
    change("Connections.xml", "<Parameters>", "<Paramters>");
    change("Connections.xml", "</Parameters>", "</Paramters>");
    lines = found();
    ASSERT_EQ(lines.size(), 8u);
    EXPECT_EQ(lines[7],
              "Connections.xml:7: warning: FastRtps: no element \"Paramters\" is read; did you mean Parameters?");
}

TEST_F(CheckTest, TimesOfZeroSecondsAreTold)
{
    change("OrvaneServer.xml", "<PARAM_8>12,7200<", "<PARAM_8>0,0<");
    change("OrvaneServer.xml", "<PARAM_9>25<", "<PARAM_9>0<");
    EXPECT_EQ(found(),
              (Lines{"OrvaneServer.xml:40: warning: OrvaneServer/PARAM_8: the second number is 0, so that each "
                     "erasing of data times out at once; 7200 is usual",
                     "OrvaneServer.xml:42: warning: OrvaneServer/PARAM_9: is 0, so that each built-in test "
                     "fails at once; 25 is usual"}));
}

TEST_F(CheckTest, ATransportThatThereIsNotIsRefused)
{
    change("Connections.xml", ">UDP<", ">Udp<");
    EXPECT_EQ(found(), Lines{"Connections.xml:17: error: FastRtps/UseTransport: \"Udp\" is no transport; SHM, UDP, "
                             "TCP_Client or TCP_Server is; did you mean UDP?"});
}

TEST_F(CheckTest, ADomainBeyondThePortsIsRefused)
{
    change("Connections.xml", "<DomainId>0<", "<DomainId>233<");
    EXPECT_EQ(found(),
              Lines{"Connections.xml:9: error: FastRtps/DomainId: 233 would make UDP ports beyond 65535; 232 is "
                    "the highest domain"});
}

TEST_F(CheckTest, ATopicThatTheServiceNeedsIsAnError)
{
    change("Connections.xml", "<Name>BitReport<", "<Name>BitReprot<");
    EXPECT_EQ(found(), Lines{"Connections.xml: error: BitReport: the topic is missing; did you mean BitReprot?"});
}

TEST_F(CheckTest, TypesMustExistAndFit)
{
    change("Connections.xml", ">UTCTimePubSubType<", ">UtcTimePubSubTyp<");
    change("Connections.xml", "idl::HalvexPNT<", "idl::UTCTime<");
    EXPECT_EQ(found(),
              (Lines{"Connections.xml:57: error: UTCTime/PubSubType: \"UtcTimePubSubTyp\" is no type support; did "
                     "you mean UTCTimePubSubType?",
                     "Connections.xml:63: error: HalvexPNT/TopicType: \"aspn2_msgs::idl::UTCTime\" is not the type "
                     "of HalvexPNTPubSubType; aspn2_msgs::idl::HalvexPNT is"}));
}

TEST_F(CheckTest, ATopicOfOthersWithAWrongTypeIsAWarning)
{
    change("Connections.xml", "</HX_Configurations>",
           "<Connection><Name>Other</Name><Parameters><TopicType>aspn2_msgs::idl::IMU</TopicType><PubSubType>ImuType"
           "</PubSubType></Parameters></Connection></HX_Configurations>");
    EXPECT_EQ(found(), Lines{"Connections.xml:95: warning: Other/PubSubType: \"ImuType\" is no type support"});
}

TEST_F(CheckTest, TheSamePortTwiceIsTold)
{
    change("IODevices.xml", "<Port>6<", "<Port>5<");
    EXPECT_EQ(found(),
              Lines{"IODevices.xml:16: warning: HX_ZEN/Port: 5 is the port of ZEN_HX, too; each queue has its own"});
}

TEST_F(CheckTest, BlocksThatOverlapAreTold)
{
    change("IODevices.xml", "0x43C10000", "0x43C00800");
    EXPECT_EQ(found(),
              Lines{"IODevices.xml:29: warning: Peripheral_Interface: the block overlaps Processor_Interface of "
                    "line 22; each has addresses of its own"});
}

TEST_F(CheckTest, BlocksThatAreTooSmallAreTold)
{
    const std::string clock = "<BaseAddress>0x43C20000</BaseAddress>\n      <Size>";
    change("IODevices.xml", clock + "0x1000", clock + "39");
    EXPECT_EQ(found(),
              Lines{"IODevices.xml:40: error: TimeStamp_Interface/Size: 39 bytes are too few; the service reads 40 "
                    "of them at its start"});
    change("IODevices.xml", clock + "39", clock + "40");
    EXPECT_EQ(found(),
              Lines{"IODevices.xml:40: warning: TimeStamp_Interface/Size: 40 bytes are too few for registers that "
                    "reach to byte 136"});
}

TEST_F(CheckTest, BlocksBeyondTheAddressSpaceAreTold)
{
    change("IODevices.xml", "0x43C80000", "0xFFFFF004");
    EXPECT_EQ(found(), Lines{"IODevices.xml:82: warning: PulseGen_Interface1 interface/Size: the block ends beyond the "
                             "address space of 32 bits; its end is to be 0x100000000 at the most"});
}

TEST_F(CheckTest, NumberedBlocksBehindAGapAreTold)
{
    change("IODevices.xml", "Ptfe_Interface0", "Ptfe_Interface2");
    const auto lines = found();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1],
              "IODevices.xml:57: warning: Ptfe_Interface2 interface: there is no Ptfe_Interface0 interface, so that "
              "this one is never opened");
}

TEST_F(CheckTest, NumberedBlocksComeInPairs)
{
    change("IODevices.xml", "PulseGen_Interface1", "Pulse_Interface1");
    EXPECT_EQ(found(),
              Lines{"IODevices.xml: warning: Ptfe_Interface: there are 2 of these and 1 of PulseGen_Interface; the "
                    "service opens as many of both as the FPGA has of the first"});
}

TEST_F(CheckTest, KeysThatNothingReadsAreToldOfTopicsAndSensors)
{
    change("Connections.xml", "<PubSubType>UTCTimePubSubType</PubSubType>",
           "<PubSubType>UTCTimePubSubType</PubSubType><Topictype>x</Topictype>");
    change("HX_Sensor_Data.xml", "<SensorId>GPS-1</SensorId>", "<SensorIdd>GPS-1</SensorIdd>");
    EXPECT_EQ(found(),
              (Lines{"Connections.xml:57: warning: UTCTime/Topictype: is no key that is read; did you mean "
                     "TopicType?",
                     "HX_Sensor_Data.xml:6: warning: GPS/SensorId: is missing: the id under which the bus shows the "
                     "sensor",
                     "HX_Sensor_Data.xml:9: warning: GPS/SensorIdd: is no key that is read; did you mean SensorId?"}));
}

TEST_F(CheckTest, ASensorThatIsEnabledByAnotherWordIsTold)
{
    change("HX_Sensor_Data.xml", "<Enabled>true<", "<Enabled>yes<");
    EXPECT_EQ(found(),
              Lines{"HX_Sensor_Data.xml:10: warning: GPS/Enabled: \"yes\" is taken as false; true or false is meant "
                    "to stand here"});
}

TEST_F(CheckTest, SensorsAreNotFoundByTheirNames)
{
    change("HX_Sensor_Data.xml", "<Name>ALTNAV<", "<Name>GPS<");
    EXPECT_EQ(found(), Lines{});
}

TEST_F(CheckTest, ASourceWhoseLowBitsAreZeroIsNone)
{
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>256<");
    const auto lines = found();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1],
              "OrvaneServer.xml:34: warning: OrvaneServer/PARAM_5: accepts frames of no server; a GPS receiver's "
              "number, such as 39, makes Blended Navigation possible");
}

TEST_F(CheckTest, AMissingFileNameHidesNoOtherFile)
{
    change("OrvaneServer.xml", "<Connections>/opt/halvex/config/Connections.xml</Connections>", "");
    std::filesystem::remove(pathOf("IODevices.xml"));
    const auto lines = found();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1], "IODevices.xml: error: No such file or directory");
}

TEST_F(CheckTest, ABusFileThatIsTooLongIsRefused)
{
    const std::string text = textOf("APNTServiceConfig_1_9.xml");
    write("APNTServiceConfig_1_9.xml", text + std::string(65535 - text.size(), '\n'));
    EXPECT_EQ(found(), Lines{});
    write("APNTServiceConfig_1_9.xml", text + std::string(65536 - text.size(), '\n'));
    EXPECT_EQ(found(),
              Lines{"APNTServiceConfig_1_9.xml: error: the file is longer than the 65535 bytes that the bus library "
                    "takes"});
}

TEST_F(CheckTest, AVclWithoutAGroupThatTheServiceChangesIsTold)
{
    change("APNT_VCL_1_9.xml", "ASSURED_PNT_NAVWAR_SA", "OTHER");
    EXPECT_EQ(found(),
              Lines{"APNT_VCL_1_9.xml:3: warning: ASSURED_PNT_NAVWAR_SA: no element has this type, so that the rate "
                    "can't be changed when data are sanitized"});
}

TEST_F(CheckTest, AVclThatTheLibraryRefusesIsAnError)
{
    change("APNT_VCL_1_9.xml", "\"1000\"", "\"soon\"");
    EXPECT_EQ(found(),
              Lines{"APNT_VCL_1_9.xml: error: the bus library cannot use the VCL text, line 5: updatePeriod is no "
                    "number of milliseconds"});
}

TEST_F(CheckTest, ASensorOfUnknownTypeIsAnErrorUnlessItIsDisabled)
{
    change("HX_Sensor_Data.xml", "SENSOR_TYPE_GPS", "SENSOR_TYPE_GSP");
    EXPECT_EQ(found(),
              Lines{"HX_Sensor_Data.xml:11: error: GPS/SensorType: \"VAPNTC_SENSOR_TYPE_GSP\" is no type of sensor; "
                    "did you mean VAPNTC_SENSOR_TYPE_GPS?"});
    change("HX_Sensor_Data.xml", "<Enabled>true<", "<Enabled>false<");
    EXPECT_EQ(found(), Lines{});
}

TEST_F(CheckTest, ADoubledSensorIdIsTold)
{
    change("HX_Sensor_Data.xml", "ALTNAV-1", "GPS-1");
    EXPECT_EQ(found(),
              Lines{"HX_Sensor_Data.xml:17: warning: ALTNAV/SensorId: GPS-1 is the id of the sensor of line 6, too; "
                    "each has its own"});
}

TEST_F(CheckTest, ASensorWhoseServerThereIsNotIsTold)
{
    change("HX_Sensor_Data.xml", "0x27", "0x07");
    EXPECT_EQ(found(),
              Lines{"HX_Sensor_Data.xml:13: warning: GPS/ComponentConfigurationId: no server has the number 0x07, so "
                    "that no built-in test reports this sensor; a server's number, such as 0x27, may stand here"});
}

TEST_F(CheckTest, MoreThanFiftySensorsAreTold)
{
    std::string sensors;
    for (int i = 0; i < 51; ++i)
        sensors +=
            "<Sensor><Name>S" + std::to_string(i) + "</Name><Parameters><SensorId>S-" + std::to_string(i) +
            "</SensorId><Enabled>true</Enabled><SensorType>VAPNTC_SENSOR_TYPE_GPS</SensorType>"
            "<HasOtherSensorType>false</HasOtherSensorType><ComponentConfigurationId>0x27</ComponentConfigurationId>"
            "<HasComponentConfigurationId>true</HasComponentConfigurationId></Parameters></Sensor>\n";
    write("HX_Sensor_Data.xml", "<HX_Configurations>\n" + sensors + "</HX_Configurations>");
    EXPECT_EQ(found(), Lines{"HX_Sensor_Data.xml:52: warning: S50: is the 51st sensor; the bus is told of 50"});
}

TEST_F(CheckTest, PathsOfTheUnitAreFoundInTheFolder)
{
    EXPECT_EQ(options.found("/opt/halvex/config/A.xml"), pathOf("A.xml"));
    EXPECT_EQ(options.found("/etc/A.xml"), "/etc/A.xml");
    EXPECT_EQ(CheckOptions{}.found("/opt/halvex/config/A.xml"), "/opt/halvex/config/A.xml");
}

TEST(FindingTest, JsonHasTheSameInMembers)
{
    const Finding finding{"a.xml", 3, Severity::Error, "S/K", "is \"bad\""};
    EXPECT_EQ(finding.asLine(), "a.xml:3: error: S/K: is \"bad\"");
    EXPECT_EQ(finding.json(),
              "{\"kind\":\"finding\",\"file\":\"a.xml\",\"line\":3,\"severity\":\"error\",\"place\":\"S/K\","
              "\"what\":\"is \\\"bad\\\"\"}\n");
}

TEST(FindingTest, WhatCantBePrintedReachesNoTerminal)
{
    EXPECT_EQ((Finding{"a", 0, Severity::Warning, "\x1b[31m", "x\ny"}).asLine(), "a: warning: \\x1B[31m: x\\x0Ay");
}

TEST(FindingsTest, AreSortedByFilesAsTheyWereBegunAndThenByLines)
{
    Findings findings;
    findings.begin("b");
    findings.warn(2, "", "second");
    findings.begin("a");
    findings.fail(1, "", "third");
    findings.begin("b");
    findings.fail(1, "", "first");
    const auto sorted = findings.sorted();
    ASSERT_EQ(sorted.size(), 3u);
    EXPECT_EQ(sorted[0].what, "first");
    EXPECT_EQ(sorted[1].what, "second");
    EXPECT_EQ(sorted[2].what, "third");
    EXPECT_EQ(findings.errors(), 2u);
    EXPECT_EQ(findings.warnings(), 1u);
}

TEST_F(CheckTest, AFileFromARelativePathIsLookedForWhereTheServiceIsStarted)
{
    change("OrvaneServer.xml", "/opt/halvex/config/IODevices.xml", "IODevices.xml");
    EXPECT_EQ(
        found().front(),
        "OrvaneServer.xml:20: warning: OrvaneServer/IODevices: \"IODevices.xml\" is looked for in the folder that "
        "the service is started in; a path from / may stand here");
}

TEST_F(CheckTest, ANumberThatIsCutSaysWhatIsTaken)
{
    change("OrvaneServer.xml", "<PARAM_3>0<", "<PARAM_3>293<");
    change("OrvaneServer.xml", "<PARAM_5>39,96<", "<PARAM_5>295,-217,4294967296,96<");
    change("OrvaneServer.xml", "<PARAM_8>12,7200<", "<PARAM_8>12,4294967296<");
    const std::string place = "warning: OrvaneServer/PARAM_";
    EXPECT_EQ(found(), (Lines{"OrvaneServer.xml:31: " + place +
                                  "3: 293 is out of range, 37 is taken; 0 to 255 may stand "
                                  "here",
                              "OrvaneServer.xml:34: " + place +
                                  "5: 295 is out of range, 39 is taken; 0 to 255 may stand "
                                  "here",
                              "OrvaneServer.xml:34: " + place +
                                  "5: -217 is out of range, 39 is taken; 0 to 255 may stand "
                                  "here",
                              "OrvaneServer.xml:34: " + place +
                                  "5: 4294967296 is out of range, 255 is taken; 0 to 255 "
                                  "may stand here",
                              "OrvaneServer.xml:40: " + place +
                                  "8: 4294967296 is out of range, 4294967295 is taken; 0 "
                                  "to 4294967295 may stand here"}));
}

TEST_F(CheckTest, RegistersThatAreNotAlignedAreTold)
{
    change("IODevices.xml", "<BaseAddress>0x43C20000<", "<BaseAddress>0x43C20002<");
    change("IODevices.xml", "<Size>0x1000<", "<Size>0xFFE<");
    const std::string aligned = " is no multiple of 4, which the registers are aligned to";
    const auto lines = found();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], "IODevices.xml:26: warning: Processor_Interface/Size: 0xFFE" + aligned);
    EXPECT_EQ(lines[1], "IODevices.xml:39: warning: TimeStamp_Interface/BaseAddress: 0x43C20002" + aligned);
}

TEST_F(CheckTest, AHistoryThatNoMemoryHoldsIsAnError)
{
    change("Connections.xml", "<HistoryDepth>10<", "<HistoryDepth>2147483647<");  // 19 TB by what was seen of less
    EXPECT_EQ(found(), Lines{"Connections.xml:11: error: FastRtps/HistoryDepth: no memory holds 2147483647 samples, "
                             "which are taken at the start for each end of a topic; 10 is usual"});
}

TEST_F(CheckTest, AHistoryIsWeighedAgainstWhatTheServiceCanHave)
{
    constexpr std::uint64_t kOfSample = sizeof(void*) == 8 ? 8000 : 4000;
    change("Connections.xml", "<HistoryDepth>10<", "<HistoryDepth>100000<");
    const auto errorsWith = [this](std::uint64_t memory) {
        Findings findings;
        checkConnections(pathOf("Connections.xml"), memory, findings);
        return findings.errors();
    };
    EXPECT_EQ(errorsWith(100'000 * kOfSample - 1), 1u);
    EXPECT_EQ(errorsWith(100'000 * kOfSample), 0u);
}

TEST(CheckMemoryTest, SwapCountsAsMemory)
{
    struct sysinfo machine {};
    machine.totalram = 300;
    machine.totalswap = 100;
    machine.mem_unit = 4096;
    EXPECT_EQ(memoryOf(machine), 1'638'400u);
}

TEST(CheckMemoryTest, NoProcessHasMoreThanItsAddresses)
{
    struct sysinfo machine {};
    machine.totalram = std::numeric_limits<unsigned long>::max();
    machine.mem_unit = 4096;
    EXPECT_EQ(memoryOf(machine), std::numeric_limits<std::size_t>::max());
    EXPECT_LE(memoryOfService(false), std::numeric_limits<std::size_t>::max());
}

TEST_F(CheckTest, AFolderIsNoFile)
{
    for (const char* file : {"Connections.xml", "APNT_VCL_1_9.xml", "HX_Sensor_Data.xml"}) {
        std::filesystem::remove(pathOf(file));
        std::filesystem::create_directory(pathOf(file));
    }
    const std::string what = ": error: not a file; a file of XML belongs here";
    EXPECT_EQ(found(), (Lines{"Connections.xml" + what, "APNT_VCL_1_9.xml" + what, "HX_Sensor_Data.xml" + what}));
}
