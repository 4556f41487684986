#include "tests/support/Desk.h"
#include "tests/support/Partners.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using Json = Bus::Json;
using namespace std::chrono_literals;

namespace {

constexpr int kFault = 3;
constexpr const char* kRequest = "REQUEST_PARTNUMBERS";
constexpr const char* kProvisional = "Kolt Gen II - Collecting system information. Please wait and retry...";

/// Those that are expected to answer: server and topic.
constexpr std::int32_t kExpected[] = {deviceId(53),     deviceId(53) | 1, deviceId(39), deviceId(47),
                                      deviceId(47) | 2, deviceId(49),     deviceId(38)};

/// A service that is to collect part numbers, which the test tells.
struct PartNumbersSystemTest : testing::Test {
    void begin()
    {
        desk.set("Debug", debug);
        desk.run();
        bus.emplace();
        ASSERT_TRUE(partners.waitForService());
    }

    void beginCollecting()
    {
        begin();
        desk.completeSelfTest();
        ASSERT_TRUE(partners.awaitCommand(kRequest));
    }

    /// Tells part numbers, and waits until they have reached the bus.
    Json tell(std::int32_t from, const std::string& text = "PARTNUMBERS,HWSN1:7")
    {
        partners.respond(text, from, deviceId(53));  // whoever has asked
        return bus->awaitTell("system-configuration", [](const Json& line) { return !line.value("last", false); })
            .at("record");
    }

    Json awaitFinalName()
    {
        return bus
            ->awaitTell("system-configuration",
                        [](const Json& line) { return line.at("record").at("systemName") == "Kolt Gen II"; })
            .at("record");
    }

    const char* debug = "true";
    Desk desk;
    Partners partners{desk};
    std::optional<Bus> bus;
};

using Rows = std::vector<std::pair<std::string, std::string>>;

Rows rowsOf(const Json& configuration)
{
    Rows rows;
    for (const Json& row : configuration.at("components")) rows.emplace_back(row.at("componentId"), row.at("name"));
    return rows;
}

}  // namespace

TEST_F(PartNumbersSystemTest, NothingIsAskedBeforeTheSelfTestIsComplete)
{
    begin();
    ASSERT_TRUE(desk.awaitTurns());
    EXPECT_EQ(partners.commands(), 0U);
    desk.completeSelfTest();
    EXPECT_TRUE(partners.awaitCommand(kRequest));
    EXPECT_TRUE(desk.awaitOutput("State Notification: Post IS Complete!\n"));
}

TEST_F(PartNumbersSystemTest, EachAnswerIsToldAtOnceAndOnlyTheLastGivesTheFinalName)
{
    beginCollecting();
    Json told;
    for (std::size_t i = 0; i + 1 < std::size(kExpected); ++i) {
        told = tell(kExpected[i]);
        EXPECT_EQ(told.at("systemName"), kProvisional);
    }
    ASSERT_TRUE(desk.awaitOutput("Responses received count = 6\n", 2));
    told = tell(kExpected[6]);
    EXPECT_EQ(rowsOf(told), (Rows{{"0x35", "Halvex"},
                                  {"0x35", "Sarvent"},
                                  {"0x27", "GPS"},
                                  {"0x2f", "TARVOSW-PC"},
                                  {"0x2f", "TARVOSW-KELP"},
                                  {"0x2f", "TARVO"},
                                  {"0x31", "PNT-Q"},
                                  {"0x26", "ALTNAV"}}));
    EXPECT_EQ(rowsOf(awaitFinalName()), rowsOf(told));

    ASSERT_TRUE(desk.awaitOutput("Post IS Complete!\n", desk.count("Post IS Complete!\n") + 3));
    EXPECT_EQ(partners.commands(), 1U);
    EXPECT_EQ(tell(kExpected[0]).at("systemName"), "Kolt Gen II");
}

TEST_F(PartNumbersSystemTest, RepeatedAnswerReplacesItsRow)
{
    beginCollecting();
    const Json first = tell(deviceId(39), "PARTNUMBERS").at("components");
    ASSERT_EQ(first.size(), 1U);
    EXPECT_EQ(first[0].at("serialNumber"), "N/A");
    EXPECT_EQ(first[0].at("softwarePresent"), 0);
    tell(deviceId(38));
    const Json second = tell(deviceId(39), "PARTNUMBERS,SW1:6.11,HWPN1:822-2503-004").at("components");
    ASSERT_EQ(second.size(), 2U);
    EXPECT_EQ(second[0].at("name"), "GPS");
    EXPECT_EQ(second[0].at("hardware"), "822-2503-004");
    EXPECT_EQ(second[0].at("softwarePresent"), 1);
}

