#include "aspn2_msgs/BitReport.h"
#include "tests/support/Desk.h"
#include "tests/support/Partners.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Json = Bus::Json;
using aspn2_msgs::idl::BitReport;

namespace {

constexpr const char* kCommand = "REQUEST_CBIT,39,38,47,41,37,114";  // the sensors of the sample configuration
constexpr int kFault = 3;
constexpr int kFailure = 4;

BitReport reportOf(bool passed)
{
    BitReport report;
    report.bit_rollup(passed);
    return report;
}

void addComponent(BitReport& report, std::int32_t server, bool communicated = true, bool error = false,
                  bool critical = false)
{
    aspn2_msgs::idl::bit_comp_set component;
    component.server_id(server);
    component.has_communicated(communicated);
    component.error_received(error);
    component.critical_received(critical);
    report.bit_components().push_back(component);
}

using Sensors = std::vector<std::pair<std::string, int>>;

Sensors sensorsOf(const Json& result)
{
    Sensors sensors;
    for (const Json& sensor : result.at("sensors")) sensors.emplace_back(sensor.at("sensorId"), sensor.at("status"));
    return sensors;
}

using Tests = std::vector<std::pair<std::string, int>>;

/// A service whose self test is complete, and the partner that runs its tests.
struct BuiltInTestSystemTest : testing::Test {
    void begin()
    {
        desk.run();
        bus.emplace();
        ASSERT_TRUE(partners.waitForService());
        desk.completeSelfTest();
        ASSERT_TRUE(eventually([&] { return bus->request({{"request", "bit-results"}}).at("ok") == true; }));
        bus->awaitTell("built-in-test-results");
    }

    /// Asks for a test, and tells its id: empty if it was not taken.
    std::string ask()
    {
        bus->request({{"request", "bit-run"}});
        return bus->awaitTell("execute-built-in-tests").at("id");
    }

    Json results(Json request = Json::object())
    {
        request["request"] = "bit-results";
        EXPECT_TRUE(bus->request(request).at("ok"));
        return bus->awaitTell("built-in-test-results").at("record").at("results");
    }

    /// The records that there are: id and status.
    Tests tests()
    {
        Tests tests;
        for (const Json& row : results()) tests.emplace_back(row.at("builtInTestId"), row.at("status"));
        return tests;
    }

    bool awaitTests(const Tests& wanted)
    {
        return eventually([&] { return tests() == wanted; });
    }

    int clear(Json request = Json::object())
    {
        request["request"] = "bit-clear";
        EXPECT_TRUE(bus->request(request).at("ok"));
        return bus->awaitTell("clear-built-in-test-results").at("cleared");
    }

    /// Runs a test to its end.
    void runWhole(std::size_t count)
    {
        ask();
        ASSERT_TRUE(partners.awaitCommand(kCommand, count));
        partners.report(reportOf(true));
        ASSERT_TRUE(eventually([&] { return tests().back().second == 3; }));
    }

    Desk desk;
    Partners partners{desk};
    std::optional<Bus> bus;
};

/// Names 60 sensors, S0 to S59, of servers that are numbered from one on.
void writeSixtySensors(int firstServer)
{
    std::ofstream file("/opt/halvex/config/HX_Sensor_Data.xml");
    file << "<HX_Configurations>\n";
    for (int i = 0; i < 60; ++i)
        file << "<Sensor><Name>N" << i << "</Name><Parameters><SensorId>S" << i
             << "</SensorId><Enabled>true</Enabled><SensorType>VAPNTC_SENSOR_TYPE_GPS</SensorType>"
                "<HasOtherSensorType>false</HasOtherSensorType><ComponentConfigurationId>"
             << std::hex << firstServer + i << std::dec
             << "</ComponentConfigurationId><HasComponentConfigurationId>true</HasComponentConfigurationId>"
                "</Parameters></Sensor>\n";
    file << "</HX_Configurations>\n";
}

}  // namespace

