#include "ASPN/CmdResponseStrings.h"
#include "aspn2_msgs/CommandResponse.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

using aspn2_msgs::idl::CommandResponse;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char* kSent = "3:OrvaneServer: Could not publish CommandResponse for TOV = 0, REQUEST_PARTNUMBERS";
constexpr const char* kTimeout = "3:OrvaneServer: Timeout of 10 seconds expired while waiting for server part number "
                                 "responses. Will re-request part numbers.";

struct Source {
    std::uint8_t server;
    std::uint8_t topic;
};
constexpr Source kExpected[] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};

Time s_now;                                // of the clock that the tests turn
std::chrono::nanoseconds s_stepOfReading;  // that each look at it takes

Time readClock()
{
    s_now += s_stepOfReading;
    return s_now;
}

/// Without a transport a command that is sent shows as an event, `kSent`.
struct PartNumbersTest : testing::Test {
    PartNumbersTest()
    {
        s_now = Time(1h);
        s_stepOfReading = 0ns;
        server.setPartNumberClock(&readClock);
        victory.setFile("config", "<config/>");
        victory.setFile("vcl", "<vcl:VCL/>");
        server.useBusFiles("config", "vcl");
        server.startBus();
        victory.forgetCalls();
        server.run();
        popHealthEvents();
    }

    void answer(Source source, const std::string& text = "PARTNUMBERS")
    {
        CommandResponse message;
        message.header().device_id(source.server << 16 | source.topic);
        message.command_response(text);
        server.response(message);
    }
    void answerAll()
    {
        for (const auto& source : kExpected) answer(source);
    }
    std::vector<std::string> turn()
    {
        popHealthEvents();
        server.partNumberTurn();
        return popHealthEvents();
    }
    VapntcSystemConfiguration told() const
    {
        return victory.last("vapntsTellSystemConfiguration").record<VapntcSystemConfiguration>();
    }
    std::size_t tells() const { return victory.count("vapntsTellSystemConfiguration"); }

    VictoryRecorder victory;
    ServerDoor server;
};

std::vector<std::string> namesOf(const VapntcSystemConfiguration& configuration)
{
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < configuration.componentCount; ++i)
        names.push_back(std::string(configuration.components[i].componentId) + " " + configuration.components[i].name);
    return names;
}

}  // namespace

TEST_F(PartNumbersTest, NothingIsEverSentBeforeTheSelfTestIsOver)
{
    for (int i = 0; i < 100; ++i) {
        s_now += 11s;
        EXPECT_THAT(turn(), IsEmpty());
    }
    EXPECT_TRUE(server.partNumbers().isRequestDue);
}

TEST_F(PartNumbersTest, FirstTurnAfterTheFlagFileSends)
{
    const TemporaryDirectory directory;
    server.change([&](auto& settings) { settings.flagDirectory = directory.path().string(); });
    server.turn();
    EXPECT_FALSE(server.isSelfTestOver());
    Sys::announcePostComplete(directory.path().string());
    server.turn();
    EXPECT_TRUE(server.isSelfTestOver());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    server.turn();
    EXPECT_THAT(popHealthEvents(), ElementsAre(kSent));
    server.turn();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(PartNumbersTest, BuiltInTestsAreOfferedOnceAndNotBeforeTheFlagFile)
{
    const TemporaryDirectory directory;
    server.change([&](auto& settings) { settings.flagDirectory = directory.path().string(); });
    server.turn();
    EXPECT_THAT(victory.operations(), IsEmpty());
    Sys::announcePostComplete(directory.path().string());
    for (int i = 0; i < 3; ++i) server.turn();
    EXPECT_THAT(victory.operations(),
                ElementsAre("vapntsInitTellExecuteBuiltInTestsCallback", "vapntsInitTellGetBuiltInTestResultsCallback",
                            "vapntsInitTellClearBuiltInTestResultsCallback"));
    for (const auto& call : victory.calls()) EXPECT_EQ(call.pointer(0), &server.builtInTests()) << call.operation;
}

TEST_F(PartNumbersTest, TheFlagIsNeverTakenBack)
{
    {
        const TemporaryDirectory directory;
        server.change([&](auto& settings) { settings.flagDirectory = directory.path().string(); });
        Sys::announcePostComplete(directory.path().string());
        server.turn();
    }
    server.turn();
    EXPECT_TRUE(server.isSelfTestOver());
}

TEST_F(PartNumbersTest, ARetryIsDueOnceMoreThan9999999999NanosecondsHavePassed)
{
    server.setSelfTestOver();
    EXPECT_THAT(turn(), ElementsAre(kSent));
    EXPECT_FALSE(server.partNumbers().isRequestDue);
    s_now += 9'999'999'999ns;
    EXPECT_THAT(turn(), IsEmpty());
    s_now += 1ns;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_TRUE(server.partNumbers().isRequestDue);
}

TEST_F(PartNumbersTest, TheTurnAfterATimeoutSendsAndSoItGoesOn)
{
    server.setSelfTestOver();
    const ConsoleCapture console(std::cout);
    turn();
    for (int i = 0; i < 20; ++i) {
        s_now += 10s;
        EXPECT_THAT(turn(), ElementsAre(kTimeout));
        EXPECT_THAT(turn(), ElementsAre(kSent));
        EXPECT_THAT(turn(), IsEmpty());
    }
    EXPECT_THAT(console.text(), testing::StartsWith(std::string(kTimeout + 2) + "\n"));
}

TEST_F(PartNumbersTest, TimeRunsFromAfterTheSendingToTheBeginningOfATurn)
{
    server.setSelfTestOver();
    s_stepOfReading = 4s;
    turn();  // begins at 4 s and has sent at 8 s
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), ElementsAre(kTimeout));  // at 20 s
}

