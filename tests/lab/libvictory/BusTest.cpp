#include "tests/lab/libvictory/BusClient.h"
#include "tests/lab/libvictory/Program.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <thread>

using Json = BusClient::Json;

namespace {

template <std::size_t Size>
void copy(char (&field)[Size], const std::string& text)
{
    std::memcpy(field, text.data(), std::min(text.size(), Size));
}

Json nextTell(BusClient& client, const std::string& name)
{
    return client.nextWith("tell", name);
}

}  // namespace

TEST(BusTest, BlendedNavigationIsShownByNameAndUnit)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcBlendedNavigationRecord record{};
    record.gpsSeconds = 302400.25;
    record.angleDegrees = -12.5;
    record.secondReceiverStatus = 1;
    record.fom = 3;
    record.assuranceConfidence = 0.95;
    record.sources[0] = {14, 0, 0, "ALTNAV_TIME", 1};
    record.sources[1].sourceType = 3;
    record.sourceCount = 2;
    record.gpsAvailability = VAPNTC_GPS_NOT_AVAILABLE;
    record.timeError = 1.5;
    record.horizontalPositionError = 2.5;
    record.horizontalVelocityError = 0.25;
    record.attitudeError = 0.125;
    record.attitudeErrorValid = 1;
    const VapntcTime time{2024, 2, 29, 0, 23, 59, 58, 250000000};
    EXPECT_EQ(vapntsTellBlendedNavigationData(program.service(), record, &time), 0);

    const Json line = nextTell(client, "blended-navigation");
    EXPECT_EQ(line["type"], "tell");
    EXPECT_EQ(
        line["timeOfValidity"],
        Json::parse(R"({"year":2024,"month":2,"day":29,"hour":23,"minute":59,"seconds":58,"nanoseconds":250000000})"));
    const Json& shown = line["record"];
    EXPECT_EQ(shown["gpsSeconds"], 302400.25);
    EXPECT_EQ(shown["angleDegrees"], -12.5);
    EXPECT_EQ(shown["secondReceiverStatus"], 1);
    EXPECT_EQ(shown["fom"], 3);
    EXPECT_EQ(shown["assuranceConfidence"], 0.95);
    EXPECT_EQ(shown["sources"], Json::parse(R"([{"sourceType":14,"description":"ALTNAV_TIME","descriptionValid":1},
                                               {"sourceType":3,"description":"","descriptionValid":0}])"));
    EXPECT_EQ(shown["gpsAvailability"], 2);
    EXPECT_EQ(shown["timeError_ms"], 1.5);
    EXPECT_EQ(shown["horizontalPositionError_m"], 2.5);
    EXPECT_EQ(shown["horizontalVelocityError_m_per_s"], 0.25);
    EXPECT_EQ(shown["attitudeError_deg"], 0.125);
    EXPECT_EQ(shown["attitudeErrorValid"], 1);
    EXPECT_FALSE(shown.contains("reservedNotZero"));
}

TEST(BusTest, ThreatsAreShownByNameAndUnit)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcNavWarSaRecord record{};
    record.threatsPresent = 1;
    record.threats[0].reportKind = VAPNTC_NAVWAR_SA_KIND_LINE_OF_BEARING;
    record.threats[0].time = {2024, 2, 29, 0, 1, 2, 3, 4};
    copy(record.threats[0].sensorName, "TARVO-100");
    record.threats[0].azimuth = 1.5;
    record.threats[0].azimuthConfidence = 75;
    record.threats[0].centreFrequency = 1.57542e9;
    record.threatCount = 1;
    EXPECT_EQ(vapntsTellNavWarSaData(program.service(), record, nullptr), 0);

    const Json line = nextTell(client, "navwar-sa");
    EXPECT_EQ(line["timeOfValidity"], nullptr);
    EXPECT_EQ(line["record"]["threatCount"], 1);
    const Json& threat = line["record"]["threats"].at(0);
    EXPECT_EQ(threat["reportKind"], 2);
    EXPECT_EQ(threat["time"]["nanoseconds"], 4);
    EXPECT_EQ(threat["sensorName"], "TARVO-100");
    EXPECT_EQ(threat["azimuth_rad"], 1.5);
    EXPECT_EQ(threat["azimuthConfidence_percent"], 75.0);
    EXPECT_EQ(threat["centreFrequency_Hz"], 1.57542e9);
}

TEST(BusTest, WarningsAreShown)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcWarningMessagesRecord record{};
    record.gpsSeconds = 5.5;
    record.warnings[0].warningId = VAPNTC_WARNING_CUSTOM;
    copy(record.warnings[0].customText, "HELLO");
    record.warnings[0].customTextValid = 1;
    record.warningCount = 1;
    EXPECT_EQ(vapntsTellWarningMessagesData(program.service(), record, nullptr), 0);
    EXPECT_EQ(nextTell(client, "warning-messages")["record"],
              Json::parse(R"({"gpsSeconds":5.5,"warnings":[{"warningId":75,"customText":"HELLO","customTextValid":1}],
                              "warningCount":1})"));
}

