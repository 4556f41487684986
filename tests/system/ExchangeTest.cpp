#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tests/support/Desk.h"
#include "tests/support/EventsSystemTest.h"
#include "tests/support/Inputs.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/system/WhatIsLeft.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using aspn2_msgs::idl::CommandResponse;
using aspn2_msgs::idl::MaintenanceEvent;
using Json = Bus::Json;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::Not;

namespace {

/// The rest of the unit is played by unit-sim, but for its navigation.
struct ExchangeSystemTest : testing::Test {
    /// Starts both, and waits until the unit has told its part numbers.
    void begin(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> line = {ORVANE_UNIT_SIM, "--topics", "none", "--post-after", "0"};
        line.insert(line.end(), options.begin(), options.end());
        unit.emplace(line);
        desk.run();
        bus.emplace();
        configuration =
            bus->awaitTell("system-configuration",
                           [](const Json& tell) { return tell.at("record").at("systemName") == "Kolt Gen II"; })
                .at("record");
    }

    /// The next warning with that number.
    Json warning(int id)
    {
        Json found;
        bus->awaitTell("warning-messages", [&](const Json& tell) {
            for (const Json& candidate : tell.at("record").at("warnings"))
                if (candidate.at("warningId") == id) found = candidate;
            return !found.is_null();
        });
        return found;
    }

    Desk desk;
    std::optional<ChildProcess> unit;
    std::optional<Bus> bus;
    Json configuration;
};

/// A service whose reports this test listens to.
struct ReportSystemTest : EventsSystemTest {
    /// Waits for an event, and tells its type. Those of faults and failures must begin with a place in the source, and
    /// no others.
    std::optional<int> typeOfEvent(const std::string& text)
    {
        std::optional<int> type;
        std::string found;
        eventually([&] {
            for (const auto& item : events->inbox().items())
                if (item.message.eventlog().find(text) != std::string::npos) {
                    type = static_cast<int>(item.message.event_log_type());
                    found = item.message.eventlog();
                }
            return type.has_value();
        });
        const auto isPlaced = ContainsRegex("^[A-Za-z]+\\.cpp\\[[0-9]+\\]:OrvaneServer");
        if (type >= 3)
            EXPECT_THAT(found, isPlaced);
        else
            EXPECT_THAT(found, Not(isPlaced));
        return type;
    }
};

}  // namespace

TEST_F(ExchangeSystemTest, PartNumbersAreCollectedUpToTheFinalName)
{
    begin();
    EXPECT_EQ(configuration.at("systemSerialNumber"), "N/A");
    EXPECT_EQ(configuration.at("manufacturerCode"), "9XQ27");
    std::vector<std::pair<std::string, std::string>> rows;
    for (const Json& row : configuration.at("components")) rows.emplace_back(row.at("componentId"), row.at("name"));
    using Row = std::pair<std::string, std::string>;
    EXPECT_THAT(rows, testing::UnorderedElementsAre(Row{"0x35", "Sarvent"}, Row{"0x35", "Halvex"}, Row{"0x27", "GPS"},
                                                    Row{"0x2f", "TARVOSW-PC"}, Row{"0x2f", "TARVOSW-KELP"},
                                                    Row{"0x2f", "TARVO"}, Row{"0x31", "PNT-Q"}, Row{"0x26", "ALTNAV"}));
    EXPECT_TRUE(bus->request({{"request", "system-configuration"}}).at("ok"));  // answered at once: all is there
}

TEST_F(ExchangeSystemTest, ClearDataRequestIsAcceptedAndEndsWithAWarning)
{
    begin({"--erase-seconds", "0.2"});
    const Json answer = bus->request({{"request", "clear-data"}});
    EXPECT_EQ(answer.at("returned"), 1);
    EXPECT_EQ(bus->awaitTell("clear-system-data").at("result"), 0);
    const Json passed = warning(22);
    EXPECT_EQ(passed.at("customText"),
              "OrvaneServer: Clear data complete for command, REQUEST_ZEROIZE. Result was SYSTEM_ZEROIZE_PASS");
    EXPECT_EQ(passed.at("customTextValid"), 1);
}