TEST_F(PartNumbersTest, ARequestThatIsDueGoesOutEvenAfterCompletion)
{
    server.setSelfTestOver();
    turn();
    answerAll();
    turn();
    ASSERT_TRUE(server.partNumbers().isComplete);
    server.setPartNumberRequestDue(true);
    EXPECT_THAT(turn(), ElementsAre(kSent));
}

TEST_F(PartNumbersTest, DebugLinesBeforeTheSelfTestIsOver)
{
    server.setDebug(true);
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds."));
    EXPECT_EQ(console.text(), "State Notification: Post incomplete\n"
                              "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLineOfATurnThatSends)
{
    server.setDebug(true);
    server.setSelfTestOver();
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.", kSent));
    EXPECT_EQ(console.text(), "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLinesWhileCollectingAndWhenComplete)
{
    server.setSelfTestOver();
    turn();
    answer({49, 0});
    server.setDebug(true);
    const std::string first = "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.";
    const std::string one = "OrvaneServer: Checking part numbers. Responses received count = 1";
    const std::string seven = "OrvaneServer: Checking part numbers. Responses received count = 7";
    const std::string all =
        "OrvaneServer: All 7 server part number responses received. Updating VICTORY APNT Configuration.";
    {
        const ConsoleCapture console(std::cout);
        EXPECT_THAT(turn(), ElementsAre("2:" + first, "2:" + one));
        EXPECT_EQ(console.text(), first + "\nState Notification: Post IS Complete!\n" + one + "\n");
    }
    server.setDebug(false);
    answerAll();
    server.setDebug(true);
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:" + first, "2:" + seven, "2:" + all));
    EXPECT_THAT(turn(), ElementsAre("2:" + first));
    EXPECT_EQ(console.text(), first + "\nState Notification: Post IS Complete!\n" + seven + "\n" + all + "\n" + first +
                                  "\nState Notification: Post IS Complete!\n");
}

TEST_F(PartNumbersTest, SevenComponentsAreExpected)
{
    std::vector<std::string> names;
    for (const auto& [name, answered] : server.partNumbers().answered) {
        names.push_back(name);
        EXPECT_FALSE(answered) << name;
    }
    EXPECT_THAT(names, ElementsAre("ALTNAV", "GPS", "Halvex", "PNT-Q", "Sarvent", "TARVO", "TARVOSW"));
}

TEST_F(PartNumbersTest, TheLastAnswerGivesTheRealNameAndNothingElseChanges)
{
    server.setSelfTestOver();
    server.changeConfiguration([](auto& configuration) {
        std::strcpy(configuration.systemName, "Kolt Gen II - and a long text that is to go");
        std::strcpy(configuration.systemSerialNumber, "N/A");
    });
    turn();
    for (const auto& source : kExpected) {
        turn();
        EXPECT_FALSE(server.partNumbers().isComplete);
        answer(source);
        EXPECT_STREQ(told().systemName, "Kolt Gen II - and a long text that is to go");
    }
    auto expected = told();
    std::memset(expected.systemName, 0, sizeof expected.systemName);
    std::strcpy(expected.systemName, "Kolt Gen II");
    turn();
    EXPECT_TRUE(server.partNumbers().isComplete);
    const auto record = told();
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    EXPECT_EQ(victory.last("vapntsTellSystemConfiguration").service, server.busService());
}

TEST_F(PartNumbersTest, ACompleteExchangeIsOver)
{
    server.setSelfTestOver();
    turn();
    answerAll();
    turn();
    const auto before = tells();
    s_now += 1h;
    for (int i = 0; i < 10; ++i) EXPECT_THAT(turn(), IsEmpty());
    EXPECT_EQ(tells(), before);
}

TEST_F(PartNumbersTest, ASilentComponentKeepsItOpen)
{
    server.setSelfTestOver();
    turn();
    for (const auto& source : kExpected)
        if (source.server != 38) answer(source);
    turn();
    EXPECT_FALSE(server.partNumbers().isComplete);
    s_now += 10s;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_THAT(turn(), ElementsAre(kSent));
    answer({38, 0});
    turn();
    EXPECT_TRUE(server.partNumbers().isComplete);
}

TEST_F(PartNumbersTest, AnUnfinishedExchangeGoesOnBehindASanitizeOfTheConfiguration)
{
    server.setSelfTestOver();
    turn();
    server.setPartNumberRequestDue(false);  // as a sanitize leaves it
    EXPECT_THAT(turn(), IsEmpty());
    s_now += 10s;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_THAT(turn(), ElementsAre(kSent));
}

TEST_F(PartNumbersTest, LayoutOfARow)
{
    answer({49, 0}, "PARTNUMBERS,HWSN1:0042,HWPN1:345-1290-118B,FW1:3.4,SW1:1.2,HWSN2:77,HWPN2:9");
    const auto record = told();
    std::vector<char> expected(1288);
    const std::uint32_t present = 1;
    std::memcpy(expected.data(), "0x31", 4);
    std::memcpy(expected.data() + 256, "PNT-Q", 5);
    std::memcpy(expected.data() + 512, "HWSN1:0042,HWSN2:77", 19);
    std::memcpy(expected.data() + 768, "SW1:1.2,FW1:3.4", 15);
    std::memcpy(expected.data() + 1024, &present, 4);
    std::memcpy(expected.data() + 1028, "345-1290-118B", 13);
    std::memcpy(expected.data() + 1284, &present, 4);
    std::vector<char> bytes(1288);
    std::memcpy(bytes.data(), reinterpret_cast<const char*>(&record) + 1044, bytes.size());
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(record.componentCount, 1);
}

TEST_F(PartNumbersTest, AnAnswerWithoutFieldsMarksTheComponentAndHasNoSerialNumber)
{
    answer({38, 0}, "PARTNUMBERS");
    const auto record = told();
    EXPECT_THAT(namesOf(record), ElementsAre("0x26 ALTNAV"));
    EXPECT_STREQ(record.components[0].serialNumber, "N/A");
    EXPECT_STREQ(record.components[0].software, "");
    EXPECT_EQ(record.components[0].softwarePresent, 0U);
    EXPECT_STREQ(record.components[0].hardware, "");
    EXPECT_EQ(record.components[0].hardwarePresent, 0U);
    EXPECT_TRUE(server.partNumbers().answered.at("ALTNAV"));
}

TEST_F(PartNumbersTest, TextsAreCutTo255Characters)
{
    answer({49, 0}, "PARTNUMBERS,SW1:" + std::string(300, 's') + ",HWPN1:" + std::string(300, 'h'));
    const auto record = told();
    EXPECT_EQ(record.components[0].software, "SW1:" + std::string(251, 's'));
    EXPECT_EQ(record.components[0].hardware, std::string(255, 'h'));
}

TEST_F(PartNumbersTest, IdTextsAreHexadecimalWithAPrefixButForZero)
{
    for (const Source source : {Source{53, 0}, Source{5, 0}, Source{0, 0}, Source{255, 0}}) answer(source);
    EXPECT_THAT(namesOf(told()),
                ElementsAre("0x35 Halvex", "0x5 INVALID_SERVER_ID", "00 INVALID_SERVER_ID", "0xff INVALID_SERVER_ID"));
}

TEST_F(PartNumbersTest, TwoComponentsOfOneServerAreTwoRowsWithOneId)
{
    answer({53, 0});
    answer({53, 1});
    EXPECT_THAT(namesOf(told()), ElementsAre("0x35 Halvex", "0x35 Sarvent"));
}

TEST_F(PartNumbersTest, TheSensorServiceHasARowForItsCardAndOneForTheSensor)
{
    answer({47, 0}, "PARTNUMBERS,SW1:s1,SW2:s2,SW3:s3,SW4:s4,SW5:s5,SW6:s6,SW7:s7,SW8:s8,OS1:o1,OS2:o2,FW1:f1,FW2:f2,"
                    "HWPN1:h1,HWPN2:h2,HWSN1:n1,HWSN2:n2,AT:at");
    const auto record = told();
    EXPECT_THAT(namesOf(record), ElementsAre("0x2f TARVOSW-PC", "0x2f TARVOSW-KELP"));
    const auto& card = record.components[0];
    EXPECT_STREQ(card.software, "SW1:s1,FW1:f1,OS1:o1,AT:at");
    EXPECT_STREQ(card.serialNumber, "n1");
    EXPECT_STREQ(card.hardware, "h1");
    const auto& sensor = record.components[1];
    EXPECT_STREQ(sensor.software, "FW2:f2,OS2:o2,SW5:s5,SW6:s6,SW7:s7,SW8:s8,AT:at");
    EXPECT_STREQ(sensor.serialNumber, "n2");
    EXPECT_STREQ(sensor.hardware, "h2");
    EXPECT_EQ(card.softwarePresent + card.hardwarePresent + sensor.softwarePresent + sensor.hardwarePresent, 4U);
    EXPECT_TRUE(server.partNumbers().answered.at("TARVOSW"));
    EXPECT_EQ(tells(), 1U);
}

TEST_F(PartNumbersTest, AnEmptyAnswerOfTheSensorServiceStillMakesBothRows)
{
    answer({47, 0});
    const auto record = told();
    EXPECT_THAT(namesOf(record), ElementsAre("0x2f TARVOSW-PC", "0x2f TARVOSW-KELP"));
    EXPECT_STREQ(record.components[1].serialNumber, "N/A");
    EXPECT_EQ(record.components[1].softwarePresent, 0U);
}

TEST_F(PartNumbersTest, TheSensorsOtherTopicGoesTheGenericWay)
{
    answer({47, 2}, "PARTNUMBERS,SW1:s1,SW2:s2,HWSN1:n1");
    const auto record = told();
    EXPECT_THAT(namesOf(record), ElementsAre("0x2f TARVO"));
    EXPECT_STREQ(record.components[0].software, "SW1:s1,SW2:s2");
    EXPECT_STREQ(record.components[0].serialNumber, "HWSN1:n1");
    EXPECT_TRUE(server.partNumbers().answered.at("TARVO"));
    EXPECT_FALSE(server.partNumbers().answered.at("TARVOSW"));
}

TEST_F(PartNumbersTest, ARepeatedAnswerReplacesItsRowsWhereTheyStand)
{
    answer({47, 0}, "PARTNUMBERS,SW1:s1,HWPN1:h1,HWSN1:n1");
    answer({49, 0}, "PARTNUMBERS,SW1:a much longer text,HWPN1:h1");
    answer({38, 0});
    answer({49, 0}, "PARTNUMBERS,SW1:new");
    answer({47, 0}, "PARTNUMBERS,SW5:new");
    const auto record = told();
    EXPECT_THAT(namesOf(record), ElementsAre("0x2f TARVOSW-PC", "0x2f TARVOSW-KELP", "0x31 PNT-Q", "0x26 ALTNAV"));
    EXPECT_STREQ(record.components[0].software, "");
    EXPECT_STREQ(record.components[0].serialNumber, "N/A");
    EXPECT_STREQ(record.components[1].software, "SW5:new");
    VapntcComponentConfiguration expected = {};
    std::strcpy(expected.componentId, "0x31");
    std::strcpy(expected.name, "PNT-Q");
    std::strcpy(expected.serialNumber, "N/A");
    std::strcpy(expected.software, "SW1:new");
    expected.softwarePresent = 1;
    EXPECT_EQ(std::memcmp(&record.components[2], &expected, sizeof expected), 0);
}

TEST_F(PartNumbersTest, EveryAnswerIsToldAtOnce)
{
    for (std::size_t i = 0; i < std::size(kExpected); ++i) {
        answer(kExpected[i]);
        EXPECT_EQ(tells(), i + 1);
    }
    EXPECT_EQ(told().componentCount, 8);
}

TEST_F(PartNumbersTest, AnswersOfManyThreadsAreToldOneByOne)
{
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    victory.onCall("vapntsTellSystemConfiguration", [&] {
        most = std::max(most.load(), ++inside);
        std::this_thread::yield();
        --inside;
    });
    std::vector<std::thread> sources;
    for (const auto& source : kExpected)
        sources.emplace_back([&] {
            for (int i = 0; i < 20; ++i) answer(source);
        });
    for (auto& source : sources) source.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(told().componentCount, 8);
}

TEST_F(PartNumbersTest, WhileTheServiceIsDownAnswersAreKept)
{
    server.stopBus();
    answerAll();
    EXPECT_EQ(tells(), 0U);
    EXPECT_EQ(server.configuration().componentCount, 8);
}

TEST_F(PartNumbersTest, AnUnexpectedComponentGetsARowAndDoesNotCount)
{
    const ConsoleCapture console(std::cout);
    const std::string text = "OrvaneServer : Received part number response from unexpected server INVALID_SERVER_ID, "
                             "server ID 0x63: PARTNUMBERS,SW1:1";
    answer({99, 0}, "PARTNUMBERS,SW1:1");
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    EXPECT_THAT(namesOf(told()), ElementsAre("0x63 INVALID_SERVER_ID"));
    EXPECT_EQ(server.partNumbers().answered.size(), 7U);
}

TEST_F(PartNumbersTest, DebugLinesOfAnAnswer)
{
    server.setDebug(true);
    answer({49, 0}, "PARTNUMBERS,HWSN1:7,SW1:2");
    const ConsoleCapture console(std::cout);
    answer({49, 0}, "PARTNUMBERS,HWSN1:7,SW1:2");
    EXPECT_EQ(console.text(),
              "OrvaneServer: Part number for PNT-Q, server ID 0x31, topic ID 00: PARTNUMBERS,HWSN1:7,SW1:2\n"
              "OrvaneServer, Version Status:PARTNUMBERS,SW1:2,HWSN1:7\n"
              "OrvaneServer: * Searching componentConfigurations for componentId 0x31\n"
              "OrvaneServer: ** Found. Comparing to componentConfigurations name PNT-Q\n"
              "OrvaneServer: *** Found. Clearing componentConfigurations for componentId 0x31\n"
              "OrvaneServer: **** Updating componentConfigurations for componentId 0x31, name PNT-Q\n");
}

TEST_F(PartNumbersTest, ARowIsFoundByItsWholeIdAndName)
{
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x35", "Halvex"), -1);
    answer({53, 0});
    answer({53, 1});
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x3", "Halvex"), -1);
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x355", "Halvex"), -1);
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x35", "Halve"), -1);
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x35", "sarvent"), -1);
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x35", "Sarvent"), 1);
    const VapntcComponentConfiguration zero = {};
    const auto configuration = server.configuration();
    EXPECT_EQ(std::memcmp(&configuration.components[1], &zero, sizeof zero), 0);
    EXPECT_EQ(configuration.componentCount, 2);
    EXPECT_EQ(server.findAndClearComponentConfiguration("0x35", "Sarvent"), -1);
}

TEST_F(PartNumbersTest, FiftyRowsAndNoMore)
{
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(server.updateComponentConfiguration(-1, "id", "name", "", "", ""));
    const auto before = server.configuration();
    const ConsoleCapture console(std::cout);
    EXPECT_FALSE(server.updateComponentConfiguration(-1, "0x31", "PNT-Q", "1", "2", "3"));
    const auto after = server.configuration();
    EXPECT_EQ(std::memcmp(&after, &before, sizeof before), 0);
    const std::string text = "Out of range error updating component for APNT Component Configuration at index, "
                             "rComponentId=0x31, rName=PNT-Q, rSN=1, rSW=2, rHW=3, ";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
}

TEST_F(PartNumbersTest, ADroppedRowStillCountsAsAnAnswer)
{
    server.changeConfiguration([](auto& configuration) { configuration.componentCount = 50; });
    answer({49, 0});
    EXPECT_TRUE(server.partNumbers().answered.at("PNT-Q"));
    EXPECT_EQ(tells(), 1U);
}

TEST_F(PartNumbersTest, AnIndexOfItsOwnOnlyHasToBeWithinTheRows)
{
    EXPECT_TRUE(server.updateComponentConfiguration(49, "id", "name", "", "", ""));
    EXPECT_STREQ(server.configuration().components[49].name, "name");
    EXPECT_EQ(server.configuration().componentCount, 0);
    for (const int index : {50, 51, -2, 2147483647, -2147483647})
        EXPECT_FALSE(server.updateComponentConfiguration(index, "id", "name", "", "", "")) << index;
}

TEST_F(PartNumbersTest, TheNumberOfRowsCutsTheFrontOfTheErrorText)
{
    const std::vector<std::string> rests = {". Data fields: ",
                                            " Data fields: ",
                                            "Data fields: ",
                                            "ata fields: ",
                                            "ta fields: ",
                                            "a fields: ",
                                            " fields: ",
                                            "fields: ",
                                            "ields: ",
                                            "elds: ",
                                            "lds: ",
                                            "ds: ",
                                            "s: ",
                                            ": ",
                                            " ",
                                            "",
                                            "",
                                            ""};
    for (std::size_t count = 0; count < rests.size(); ++count) {
        server.changeConfiguration(
            [&](auto& configuration) { configuration.componentCount = static_cast<std::int32_t>(count); });
        EXPECT_FALSE(server.updateComponentConfiguration(50, "I", "N", "S", "W", "H"));
        EXPECT_EQ(popHealthEvent(),
                  "3:Out of range error updating component for APNT Component Configuration at index, " + rests[count] +
                      "rComponentId=I, rName=N, rSN=S, rSW=W, rHW=H, ");
    }
}

TEST_F(PartNumbersTest, WaitingEndsAtOnceWhenAllIsThereAndWithItsTimeOtherwise)
{
    EXPECT_FALSE(server.awaitPartNumbers(0));
    EXPECT_FALSE(server.awaitPartNumbers(-1));
    server.setPartNumbersComplete();
    EXPECT_TRUE(server.awaitPartNumbers(600));
}

TEST_F(PartNumbersTest, AWaitTakesItsTimeAndNoLess)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(server.awaitPartNumbers(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(PartNumbersTest, AWakeUpBeforeCompletionDoesNotEndTheWait)
{
    const HardDeadline deadline;
    std::atomic<bool> ended = false;
    bool isComplete = false;
    std::thread waiter([&] {
        isComplete = server.awaitPartNumbers(600);
        ended = true;
    });
    EXPECT_FALSE(eventually(
        [&] {
            server.wakeThoseWhoAwaitPartNumbers();
            return ended.load();
        },
        300ms));
    server.setPartNumbersComplete();
    waiter.join();
    EXPECT_TRUE(isComplete);
}

TEST_F(PartNumbersTest, NoAnswerIsTakenWhileTheRealNameIsTold)
{
    const HardDeadline deadline;
    server.setSelfTestOver();
    turn();
    answerAll();
    std::thread listener;
    std::atomic<bool> taken = false;
    victory.onCall("vapntsTellSystemConfiguration", [&] {
        victory.onCall("vapntsTellSystemConfiguration", nullptr);
        listener = std::thread([&] {
            answer({49, 0});
            taken = true;
        });
        EXPECT_FALSE(eventually([&] { return taken.load(); }, 100ms));
    });
    turn();
    ASSERT_TRUE(listener.joinable());
    listener.join();
}

TEST_F(PartNumbersTest, CompletionWakesAllThatWait)
{
    server.setSelfTestOver();
    turn();
    answerAll();
    std::atomic<int> woken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            if (server.awaitPartNumbers(600)) ++woken;
        });
    const auto start = std::chrono::steady_clock::now();
    turn();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(woken, 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300s);
}

TEST_F(PartNumbersTest, UntilAllIsThereTheNameSaysThatItIsBeingCollected)
{
    answer({49, 0});
    EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told().systemSerialNumber, "N/A");
    EXPECT_EQ(told().componentCount, 1);
    server.setSelfTestOver();
    turn();
    answerAll();
    turn();
    EXPECT_STREQ(told().systemName, "Kolt Gen II");
    EXPECT_EQ(std::memcmp(told().manufacturerCode, "9XQ27", 5), 0);
    EXPECT_EQ(told().manufacturerCodePresent, 1U);
    server.stopBus();
}