TEST(BusTest, ConfigurationIsShown)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcSystemConfiguration configuration{};
    copy(configuration.systemName, "Kolt Gen II");
    copy(configuration.manufacturerCode, "9XQ27");
    configuration.manufacturerCodePresent = 1;
    copy(configuration.components[0].componentId, "0x35");
    copy(configuration.components[0].hardware, "HW");
    configuration.components[0].hardwarePresent = 1;
    configuration.componentCount = 1;
    EXPECT_EQ(vapntsTellSystemConfiguration(program.service(), configuration), 0);
    const Json shown = nextTell(client, "system-configuration")["record"];
    EXPECT_EQ(shown["systemName"], "Kolt Gen II");
    EXPECT_EQ(shown["manufacturerCode"], "9XQ27");
    EXPECT_EQ(shown["components"], Json::parse(R"([{"componentId":"0x35","name":"","serialNumber":"","software":"",
              "softwarePresent":0,"hardware":"HW","hardwarePresent":1}])"));
}

TEST(BusTest, OutputsAndSensorsAreShown)
{
    const Program program;
    BusClient client(program.busPath());
    EXPECT_EQ(vapntsTellAvailableOutputs(program.service(), {{0, 1, 2, 3, 5}, 5}), 0);
    EXPECT_EQ(nextTell(client, "available-outputs")["record"],
              Json::parse(R"({"outputs":[0,1,2,3,5],"outputCount":5})"));
    VapntcAvailableSensors sensors{};
    copy(sensors.sensors[0].sensorId, "GPS-1");
    sensors.sensors[0].sensorType = VAPNTC_SENSOR_TYPE_INVALID;
    sensors.sensors[0].enabled = 1;
    sensors.sensorCount = 1;
    EXPECT_EQ(vapntsTellAvailableSensors(program.service(), sensors), 0);
    const Json shown = nextTell(client, "available-sensors")["record"]["sensors"].at(0);
    EXPECT_EQ(shown["sensorId"], "GPS-1");
    EXPECT_EQ(shown["sensorType"], -1);
    EXPECT_EQ(shown["enabled"], 1);
}

TEST(BusTest, ResultsOfBuiltInTestsAreShown)
{
    const Program program;
    BusClient client(program.busPath());
    const auto results = std::make_unique<VapntcBitResults>();
    copy(results->results[0].builtInTestId, "0");
    results->results[0].status = VAPNTC_BIT_STATUS_PASSED;
    copy(results->results[0].sensors[0].sensorId, "GPS-1");
    results->results[0].sensorCount = 1;
    results->results[0].startTime.year = 2024;
    results->resultCount = 1;
    EXPECT_EQ(vapntsTellGetBuiltInTestResults(program.service(), *results), 0);
    const Json shown = nextTell(client, "built-in-test-results")["record"]["results"].at(0);
    EXPECT_EQ(shown["builtInTestId"], "0");
    EXPECT_EQ(shown["status"], 3);
    EXPECT_EQ(shown["sensors"], Json::parse(R"([{"sensorId":"GPS-1","status":0,"text":"","textPresent":0}])"));
    EXPECT_EQ(shown["startTime"]["year"], 2024);
}

TEST(BusTest, CountIsShownAsToldAndNoRowBeyondTheRecordIs)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcAvailableOutputs outputs{};
    for (const auto& [count, rows] :
         {std::pair{-1, 0U}, {50, 50U}, {51, 50U}, {std::numeric_limits<int>::max(), 50U}}) {
        outputs.outputCount = count;
        vapntsTellAvailableOutputs(program.service(), outputs);
        const Json shown = nextTell(client, "available-outputs")["record"];
        EXPECT_EQ(shown["outputCount"], count);
        EXPECT_EQ(shown["outputs"].size(), rows);
    }
    VapntcNavWarSaRecord record{};
    record.threatCount = 4294967295U;
    vapntsTellNavWarSaData(program.service(), record, nullptr);
    EXPECT_EQ(nextTell(client, "navwar-sa")["record"]["threats"].size(), 0U);
}

TEST(BusTest, ReservedMembersThatAreNotZeroAreShownByTheirOffset)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcBlendedNavigationRecord record{};
    record.reserved13676[195] = 1;
    record.reserved14020 = 1;
    record.sources[0].reserved8 = 1;
    record.sourceCount = 1;
    vapntsTellBlendedNavigationData(program.service(), record, nullptr);
    const Json shown = nextTell(client, "blended-navigation")["record"];
    EXPECT_EQ(shown["reservedNotZero"], Json::array({13676, 14020}));
    EXPECT_EQ(shown["sources"][0]["reservedNotZero"], Json::array({8}));
}