TEST_F(BuiltInTestSystemTest, ReportPassesATestWithOneOfItsSensorsFailed)
{
    begin();
    EXPECT_EQ(ask(), "0");
    ASSERT_TRUE(partners.awaitCommand(kCommand));
    EXPECT_EQ(tests(), (Tests{{"0", 1}}));
    EXPECT_EQ(clear({{"ids", {"0"}}}), 0);  // it runs

    BitReport report = reportOf(true);
    addComponent(report, 39);
    addComponent(report, 41, true, true);
    addComponent(report, 99);
    addComponent(report, 114, false);
    addComponent(report, 38, true, false, true);
    partners.report(report);
    ASSERT_TRUE(awaitTests({{"0", 3}}));
    const Json result = results().at(0);
    EXPECT_EQ(result.at("resultCode"), 3);
    EXPECT_EQ(result.at("name"), "Halvex");
    EXPECT_EQ(sensorsOf(result), (Sensors{{"GPS-1", 3}, {"WHEEL-1", 2}, {"CRPA-1", 2}, {"ALTNAV-1", 2}}));
}

TEST_F(BuiltInTestSystemTest, ReportOfAnotherTopicClosesNoTest)
{
    begin();
    ask();
    ASSERT_TRUE(partners.awaitCommand(kCommand));
    partners.report(reportOf(true), deviceId(32));
    partners.report(reportOf(false));  // behind it, by the same road
    EXPECT_TRUE(eventually([&] { return tests() != Tests{{"0", 1}}; }));
    EXPECT_EQ(tests(), (Tests{{"0", 2}}));
}

TEST_F(BuiltInTestSystemTest, TestsRunOneAtATimeInTheOrderOfTheirIds)
{
    begin();
    EXPECT_EQ(ask(), "0");
    EXPECT_EQ(ask(), "1");
    EXPECT_EQ(ask(), "2");
    ASSERT_TRUE(partners.awaitCommand(kCommand));
    EXPECT_EQ(tests(), (Tests{{"0", 1}, {"1", 0}, {"2", 0}}));
    partners.report(reportOf(true));
    ASSERT_TRUE(partners.awaitCommand(kCommand, 2));
    EXPECT_EQ(tests(), (Tests{{"0", 3}, {"1", 1}, {"2", 0}}));
    EXPECT_EQ(clear(), 1);  // but for those that aren't finished
    EXPECT_EQ(tests(), (Tests{{"1", 1}, {"2", 0}}));
    partners.report(reportOf(false));
    ASSERT_TRUE(partners.awaitCommand(kCommand, 3));
    EXPECT_EQ(tests(), (Tests{{"1", 2}, {"2", 1}}));
}

TEST_F(BuiltInTestSystemTest, TestWithoutAReportFailsAtItsLimitAndTheNextOneRuns)
{
    desk.set("PARAM_9", "6");
    begin();
    ask();
    ask();
    ASSERT_TRUE(partners.awaitCommand(kCommand, 2));
    EXPECT_EQ(partners.typeOfEvent("OrvaneBitResults: Timeout "), kFailure);
    EXPECT_EQ(tests(), (Tests{{"0", 2}, {"1", 1}}));
    EXPECT_EQ(results().at(0).at("resultCode"), 2);
    partners.report(reportOf(true));
    ASSERT_TRUE(awaitTests({{"0", 2}, {"1", 3}}));
    partners.report(reportOf(true));  // too late for either
    EXPECT_EQ(clear({{"ids", {"0", "1"}}}), 1);
    EXPECT_EQ(tests(), Tests());
}

