#include "tests/support/Desk.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Json = Bus::Json;

namespace {

/// A running service, and unit-sim, which plays what the test asks for, from when the service runs.
struct PartnersSystemTest : testing::Test {
    void begin(const std::vector<std::string>& options)
    {
        desk.run();
        bus.emplace();
        std::vector<std::string> line = {ORVANE_UNIT_SIM, "--no-registers"};
        line.insert(line.end(), options.begin(), options.end());
        unit.emplace(line);
    }

    /// Waits until the part numbers of all components have been told.
    Json wholeConfiguration()
    {
        return bus
            ->awaitTell("system-configuration",
                        [](const Json& tell) { return tell.at("record").at("systemName") == "Kolt Gen II"; })
            .at("record");
    }

    /// The rows of the next publication of a name in which there are so many.
    Json rows(const std::string& name, const std::string& list, std::size_t count)
    {
        const auto isFull = [&](const Json& tell) { return tell.at("record").at(list).size() >= count; };
        return bus->awaitTell(name, isFull).at("record").at(list);
    }

    Desk desk;
    TemporaryDirectory directory;
    std::optional<ChildProcess> unit;
    std::optional<Bus> bus;
};

}  // namespace

TEST_F(PartnersSystemTest, ThreatReportIsToldAsNavWarAwareness)
{
    begin({"--topics", "none", "--threat",
           "jam az=181 el=-91 power=-71 center=1227.6 bw=1.5 confidence=50 + ended + no-bearing + bare az=10@0.2"});
    Json told = Json::array();  // a tell may fall between the two
    while (told.size() < 2)
        for (const Json& threat : rows("navwar-sa", "threats", 1)) told.push_back(threat);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].at("reportKind"), 2);
    EXPECT_EQ(told[0].at("sensorName"), "TARVO-100");
    EXPECT_EQ(told[0].at("bearingPresent"), 1);
    EXPECT_DOUBLE_EQ(told[0].at("azimuth_rad").get<double>(), -3.1415926535897931);  // folded by 361 degrees
    EXPECT_DOUBLE_EQ(told[0].at("elevation_rad").get<double>(), 1.5707963267948966);
    EXPECT_EQ(told[0].at("azimuthConfidence_percent"), 50.0);
    EXPECT_EQ(told[0].at("elevationConfidence_percent"), 50.0);
    EXPECT_EQ(told[0].at("centreFrequency_Hz"), 1'227'600'000.0);
    EXPECT_EQ(told[0].at("bandwidth_Hz"), 1'500'000.0);
    EXPECT_EQ(told[0].at("power"), -71.0);
    EXPECT_EQ(told[0].at("powerValid"), 1);

    EXPECT_DOUBLE_EQ(told[1].at("azimuth_rad").get<double>(), 0.17453292519943295);
    EXPECT_EQ(told[1].at("azimuthConfidenceValid"), 0);
    EXPECT_EQ(told[1].at("bandwidth_Hz"), 33'000'000.0);
    EXPECT_EQ(told[1].at("powerValid"), 0);
}

TEST_F(PartnersSystemTest, WarningsOfTheReceiverAreTold)
{
    begin({"--topics", "none", "--warn", "7 NOT TOLD@0.2", "--warn", "6 ANTENNA OPEN@0.3"});
    const Json told = rows("warning-messages", "warnings", 2);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].at("warningId"), 5);
    EXPECT_EQ(told[0].at("customText"), "");
    EXPECT_EQ(told[0].at("customTextValid"), 0);
    EXPECT_EQ(told[1].at("warningId"), 75);
    EXPECT_EQ(told[1].at("customText"), "ANTENNA OPEN");
    EXPECT_EQ(told[1].at("customTextValid"), 1);
}