TEST_F(ExchangeSystemTest, ClearingOfAllIsADestroy)
{
    begin({"--erase-seconds", "0.2", "--answers", "fail"});
    EXPECT_EQ(bus->request({{"request", "clear-data"}, {"data", "all"}}).at("returned"), 1);
    EXPECT_EQ(warning(25).at("customText"),
              "OrvaneServer: Clear data complete for command, REQUEST_DESTROY. Result was SYSTEM_DESTROY_FAIL");
}

TEST_F(ExchangeSystemTest, RefusedClearDataRequestFailsAtOnce)
{
    begin({"--answers", "nack"});
    EXPECT_EQ(bus->request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_EQ(bus->awaitTell("clear-system-data").at("result"), 0);
    const std::string refused = "OrvaneServer: Received Nack. Clear data request command, REQUEST_ZEROIZE failed";
    EXPECT_EQ(warning(23).at("customText"), refused);
    EXPECT_EQ(bus->request({{"request", "clear-data"}}).at("returned"), 1);  // the next one is heard again
    const auto isBoth = [](const Json& tell) { return tell.at("record").at("warnings").size() >= 2; };
    const Json again = bus->awaitTell("warning-messages", isBoth).at("record").at("warnings").at(1);
    EXPECT_EQ(again.at("warningId"), 23);
    EXPECT_EQ(again.at("customText"), refused);
}

TEST_F(ExchangeSystemTest, KindsOfDataThatCantBeClearedAreWarnedOf)
{
    begin();
    bus->request({{"request", "clear-data"}, {"data", "crypto"}});
    const Json refused = warning(75);
    EXPECT_EQ(refused.at("customText"), "OrvaneServer: VAPNTC_SYSTEM_DATA_CRYPTO command is not supported from APNT.");
    EXPECT_EQ(refused.at("customTextValid"), 1);
}

TEST_F(ExchangeSystemTest, WhileDataAreClearedNothingElseIsCleared)
{
    desk.set("Debug", "true");
    begin({"--erase-seconds", "3600"});
    EXPECT_EQ(bus->request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_TRUE(desk.awaitOutput("Received Ack. Clear data command, REQUEST_ZEROIZE, in-progress\n"));
    EXPECT_EQ(bus->request({{"request", "clear-data"}, {"data", "all"}}).at("returned"), 1);
    EXPECT_TRUE(desk.awaitOutput("REQUEST_DESTROY ignored due to clear command, REQUEST_ZEROIZE, already started: "));
    EXPECT_EQ(unit->output().find("command REQUEST_DESTROY"), std::string::npos);
}

TEST_F(ExchangeSystemTest, WhileDataAreClearedNoVclIsSaved)
{
    const std::string path = "/opt/halvex/config/APNT_VCL_1_9.xml";
    const std::string old = readFile(path);
    begin({"--erase-seconds", "3600"});
    EXPECT_EQ(bus->request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_EQ(bus->request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned"), 1);
    EXPECT_EQ(readFile(path), old);
}

TEST_F(ExchangeSystemTest, BuiltInTestRunsAndItsResultsAreToldAndForgotten)
{
    begin({"--bit-seconds", "0.2", "--bit-fail", "41"});
    bus->request({{"request", "bit-run"}});
    const Json accepted = bus->awaitTell("execute-built-in-tests");
    EXPECT_EQ(accepted.at("id"), "0");
    EXPECT_EQ(accepted.at("expectedSeconds"), 25.0);

    Json result;
    ASSERT_TRUE(eventually([&] {
        bus->request({{"request", "bit-results"}, {"ids", {"0"}}});
        result = bus->awaitTell("built-in-test-results").at("record").at("results").at(0);
        return result.at("status") == 2;
    }));
    EXPECT_EQ(result.at("builtInTestId"), "0");
    EXPECT_EQ(result.at("resultCode"), 2);
    EXPECT_EQ(result.at("name"), "Halvex");
    std::vector<std::pair<std::string, int>> sensors;
    for (const Json& sensor : result.at("sensors")) sensors.emplace_back(sensor.at("sensorId"), sensor.at("status"));
    EXPECT_THAT(sensors, testing::Contains(std::pair<std::string, int>{"WHEEL-1", 2}));
    EXPECT_THAT(sensors, testing::Contains(std::pair<std::string, int>{"GPS-1", 3}));

    bus->request({{"request", "bit-clear"}, {"ids", {"0"}}});
    EXPECT_EQ(bus->awaitTell("clear-built-in-test-results").at("cleared"), 1);
    bus->request({{"request", "bit-clear"}, {"ids", {"0"}}});
    EXPECT_EQ(bus->awaitTell("clear-built-in-test-results").at("cleared"), 0);
}

TEST_F(ReportSystemTest, SoapFaultOfTheLibraryBecomesMaintenanceRecords)
{
    Subscriber<MaintenanceEvent> records(*transport, "MaintenanceEvent");
    desk.run();
    Bus bus;
    const std::string first = "0123456789: SOAP 1.2 fault SOAP-ENV:Sender (1)..";
    const std::string second = "the second piece of the text has so many letters";
    const Json print = {{"request", "print"}, {"text", first + second + "end"}, {"newline", false}};
    // What the service itself prints is no report: it would be the first.
    const Json ours = {{"request", "print"}, {"text", "our own SOAP 1.2 fault SOAP-ENV:Sender"}, {"stream", "cout"}};
    ASSERT_TRUE(bus.request(ours).at("ok"));
    ASSERT_TRUE(bus.request(print).at("ok"));
    ASSERT_TRUE(records.inbox().waitFor(3));
    const auto items = records.inbox().items();
    std::vector<std::string> texts;
    for (const auto& item : items) texts.emplace_back(item.message.description().data());
    EXPECT_THAT(texts, ElementsAre("SOAP_1:" + first, "SOAP_2:" + second, "SOAP_3:end"));
    const MaintenanceEvent& record = items[1].message;
    EXPECT_STREQ(record.identity().data(), "OrvaneServer");
    EXPECT_EQ(record.criticality_id(), 3);
    EXPECT_EQ(record.category_id(), 11);
    EXPECT_EQ(record.location_id(), 52);
    EXPECT_EQ(record.outcome_id(), 3);
    EXPECT_EQ(record.fault_sources()[0].lru_id(), 1);
    EXPECT_EQ(record.fault_sources()[0].component_id(), 1);
    EXPECT_EQ(record.header().seq_num(), 1);
    EXPECT_EQ(record.header().device_id(), 0x01343B00);
}

TEST_F(ReportSystemTest, ZeroizeRestartsTheLibraryWithTheLongestPeriod)
{
    Publisher<CommandResponse> commands(*transport, "Command");
    desk.run();
    Bus bus;
    ASSERT_TRUE(commands.waitForSubscriber());
    const std::string vcl = readFile("/opt/halvex/config/APNT_VCL_1_9.xml");
    const auto event = [](const char* name) {
        return [name](const Json& line) { return line.value("type", "") == "service" && line.at("event") == name; };
    };
    bus.await("the first service", event("started"));

    CommandResponse command;
    command.header().device_id(deviceId(53, 2));
    command.command_response("START_ZEROIZE");
    commands.send(command);
    bus.await("the end of the first service", event("deleted"));
    bus.await("the second service", event("started"));
    const Json cleared = bus.awaitTell("system-configuration").at("record");
    EXPECT_EQ(cleared.at("systemName"), "");
    EXPECT_EQ(cleared.at("manufacturerCodePresent"), 0);
    const Json groups = bus.request({{"request", "status"}}).at("groups");
    EXPECT_EQ(groups.at(0).at("period_ms"), 4294967295U);
    EXPECT_EQ(groups.at(1).at("period_ms"), 1000U);
    EXPECT_EQ(groups.at(2).at("period_ms"), 4294967295U);
    EXPECT_TRUE(desk.awaitOutput("updateVDMdataRate : Updating VDM rate to 4294967295 milliseconds.\n"));
    EXPECT_EQ(readFile("/opt/halvex/config/APNT_VCL_1_9.xml"), vcl);

    EXPECT_EQ(bus.request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_EQ(typeOfEvent("OrvaneServer: Sanitize in progress, not processing APNT clear system data command"), 3);
    EXPECT_EQ(bus.tells("clear-system-data"), 0U);
}

TEST_F(ReportSystemTest, SecondZeroizeRestartsAgainAndTheServiceEndsInOrder)
{
    Publisher<CommandResponse> commands(*transport, "Command");
    desk.run();
    Bus bus;
    ASSERT_TRUE(commands.waitForSubscriber());
    CommandResponse command;
    command.header().device_id(deviceId(53, 2));
    for (const char* text : {"START_ZEROIZE", "START_DESTROY"}) {
        command.command_response(text);
        commands.send(command);
        for (const char* event : {"deleted", "started"})
            bus.await(event, [&](const Json& line) {
                return line.value("type", "") == "service" && line.at("event") == event && !line.value("last", false);
            });
    }
    EXPECT_TRUE(bus.request({{"request", "status"}}).at("ok"));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), (ChildProcess::Ending{0, 0}));
}

TEST_F(ReportSystemTest, ModeIsAcknowledgedAndMarksTheTimeStamps)
{
    Subscriber<CommandResponse> responses(*transport, "Response");
    Publisher<CommandResponse> commands(*transport, "Command");
    desk.run();
    Bus bus;
    ASSERT_TRUE(commands.waitForSubscriber());
    CommandResponse command;
    command.command_response("SYSTEM_MODE_SELECT_SIMULATION");
    commands.send(command);
    ASSERT_TRUE(responses.inbox().waitFor(1));
    EXPECT_EQ(responses.inbox().items()[0].message.command_response(), "SYSTEM_MODE_SELECT_SIMULATION_PASS");
    bus.request({{"request", "clear-data"}, {"data", "invalid"}});
    ASSERT_EQ(typeOfEvent("Received VAPNTC_SYSTEM_DATA_INVALID. Nothing to do."), 3);
    EXPECT_EQ(events->inbox().items().back().message.header().timestamp_valid().time_code(), 101);
}

TEST_F(ReportSystemTest, ClearDataRequestThatNobodyAnswersFailsAfterTwelveSeconds)
{
    desk.run();
    Bus bus;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(bus.request({{"request", "clear-data"}}).at("returned"), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(12));
    const std::string text =
        "OrvaneServer: Request wait loop for clear data command, REQUEST_ZEROIZE, timed out after 12 seconds.";
    EXPECT_EQ(typeOfEvent(text), 4);
    const Json warnings =
        bus.awaitTell("warning-messages", [](const Json& tell) { return !tell.at("record").at("warnings").empty(); })
            .at("record")
            .at("warnings");
    EXPECT_EQ(warnings.at(0).at("warningId"), 23);
    EXPECT_EQ(warnings.at(0).at("customText"), text);
}

TEST_F(ReportSystemTest, ConfigurationRequestWaitsTwelveSecondsForThePartNumbers)
{
    desk.run();
    Bus bus;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(bus.request({{"request", "system-configuration"}}).at("ok"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(12));
    EXPECT_EQ(typeOfEvent("OrvaneServer : Warning! Complete set of part numbers was not available for APNT "
                          "Configuration after 12 seconds."),
              3);
}

TEST_F(ReportSystemTest, BuiltInTestIsNotOfferedBeforeTheSelfTestIsComplete)
{
    desk.run();
    Bus bus;
    const Json answer = bus.request({{"request", "bit-run"}});
    EXPECT_FALSE(answer.at("ok"));
    EXPECT_EQ(answer.at("error"), "the service has set no call-back for this");
}

TEST_F(ReportSystemTest, SavedVclReplacesTheFile)
{
    desk.run();
    Bus bus;
    EXPECT_EQ(bus.request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned"), 0);
    EXPECT_EQ(readFile("/opt/halvex/config/APNT_VCL_1_9.xml"), "<new/>");
}

TEST_F(ReportSystemTest, SavedVclTakesThePlaceOfTheOldAndLeavesNothingBeside)
{
    const std::filesystem::path vcl = "/opt/halvex/config/APNT_VCL_1_9.xml";
    const std::filesystem::path old = "/opt/halvex/config/old";
    const std::string oldText = readFile(vcl);
    std::filesystem::create_hard_link(vcl, old);
    const Names before = entries("/opt/halvex/config");
    desk.run();
    Bus bus;
    EXPECT_EQ(bus.request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned"), 0);
    EXPECT_EQ(readFile(vcl), "<new/>");
    EXPECT_EQ(readFile(old), oldText);
    EXPECT_EQ(entries("/opt/halvex/config"), before);
}

namespace {

/// A service that sees the VCL file through mounts of its own.
struct MountedVclSystemTest : testing::Test {
    MountedVclSystemTest() { desk.set("Debug", "true"); }

    /// Has the service save a text, and tells its answer.
    Json save(const std::string& text, const std::vector<std::string>& mounts)
    {
        std::vector<std::string> line = {"/usr/bin/env", "bwrap", "--die-with-parent", "--dev-bind", "/", "/"};
        line.insert(line.end(), mounts.begin(), mounts.end());
        line.push_back("--");
        const auto command = Desk::commandLine();
        line.insert(line.end(), command.begin(), command.end());
        const ChildProcess service(line);
        const auto runs = [&] { return service.output().find("Worker thread started.") != std::string::npos; };
        if (!eventually(runs)) throw std::runtime_error("the service does not run: " + service.errors());
        Bus bus;
        return bus.request({{"request", "save-vcl"}, {"text", text}}).at("returned");
    }

    const std::string config = "/opt/halvex/config";
    const std::string vcl = config + "/APNT_VCL_1_9.xml";
    const Names before = entries(config);
    Desk desk;
};

}  // namespace

TEST_F(MountedVclSystemTest, VclThatIsMountedByItselfIsWrittenInPlace)
{
    EXPECT_EQ(save("<new/>", {"--bind", vcl, vcl}), 0);
    EXPECT_EQ(readFile(vcl), "<new/>");
    EXPECT_EQ(entries(config), before);
}

TEST_F(MountedVclSystemTest, VclInAFolderThatCantBeWrittenIsWrittenInPlace)
{
    EXPECT_EQ(save("<new/>", {"--ro-bind", config, config, "--bind", vcl, vcl}), 0);
    EXPECT_EQ(readFile(vcl), "<new/>");
    EXPECT_EQ(entries(config), before);
}

TEST_F(ReportSystemTest, VclThatCantBeWrittenIsAnsweredWithAnError)
{
    desk.run();
    Bus bus;
    const std::filesystem::path vcl = "/opt/halvex/config/APNT_VCL_1_9.xml";
    std::filesystem::remove(vcl);
    std::filesystem::create_directory(vcl);
    EXPECT_EQ(bus.request({{"request", "save-vcl"}, {"text", "<new/>"}}).at("returned"), 1);
}

TEST_F(ReportSystemTest, PingIsAnsweredWithTheServersNameAndTheTimeOfTheRegister)
{
    Subscriber<CommandResponse> responses(*transport, "Response");
    Publisher<CommandResponse> commands(*transport, "Command");
    desk.set("PARAM_1", "false");
    desk.run();
    ASSERT_TRUE(commands.waitForSubscriber());
    CommandResponse command;
    command.header().device_id(deviceId(32, 2));
    command.command_identifier(77);
    command.command_response("BITSERVER_PING");
    commands.send(command);
    ASSERT_TRUE(responses.inbox().waitFor(1));
    const CommandResponse response = responses.inbox().items()[0].message;
    EXPECT_EQ(response.command_response(), "OrvaneServer");
    EXPECT_EQ(response.command_identifier(), 77);
    EXPECT_EQ(response.commanded_device_id(), deviceId(32, 2));
    EXPECT_EQ(response.command_response_type(), 1U);
    EXPECT_EQ(response.header().timestamp_valid().sec(), 5);
    EXPECT_EQ(response.header().timestamp_valid().nsec(), 499'999'992);
    EXPECT_EQ(response.header().timestamp_arrival().sec(), 5);
    EXPECT_EQ(response.header().timestamp_arrival().nsec(), 499'999'992);
    EXPECT_TRUE(desk.awaitOutput("OrvaneServer:  TOVsec = 5, OrvaneServer\n"));
}