TEST_F(BuiltInTestSystemTest, OfSixtySensorsAllAreTestedAndFiftyAreTold)
{
    writeSixtySensors(10'000);
    begin();
    const Json sensors = Bus().awaitTell("available-sensors").at("record").at("sensors");
    ASSERT_EQ(sensors.size(), 50U);
    EXPECT_EQ(sensors[49].at("sensorId"), "S49");

    std::string command = "REQUEST_CBIT";
    BitReport report = reportOf(true);
    for (int server = 10'000; server < 10'060; ++server) {
        command += "," + std::to_string(server);
        addComponent(report, server);
    }
    ask();
    ASSERT_TRUE(partners.awaitCommand(command));  // of 372 characters
    partners.report(report);
    ASSERT_TRUE(awaitTests({{"0", 3}}));
    const Sensors told = sensorsOf(results().at(0));
    ASSERT_EQ(told.size(), 50U);
    EXPECT_EQ(told[49], (std::pair<std::string, int>{"S49", 3}));
    EXPECT_EQ(partners.typeOfEvent("more than 50 sensor results for test Id 0. The rest is dropped."), kFault);
    EXPECT_EQ(ask(), "1");
}

TEST_F(BuiltInTestSystemTest, FiftyFirstTestIsNotTaken)
{
    begin();
    for (int id = 0; id < 50; ++id) ASSERT_EQ(ask(), std::to_string(id));
    bus->request({{"request", "bit-run"}});
    const Json refused = bus->awaitTell("execute-built-in-tests");
    EXPECT_EQ(refused.at("id"), "");
    EXPECT_EQ(refused.at("expectedSeconds"), 0.0);
    EXPECT_EQ(partners.typeOfEvent("no room for another built-in test"), kFault);
    EXPECT_EQ(results().size(), 50U);
}

TEST_F(BuiltInTestSystemTest, CountsOfRequestsAreTakenWithinTheirList)
{
    begin();
    runWhole(1);
    runWhole(2);
    std::vector<std::string> ids;
    for (int i = 0; i < 50; ++i) ids.push_back(i == 49 ? "1" : std::to_string(100 + i));

    EXPECT_EQ(results({{"ids", ids}, {"count", -1}}).size(), 2U);  // as none: all that there are
    for (const int count : {50, 51, 1000}) {
        const Json rows = results({{"ids", ids}, {"count", count}});
        ASSERT_EQ(rows.size(), 50U) << count;
        EXPECT_EQ(rows[0].at("builtInTestId"), "100");
        EXPECT_EQ(rows[0].at("status"), 0);
        EXPECT_EQ(rows[49].at("builtInTestId"), "1");
        EXPECT_EQ(rows[49].at("status"), 3);
    }
    EXPECT_EQ(clear({{"ids", ids}, {"count", 1000}}), 0);  // those that there aren't
    EXPECT_EQ(tests(), (Tests{{"0", 3}}));
    EXPECT_EQ(clear({{"ids", ids}, {"count", 50}}), 0);
    EXPECT_EQ(clear({{"ids", ids}, {"count", 51}}), 0);
    EXPECT_EQ(tests(), (Tests{{"0", 3}}));
    EXPECT_EQ(clear({{"ids", ids}, {"count", -1}}), 1);
    EXPECT_EQ(tests(), Tests());
    EXPECT_EQ(partners.typeOfEvent("OrvaneBitResults: Warning request count, 1000 is taken as 50"), kFault);
    EXPECT_EQ(partners.typeOfEvent("OrvaneBitResults: Warning request count, -1 is taken as 0"), kFault);
}

TEST_F(BuiltInTestSystemTest, IdThatIsGivenTwiceReplacesTheFinishedRecord)
{
    begin();
    runWhole(1);
    runWhole(2);
    EXPECT_EQ(clear({{"ids", {"0"}}}), 1);
    EXPECT_EQ(ask(), "1");
    ASSERT_TRUE(partners.awaitCommand(kCommand, 3));
    EXPECT_EQ(tests(), (Tests{{"1", 1}}));
    partners.report(reportOf(false));
    EXPECT_TRUE(awaitTests({{"1", 2}}));
}

TEST_F(BuiltInTestSystemTest, RunningTestThatIsReplacedGivesWayAtItsLimit)
{
    desk.set("PARAM_9", "6");
    begin();
    runWhole(1);
    ask();
    ASSERT_TRUE(partners.awaitCommand(kCommand, 2));
    EXPECT_EQ(clear({{"ids", {"0"}}}), 1);
    EXPECT_EQ(ask(), "1");
    EXPECT_EQ(tests(), (Tests{{"1", 0}}));
    partners.report(reportOf(true));  // of the one that has been replaced
    ASSERT_TRUE(partners.awaitCommand(kCommand, 3));
    EXPECT_EQ(partners.typeOfEvent("OrvaneBitResults: Timeout "), kFailure);
    EXPECT_EQ(partners.events("OrvaneBitResults: Timeout "), 1U);
    EXPECT_EQ(tests(), (Tests{{"1", 1}}));
    partners.report(reportOf(true));
    EXPECT_TRUE(awaitTests({{"1", 3}}));
}
