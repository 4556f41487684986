#include "face/FACE_Text.h"
#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"
#include "tests/support/FailingAllocation.h"

#include <filesystem>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

namespace {

struct BitConfigureTest : BitResultsTest {
    std::vector<std::string> ids()
    {
        std::vector<std::string> list;
        for (const auto& sensor : sensors()) list.push_back(FACE::textOf(sensor.sensorId));
        return list;
    }

    std::string path() const { return (directory.path() / "sensors.xml").string(); }
};

}  // namespace

TEST_F(BitConfigureTest, AllFieldsOfASensorAreRead)
{
    writeSensors({SensorText("Odometer", "0x27")
                      .set("SensorType", "VAPNTC_SENSOR_TYPE_OTHER")
                      .set("HasOtherSensorType", "true")
                      .set("OtherSensorType", "wheel")});
    EXPECT_TRUE(initialize());
    const auto list = sensors();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(FACE::textOf(list[0].sensorId), "Odometer");
    EXPECT_EQ(FACE::textOf(list[0].sensorType), "VAPNTC_SENSOR_TYPE_OTHER");
    EXPECT_EQ(list[0].sensorTypeEnum, 19);
    EXPECT_EQ(FACE::textOf(list[0].otherSensorType), "wheel");
    EXPECT_TRUE(list[0].hasOtherSensorType);
    EXPECT_EQ(FACE::textOf(list[0].componentConfigurationId), "0x27");
    EXPECT_TRUE(list[0].hasComponentConfigurationId);
    EXPECT_EQ(list[0].componentConfigurationIdNumber, 39);
    EXPECT_TRUE(list[0].enabled);
    EXPECT_EQ(events(), std::vector<std::string>());
}

TEST_F(BitConfigureTest, OtherTypeIsReadOnlyIfItsFlagIsSet)
{
    writeSensors({SensorText().set("OtherSensorType", "wheel")});
    EXPECT_TRUE(initialize());
    EXPECT_EQ(FACE::textOf(sensors()[0].otherSensorType), "");
    EXPECT_EQ(console.text(), "");
}

TEST_F(BitConfigureTest, ComponentNumbersAreHexadecimalOfSixteenBits)
{
    writeSensors({SensorText("a", "27"), SensorText("b", "0x27"), SensorText("c", "12345"), SensorText("d", "none"),
                  SensorText("e", "100000027"), SensorText("f", "-1"), SensorText("g", "-100000027"),
                  SensorText("h", "0x27").set("HasComponentConfigurationId", "false")});
    EXPECT_TRUE(initialize());
    std::vector<int> numbers;
    for (const auto& sensor : sensors()) numbers.push_back(sensor.componentConfigurationIdNumber);
    EXPECT_THAT(numbers, ElementsAre(39, 39, 0x2345, 0, 65535, 65535, 65535, 0));
}