TEST(BusTest, NumbersThatAreNotFiniteAndBytesThatAreNoTextMakeGoodLines)
{
    const Program program;
    BusClient client(program.busPath());
    VapntcBlendedNavigationRecord record{};
    record.timeError = std::numeric_limits<double>::quiet_NaN();
    record.attitudeError = -std::numeric_limits<double>::infinity();
    copy(record.sources[0].description, std::string(256, '\xFF'));
    record.sourceCount = 1;
    vapntsTellBlendedNavigationData(program.service(), record, nullptr);
    const Json shown = nextTell(client, "blended-navigation")["record"];
    EXPECT_EQ(shown["timeError_ms"], "nan");
    EXPECT_EQ(shown["attitudeError_deg"], "-inf");
    EXPECT_EQ(shown["sources"][0]["description"].get<std::string>().substr(0, 3), "\xEF\xBF\xBD");
}

TEST(BusTest, LateClientGetsTheLastValues)
{
    const Program program;
    vapntsTellClearSystemData(program.service(), 4);
    vapntsTellClearBuiltInTestResults(program.service(), 1);
    vapntsTellClearSystemData(program.service(), 5);
    BusClient client(program.busPath());
    EXPECT_EQ(client.next(), Json::parse(R"({"type":"hello","bus":"lab","protocol":1})"));
    EXPECT_EQ(client.next()["event"], "created");
    EXPECT_EQ(client.next()["tell"], "clear-built-in-test-results");
    const Json last = client.next();
    EXPECT_EQ(last["result"], 5);
    EXPECT_EQ(last["last"], true);
    vapntsTellClearSystemData(program.service(), 6);
    const Json live = client.next();
    EXPECT_EQ(live["result"], 6);
    EXPECT_FALSE(live.contains("last"));
    EXPECT_EQ(live["number"], last["number"].get<int>() + 1);
}

TEST(BusTest, LastRecordIsGivenWithItsBytes)
{
    const Program program;
    VapntcAvailableOutputs outputs{{258}, 1};
    vapntsTellAvailableOutputs(program.service(), outputs);
    BusClient client(program.busPath());
    const Json answer = client.ask({{"request", "last"}, {"name", "available-outputs"}, {"raw", true}});
    ASSERT_EQ(answer["publications"].size(), 1U);
    const std::string raw = answer["publications"][0]["raw"];
    EXPECT_EQ(raw.size(), 408U);
    EXPECT_EQ(raw.substr(0, 12), "020100000000");
    EXPECT_EQ(raw.substr(400), "01000000");
    EXPECT_EQ(client.ask({{"request", "last"}, {"name", "navwar-sa"}})["publications"], Json::array());
    EXPECT_EQ(client.ask({{"request", "last"}})["publications"].size(), 2U);  // the service's state too
}

TEST(BusTest, FullestRecordReachesAClientWithItsBytes)
{
    const Program program;
    const auto results = std::make_unique<VapntcBitResults>();
    std::memset(results.get(), 'x', sizeof *results);
    results->resultCount = 50;
    for (VapntcBitResult& result : results->results) result.sensorCount = 50;
    ASSERT_EQ(vapntsTellGetBuiltInTestResults(program.service(), *results), 0);
    BusClient client(program.busPath());
    const Json answer = client.ask({{"request", "last"}, {"name", "built-in-test-results"}, {"raw", true}});
    ASSERT_EQ(answer["publications"].size(), 1U);
    EXPECT_EQ(answer["publications"][0]["raw"].get<std::string>().size(), 2656008U);
    EXPECT_EQ(answer["publications"][0]["record"]["results"][49]["sensors"][49]["text"], std::string(256, 'x'));
}

TEST(BusTest, EveryClientGetsEveryPublicationInOrder)
{
    const Program program;
    BusClient first(program.busPath());
    BusClient second(program.busPath());
    first.nextWith("type", "service");
    second.nextWith("type", "service");
    for (int result = 0; result < 100; ++result) vapntsTellClearSystemData(program.service(), result);
    for (int result = 0; result < 100; ++result) {
        EXPECT_EQ(first.next()["result"], result);
        EXPECT_EQ(second.next()["result"], result);
    }
}