TEST_F(PartNumbersSystemTest, SilentComponentIsAskedForAgainAfterTenSeconds)
{
    begin();
    const auto asked = std::chrono::steady_clock::now();
    desk.completeSelfTest();
    ASSERT_TRUE(partners.awaitCommand(kRequest));
    for (std::size_t i = 1; i < std::size(kExpected); ++i) tell(kExpected[i]);
    ASSERT_TRUE(partners.awaitCommand(kRequest, 2));
    const auto waited = std::chrono::steady_clock::now() - asked;
    EXPECT_GE(waited, 10s);
    EXPECT_LT(waited, 20s);
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer: Timeout of 10 seconds expired while waiting for server part number "
                                   "responses. Will re-request part numbers."),
              kFault);
    tell(kExpected[0]);
    EXPECT_EQ(awaitFinalName().at("components").size(), 8U);
}

TEST_F(PartNumbersSystemTest, ConfigurationRequestEndsWithTheLastAnswer)
{
    beginCollecting();
    for (std::size_t i = 1; i < std::size(kExpected); ++i) tell(kExpected[i]);
    const auto asked = std::chrono::steady_clock::now();
    auto answer = std::async(std::launch::async, [] { return Bus().request({{"request", "system-configuration"}}); });
    ASSERT_TRUE(desk.awaitOutput("Responses received count = 6\n", desk.count("Responses received count = 6\n") + 3));
    EXPECT_EQ(answer.wait_for(0s), std::future_status::timeout);
    tell(kExpected[0]);
    EXPECT_TRUE(answer.get().at("ok"));
    EXPECT_LT(std::chrono::steady_clock::now() - asked, 12s);
    EXPECT_EQ(partners.events("Complete set of part numbers was not available"), 0U);
}

TEST_F(PartNumbersSystemTest, UnexpectedServerIsReportedAndToldButDoesNotCount)
{
    debug = "false";  // its events would take the place of the one that is looked for
    beginCollecting();
    const Json told = tell(deviceId(200), "PARTNUMBERS,SW1:1");
    EXPECT_EQ(rowsOf(told), (Rows{{"0xc8", "INVALID_SERVER_ID"}}));
    EXPECT_EQ(partners.typeOfEvent("OrvaneServer : Received part number response from unexpected server "
                                   "INVALID_SERVER_ID, server ID 0xc8: PARTNUMBERS,SW1:1"),
              kFault);
    for (const std::int32_t from : kExpected) EXPECT_EQ(tell(from).at("systemName"), kProvisional);
    EXPECT_EQ(awaitFinalName().at("components").size(), 9U);
}

TEST_F(PartNumbersSystemTest, RowsBeyondFiftyAreDroppedAndTheirComponentsCount)
{
    beginCollecting();
    for (std::uint8_t server = 130; server < 180; ++server) tell(deviceId(server));
    for (const std::int32_t from : kExpected) tell(from);
    EXPECT_EQ(awaitFinalName().at("components").size(), 50U);
    // There are more events than the service can keep at a time.
    EXPECT_TRUE(desk.awaitOutput("Out of range error updating component for APNT Component Configuration at index, "
                                 "rComponentId=0x27, rName=GPS, rSN=HWSN1:7, rSW=, rHW=, \n"));
    EXPECT_TRUE(desk.awaitOutput("Out of range error", 8));
    EXPECT_EQ(desk.count("Out of range error"), 8U);
}

TEST_F(PartNumbersSystemTest, UnfinishedCollectionGoesOnAfterASanitize)
{
    beginCollecting();
    for (std::size_t i = 1; i < std::size(kExpected); ++i) tell(kExpected[i]);
    partners.command("START_DESTROY");
    bus->awaitTell("system-configuration", [](const Json& line) { return line.at("record").at("systemName") == ""; });
    ASSERT_TRUE(partners.awaitCommand(kRequest, 2));
    tell(kExpected[0]);
    awaitFinalName();
}

TEST_F(PartNumbersSystemTest, FinishedCollectionStaysOverAfterASanitize)
{
    beginCollecting();
    for (const std::int32_t from : kExpected) tell(from);
    awaitFinalName();
    partners.command("START_ZEROIZE");
    bus->awaitTell("system-configuration", [](const Json& line) { return line.at("record").at("systemName") == ""; });
    ASSERT_TRUE(desk.awaitOutput("Post IS Complete!\n", desk.count("Post IS Complete!\n") + 3));
    EXPECT_EQ(partners.commands(), 1U);
    EXPECT_EQ(Bus().awaitTell("system-configuration").at("record").at("systemName"), "");
    EXPECT_TRUE(bus->request({{"request", "system-configuration"}}).at("ok"));
    EXPECT_EQ(partners.events("Complete set of part numbers was not available"), 0U);
}