TEST_F(BitConfigureTest, DisabledSensorIsReportedAndLeftOut)
{
    writeSensors(
        {SensorText("a"), SensorText("b").set("Enabled", "false").set("SensorType", "nonsense"), SensorText("c")});
    start();
    EXPECT_THAT(ids(), ElementsAre("a", "c"));
    const std::string text = "OrvaneBitResults: Warning sensorId, b is disabled in " + path();
    EXPECT_THAT(events(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    execute();
    cycle();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT,39,39"));
}

TEST_F(BitConfigureTest, EverySensorOfTheListIsEnabled)
{
    writeSensors({SensorText("a").set("Enabled", "false"), SensorText("b"), SensorText("c").set("Enabled", "0"),
                  SensorText("d").set("Enabled", "1"), SensorText("e").remove("Enabled")});
    EXPECT_TRUE(initialize());
    EXPECT_THAT(ids(), ElementsAre("b", "d"));
    for (const auto& sensor : sensors()) EXPECT_TRUE(sensor.enabled) << FACE::textOf(sensor.sensorId);
}

TEST_F(BitConfigureTest, LastSensorDisabledEndsTheReading)
{
    writeSensors({SensorText("a"), SensorText("b").set("Enabled", "0")});
    EXPECT_TRUE(initialize());
    EXPECT_THAT(ids(), ElementsAre("a"));
}

TEST_F(BitConfigureTest, UnknownTypeEndsTheReadingWithTheRowsSoFar)
{
    writeSensors({SensorText("a"), SensorText("b").set("SensorType", "GPS"), SensorText("c")});
    const ConsoleCapture errors(std::cerr);
    EXPECT_FALSE(initialize());
    const std::string text =
        "OrvaneBitResults: : Could not initialize configuration file " + path() + ". Details: map::at";
    EXPECT_EQ(errors.text(), text + "\n");
    EXPECT_THAT(events(), ElementsAre("3:" + text));
    EXPECT_THAT(ids(), ElementsAre("a"));
    results.Start();
    execute();
    cycle();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT,39"));
}

TEST_F(BitConfigureTest, ListThatEndsEarlyIsTheOneThatIsCommanded)
{
    const ConsoleCapture errors(std::cerr);
    writeSensors({});
    start();
    writeSensors({SensorText("a"), SensorText("b", "0x39"), SensorText("c").set("SensorType", "GPS")});
    EXPECT_FALSE(initialize());
    execute();
    cycle();
    results.failCurrentBit();
    writeSensors({SensorText("c").set("SensorType", "GPS")});
    EXPECT_FALSE(initialize());
    execute();
    cycle();
    EXPECT_THAT(commands, ElementsAre("REQUEST_CBIT,39,57", "REQUEST_CBIT"));
}

TEST_F(BitConfigureTest, MissingTypeEndsTheReadingToo)
{
    writeSensors({SensorText("a").remove("SensorType"), SensorText("b")});
    const ConsoleCapture errors(std::cerr);
    EXPECT_FALSE(initialize());
    EXPECT_THAT(errors.text(), HasSubstr("Details: map::at\n"));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(BitConfigureTest, MissingKeyIsToldAndTheRestIsRead)
{
    writeSensors({SensorText("a").remove("ComponentConfigurationId")});
    EXPECT_TRUE(initialize());
    EXPECT_THAT(console.text(),
                MatchesRegex("WARNING - Parameter ComponentConfigurationId not found\n"
                             "Halvex\\([0-9]+\\) GetConfigParameters : error or could not find setting, "
                             "ComponentConfigurationId \\(ComponentConfigurationId\\) in configuration file!\n"));
    EXPECT_TRUE(sensors().at(0).hasComponentConfigurationId);
    EXPECT_EQ(sensors().at(0).componentConfigurationIdNumber, 0);
}

TEST_F(BitConfigureTest, EveryMissingKeyIsToldOnce)
{
    writeSensors({SensorText("a").remove("HasOtherSensorType"), SensorText().remove("SensorId"),
                  SensorText().remove("HasComponentConfigurationId"),
                  SensorText().set("HasOtherSensorType", "true").remove("OtherSensorType")});
    EXPECT_TRUE(initialize());
    const std::string text = console.text();
    for (const char* key : {"HasOtherSensorType", "SensorId", "HasComponentConfigurationId", "OtherSensorType"}) {
        const std::string told = "could not find setting, " + std::string(key) + " (" + key + ")";
        EXPECT_THAT(text, HasSubstr(told));
        EXPECT_EQ(text.find(told), text.rfind(told));
    }
    EXPECT_THAT(ids(), ElementsAre("a", "", "GPS 1", "GPS 1"));
}

TEST_F(BitConfigureTest, MissingEnabledCountsAsDisabled)
{
    writeSensors({SensorText("a").remove("Enabled"), SensorText("b")});
    EXPECT_TRUE(initialize());
    EXPECT_THAT(ids(), ElementsAre("b"));
    EXPECT_THAT(console.text(), HasSubstr("could not find setting, Enabled (Enabled) in configuration file!\n"));
    EXPECT_THAT(events(), ElementsAre("3:OrvaneBitResults: Warning sensorId, a is disabled in " + path()));
}

TEST_F(BitConfigureTest, FileWithoutSensorsIsNoFailure)
{
    writeSensors({});
    start();
    EXPECT_THAT(sensors(), IsEmpty());
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(BitConfigureTest, SiblingsWithoutANameAndOtherContainersAreNoTrouble)
{
    directory.write("sensors.xml", "<HX_Configurations>" + SensorText("a").text() +
                                       "<Other><Name>y</Name></Other><Sensor><Parameters><SensorId>b</SensorId>"
                                       "</Parameters></Sensor><Sensor/>" +
                                       SensorText("c").text() + "</HX_Configurations>");
    EXPECT_TRUE(initialize());
    EXPECT_THAT(ids(), ElementsAre("a", "c"));
}

TEST_F(BitConfigureTest, FileThatCanNotBeReadIsReported)
{
    std::filesystem::remove(path());
    EXPECT_FALSE(initialize());
    EXPECT_THAT(events(),
                ElementsAre("3:Halvex: Could not initialize configuration file: " + path() + " INVALID_CONFIG"));
    EXPECT_THAT(sensors(), IsEmpty());
}

TEST_F(BitConfigureTest, ListIsAppendedToWhatTheCallerHas)
{
    EXPECT_TRUE(initialize());
    std::vector<OrvaneBitResults::SensorServer> list;
    results.getBitSensorServers(list);
    results.getBitSensorServers(list);
    EXPECT_EQ(list.size(), 6u);
    EXPECT_EQ(FACE::textOf(list[5].sensorId), "Speed");
}

TEST_F(BitConfigureTest, SecondInitializeReplacesTheListAndKeepsTheTests)
{
    start();
    finishOne();
    execute();
    cycle();
    writeSensors({SensorText("new", "0x10")});
    EXPECT_TRUE(initialize());
    EXPECT_THAT(ids(), ElementsAre("new"));
    EXPECT_EQ(statusOf("0"), 3);
    EXPECT_EQ(statusOf("1"), 1);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(statusOf("1"), 3);
}

TEST_F(BitConfigureTest, SecondInitializeThatFailsKeepsTheList)
{
    EXPECT_TRUE(initialize());
    std::filesystem::remove(path());
    EXPECT_FALSE(initialize());
    EXPECT_THAT(ids(), ElementsAre("GPS 1", "IMU", "Speed"));
}

TEST_F(BitConfigureTest, MemoryThatRunsOutLeavesWholeRowsAlone)
{
    const ConsoleCapture errors(std::cerr);
    std::set<std::vector<std::string>> left;  // by readings that failed
    for (std::size_t granted = 0, refused = 1; refused > 0; ++granted) {
        writeSensors({SensorText("old")});
        ASSERT_TRUE(initialize());
        writeSensors({SensorText("new"), SensorText("newer")});
        bool isRead = false;
        {
            const FailingAllocation once(granted, 1);
            isRead = initialize();
            refused = once.refused();
        }
        if (isRead)
            EXPECT_EQ(ids(), std::vector<std::string>({"new", "newer"}));
        else
            left.insert(ids());
        for (const auto& sensor : sensors()) EXPECT_EQ(FACE::textOf(sensor.sensorType), "VAPNTC_SENSOR_TYPE_GPS");
    }
    // Before the first row was read the list is as it was; from then on it is what was read.
    EXPECT_TRUE(left.contains({"old"}));
    EXPECT_TRUE(left.contains({"new"}));
    left.erase({"new", "newer"});
    left.erase({"newer"});
    left.erase(std::vector<std::string>{});
    EXPECT_EQ(left.size(), 2u);
}

TEST_F(BitConfigureTest, AListForWhichThereIsNoMemoryIsNotGivenInPart)
{
    writeSensors(
        {SensorText("GPS with a name that is too long for a short text", "0x27, and some more that is not read")
             .set("HasOtherSensorType", "true")
             .set("OtherSensorType", "one that is too long for a short text")});
    ASSERT_TRUE(initialize());
    for (std::size_t granted = 0, refused = 1; refused > 0; ++granted) {
        std::vector<OrvaneBitResults::SensorServer> list;
        bool isGiven = true;
        {
            const FailingAllocation once(granted, 1);
            try {
                results.getBitSensorServers(list);
            } catch (const std::bad_alloc&) {
                isGiven = false;
            }
            refused = once.refused();
        }
        EXPECT_EQ(isGiven, refused == 0) << granted;
    }
}

TEST_F(BitConfigureTest, SixtySensorsAreAllKept)
{
    writeSensors(manySensors(60));
    start();
    EXPECT_EQ(sensors().size(), 60u);
    execute();
    cycle();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_THAT(commands[0], testing::StartsWith("REQUEST_CBIT,100,101,102,"));
    EXPECT_THAT(commands[0], testing::EndsWith(",158,159"));
    EXPECT_EQ(std::count(commands[0].begin(), commands[0].end(), ','), 60);
}

TEST_F(BitConfigureTest, DebugDumpsEachSensorAndTheCounts)
{
    writeSensors({SensorText("a"), SensorText("b").set("HasComponentConfigurationId", "false")});
    EXPECT_TRUE(initialize(25, true));
    EXPECT_EQ(console.text(),
              "numberOfSensors =  1\n<OrvaneBitResults::server>\nsensorId: a\nsensorType: VAPNTC_SENSOR_TYPE_GPS\n"
              "sensorTypeEnum: 0\notherSensorType: \nhasOtherSensorType: false\ncomponentConfigurationId: 0x27\n"
              "componentConfigurationIdNumber: 39\nhasComponentConfigurationId: true\nenabled: true\n"
              "numberOfSensors =  2\n<OrvaneBitResults::server>\nsensorId: b\nsensorType: VAPNTC_SENSOR_TYPE_GPS\n"
              "sensorTypeEnum: 0\notherSensorType: \nhasOtherSensorType: false\ncomponentConfigurationId: 0x27\n"
              "componentConfigurationIdNumber: 0\nhasComponentConfigurationId: false\nenabled: true\n"
              "m_serverCount =  2\n");
}

TEST(BitSensorTypeTest, TableHasTheTypesByText)
{
    const std::map<std::string, VapntcSensorType> expected = {{"VAPNTC_SENSOR_TYPE_INVALID", -1},
                                                              {"VAPNTC_SENSOR_TYPE_GPS", 0},
                                                              {"VAPNTC_SENSOR_TYPE_BEIDOU_GNSS", 1},
                                                              {"VAPNTC_SENSOR_TYPE_GALILEO_GNSS", 2},
                                                              {"VAPNTC_SENSOR_TYPE_GLONASS_GNSS", 3},
                                                              {"VAPNTC_SENSOR_TYPE_IRNSS_GNSS", 4},
                                                              {"VAPNTC_SENSOR_TYPE_QZSS_GNSS", 5},
                                                              {"VAPNTC_SENSOR_TYPE_ALTNAV", 6},
                                                              {"VAPNTC_SENSOR_TYPE_INERTIAL", 7},
                                                              {"VAPNTC_SENSOR_TYPE_SPEED_SENSOR", 8},
                                                              {"VAPNTC_SENSOR_TYPE_PRECISION_TIME_SOURCE", 9},
                                                              {"VAPNTC_SENSOR_TYPE_OPTICAL", 10},
                                                              {"VAPNTC_SENSOR_TYPE_MAGNETIC", 11},
                                                              {"VAPNTC_SENSOR_TYPE_RADAR", 12},
                                                              {"VAPNTC_SENSOR_TYPE_RADIO", 13},
                                                              {"VAPNTC_SENSOR_TYPE_STEP_BASED_NAVIGATION", 14},
                                                              {"VAPNTC_SENSOR_TYPE_PRESSURE_BASED_NAVIGATION", 15},
                                                              {"VAPNTC_SENSOR_TYPE_CELESTIAL_NAVIGATION", 16},
                                                              {"VAPNTC_SENSOR_TYPE_SIGNALS_OF_OPPORTUNITY_RADIO", 17},
                                                              {"VAPNTC_SENSOR_TYPE_ENHANCED_LONG_RANGE_NAVIGATION", 18},
                                                              {"VAPNTC_SENSOR_TYPE_OTHER", 19}};
    EXPECT_EQ(MapSensorStringToSensorTypeEnum, expected);
}

TEST(BitSensorFileTest, ShippedPathIsFixed)
{
    VictoryRecorder victory;
    OrvaneBitResults results;
    while (!BitResultsTest::events().empty()) {
    }
    results.Initialize("Halvex", 25, false);
    EXPECT_STREQ(OrvaneBitResults::kSensorFile, "/opt/halvex/config/HX_Sensor_Data.xml");
    if (!std::filesystem::exists(OrvaneBitResults::kSensorFile)) {
        EXPECT_THAT(BitResultsTest::events(), ElementsAre("3:Halvex: Could not initialize configuration file: "
                                                          "/opt/halvex/config/HX_Sensor_Data.xml INVALID_CONFIG"));
    }
}