TEST(BusTest, ClientThatNeverReadsDelaysNobodyAndLosesTheOldest)
{
    const Program program;
    BusClient lazy(program.busPath());
    BusClient eager(program.busPath());
    lazy.nextWith("type", "service");
    VapntcSystemConfiguration configuration{};
    std::memset(configuration.components, 'x', sizeof configuration.components);
    configuration.componentCount = 50;
    for (int tell = 0; tell < 160; ++tell) {  // 11 MB: to parse all of it takes minutes under a sanitizer
        ASSERT_EQ(vapntsTellSystemConfiguration(program.service(), configuration), 0);
        while (eager.nextLine().find("\"componentCount\":50") == std::string::npos) {
        }
    }
    vapntsTellClearSystemData(program.service(), 99);
    std::string line;
    do line = lazy.nextLine();
    while (line.find("\"dropped\"") == std::string::npos);
    const Json dropped = Json::parse(line);
    EXPECT_GT(dropped["lines"], 10);
    EXPECT_LT(dropped["lines"], 60);
    EXPECT_EQ(nextTell(lazy, "clear-system-data")["result"], 99);
}

TEST(BusTest, ClientsThatGoInTheMiddleDisturbNobody)
{
    const Program program;
    BusClient stays(program.busPath());
    stays.nextWith("type", "hello");
    for (int round = 0; round < 50; ++round) {
        const BusClient goes(program.busPath());
        goes.sendRaw("{\"request\":\"last\"}\n{\"request\":\"he");
        vapntsTellClearSystemData(program.service(), round);
    }
    for (int round = 0; round < 50; ++round) EXPECT_EQ(nextTell(stays, "clear-system-data")["result"], round);
}

TEST(BusTest, ClientThatHasSentAllStillGetsItsAnswer)
{
    const Program program;
    BusClient client(program.busPath());
    client.send({{"request", "status"}});
    client.endSending();
    EXPECT_EQ(client.nextWith("type", "answer")["ok"], true);
}

TEST(BusTest, SeventeenthClientIsRefusedUntilOneGoes)
{
    const Program program;
    std::list<BusClient> clients;
    for (int client = 0; client < 16; ++client) {
        clients.emplace_back(program.busPath());
        EXPECT_EQ(clients.back().next()["type"], "hello");
    }
    EXPECT_EQ(BusClient(program.busPath()).next()["error"], "too many clients");
    clients.pop_front();
    EXPECT_TRUE(eventually([&] { return BusClient(program.busPath()).next()["type"] == "hello"; }));
}

TEST(BusTest, BusStaysWhileServicesComeAndGo)
{
    Program program;
    BusClient client(program.busPath());
    program.end();
    EXPECT_EQ(client.nextWith("event", "deleted")["phase"], "stopped");
    VapntsService* const next = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str());
    EXPECT_EQ(client.nextWith("event", "created")["phase"], "new");
    vapntsTellClearSystemData(next, 1);
    EXPECT_EQ(nextTell(client, "clear-system-data")["result"], 1);
    vapntsDeleteService(next);
}

TEST(BusTest, WithoutTheEnvironmentThereIsNoBus)
{
    const Program program;
    ::unsetenv("ORVANE_LAB_BUS");
    VapntsService* const service = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str());
    EXPECT_EQ(vapntsTellClearSystemData(service, 0), 0);
    vapntsDeleteService(service);
    EXPECT_FALSE(std::filesystem::exists(program.busPath()));
}

TEST(BusTest, SocketThatNobodyServesIsReplaced)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "bus";
    {
        const int left = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(left, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::close(left);
    }
    ::setenv("ORVANE_LAB_BUS", path.c_str(), 1);
    VapntsService* const service = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str());
    EXPECT_EQ(BusClient(path).next()["type"], "hello");
    vapntsDeleteService(service);
}

TEST(BusTest, PathThatCannotBeUsedLeavesTheServiceWithoutABus)
{
    const TemporaryDirectory directory;
    for (const std::string& path : {directory.write("file", "content"), std::string(108, 'x')}) {
        ::setenv("ORVANE_LAB_BUS", path.c_str(), 1);
        const DescriptorCapture errors(2);
        VapntsService* const service = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str());
        EXPECT_EQ(errors.text().substr(0, 36), "libvictory: cannot open the bus at " + path.substr(0, 1));
        EXPECT_EQ(vapntsTellClearSystemData(service, 0), 0);
        vapntsDeleteService(service);
    }
    EXPECT_EQ(readFile(directory.path() / "file"), "content");
}

TEST(BusTest, ProgramThatEndsTakesItsSocketAway)
{
    const TemporaryDirectory directory;
    const std::string path = directory.path() / "bus";
    EXPECT_EXIT(
        {
            ::setenv("ORVANE_LAB_BUS", path.c_str(), 1);
            const bool made = vapntsNewService(kConfiguration, vclWith("1000", "1000").c_str()) != nullptr;
            std::exit(made && BusClient(path).next()["type"] == "hello" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_FALSE(std::filesystem::exists(path));
}