TEST_F(PartnersSystemTest, ThreatsAndWarningsFlowBesideReportsOfTheReceiver)
{
    begin(
        {"--topics", "8504", "--rate", "50", "--threat", "bare az=1@0.2", "--warn", "7@1", "--threat", "bare az=2@2"});
    std::vector<double> azimuths;
    while (azimuths.size() < 2)
        for (const Json& threat : rows("navwar-sa", "threats", 1)) azimuths.push_back(threat.at("azimuth_rad"));
    EXPECT_EQ(azimuths.size(), 2U);
    EXPECT_DOUBLE_EQ(azimuths[0], 0.017453292519943295);
    EXPECT_DOUBLE_EQ(azimuths[1], 0.034906585039886591);
    EXPECT_EQ(rows("warning-messages", "warnings", 1).at(0).at("warningId"), 5);
}

TEST_F(PartnersSystemTest, FramesOfOtherServersAreNotTold)
{
    begin({"--topics", "none", "--server", "5044=41", "--server", "15051=39", "--warn", "7@0.2", "--threat",
           "bare az=1@0.4"});
    ASSERT_EQ(rows("navwar-sa", "threats", 1).size(), 1U);
    const Json warnings = bus->awaitTell("warning-messages").at("record").at("warnings");
    EXPECT_EQ(warnings, Json::array());
}

TEST_F(PartnersSystemTest, LossAndReturnOfGpsAreWarnedOf)
{
    const std::string scenario = directory.write("scenario", "at 0 gps-lost\nat 6 gps-back\n");
    begin({"--topics", "mis", "--rate", "20", "--scenario", scenario});
    const Json told = rows("warning-messages", "warnings", 2);
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0].at("warningId"), 67);
    EXPECT_EQ(told[1].at("warningId"), 68);
}

TEST_F(PartnersSystemTest, ComponentThatHasBeenSilentIsAskedAgain)
{
    // The first question is kept for a `unit-sim` that is found late.
    desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");
    const std::string scenario = directory.write("scenario", "at 5 speaking GPS\n");
    begin({"--topics", "none", "--post-after", "0", "--silent", "GPS", "--scenario", scenario});
    const Json whole = wholeConfiguration();
    EXPECT_EQ(whole.at("components").size(), 8U);
    EXPECT_NE(unit->output().find("command REQUEST_PARTNUMBERS: 6 answers"), std::string::npos);
    EXPECT_NE(unit->output().find("command REQUEST_PARTNUMBERS: 7 answers"), std::string::npos);
}

TEST_F(PartnersSystemTest, ResultThatComesAfterARefusalIsNotTold)
{
    begin({"--topics", "none", "--post-after", "0", "--answers", "nack,pass", "--erase-seconds", "0.2"});
    wholeConfiguration();
    EXPECT_EQ(bus->request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_TRUE(eventually([&] { return unit->output().find("answers SYSTEM_ZEROIZE_PASS") != std::string::npos; }));
    unit->send(SIGTERM);
    EXPECT_EQ(unit->wait(), (ChildProcess::Ending{0, 0}));
    // A client that comes now gets the past tell, one that may have been under way, and then what is told by now.
    Bus late;
    Json told;
    for (int tell = 0; tell < 3; ++tell) told = late.awaitTell("warning-messages").at("record").at("warnings");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].at("warningId"), 23);
}

TEST_F(PartnersSystemTest, ServerThatIsSilentFailsTheBuiltInTest)
{
    begin({"--topics", "none", "--post-after", "0", "--bit-fail", "39:silent,41:warning", "--bit-seconds", "0.2"});
    wholeConfiguration();
    bus->request({{"request", "bit-run"}});
    Json result;
    ASSERT_TRUE(eventually([&] {
        bus->request({{"request", "bit-results"}});
        result = bus->awaitTell("built-in-test-results").at("record").at("results").at(0);
        return result.at("status") == 2;
    }));
    std::map<std::string, int> sensors;
    for (const Json& sensor : result.at("sensors")) sensors[sensor.at("sensorId")] = sensor.at("status");
    EXPECT_EQ(sensors,
              (std::map<std::string, int>{
                  {"GPS-1", 2}, {"ALTNAV-1", 3}, {"IMU-1", 3}, {"WHEEL-1", 3}, {"CLOCK-1", 3}, {"CRPA-1", 3}}));
}
