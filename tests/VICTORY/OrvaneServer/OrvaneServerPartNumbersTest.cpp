#include "ASPN/CmdResponseStrings.h"
#include "tests/VICTORY/OrvaneServer/OpenServer.h"
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
        server.m_steadyNow = &readClock;
        server.m_service = service;
        server.m_victoryStarted = true;
        popHealthEvents();
    }

    void answer(Source source, const std::string& text = "PARTNUMBERS")
    {
        server.handlePartNumberResponses(text, source.server, source.topic);
    }
    void answerAll()
    {
        for (const auto& source : kExpected) answer(source);
    }
    std::vector<std::string> turn()
    {
        popHealthEvents();
        server.processPartNumbers();
        return popHealthEvents();
    }
    VapntcSystemConfiguration told() const
    {
        return victory.last("vapntsTellSystemConfiguration").record<VapntcSystemConfiguration>();
    }
    std::size_t tells() const { return victory.count("vapntsTellSystemConfiguration"); }

    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    OpenServer server;
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
    EXPECT_TRUE(server.m_requestPartNumbers);
}

TEST_F(PartNumbersTest, FirstTurnAfterTheFlagFileSends)
{
    const TemporaryDirectory directory;
    server.m_flagDirectory = directory.path().string();
    server.workerTurn();
    EXPECT_FALSE(server.m_postCompleteSeen);
    Sys::announcePostComplete(server.m_flagDirectory);
    server.workerTurn();
    EXPECT_TRUE(server.m_postCompleteSeen);
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    server.workerTurn();
    EXPECT_THAT(popHealthEvents(), ElementsAre(kSent));
    server.workerTurn();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
}

TEST_F(PartNumbersTest, BuiltInTestsAreOfferedOnceAndNotBeforeTheFlagFile)
{
    const TemporaryDirectory directory;
    server.m_flagDirectory = directory.path().string();
    server.workerTurn();
    EXPECT_THAT(victory.operations(), IsEmpty());
    Sys::announcePostComplete(server.m_flagDirectory);
    for (int i = 0; i < 3; ++i) server.workerTurn();
    EXPECT_THAT(victory.operations(),
                ElementsAre("vapntsInitTellExecuteBuiltInTestsCallback", "vapntsInitTellGetBuiltInTestResultsCallback",
                            "vapntsInitTellClearBuiltInTestResultsCallback"));
    for (const auto& call : victory.calls()) EXPECT_EQ(call.pointer(0), &server.m_bitResults) << call.operation;
}

TEST_F(PartNumbersTest, TheFlagIsNeverTakenBack)
{
    {
        const TemporaryDirectory directory;
        server.m_flagDirectory = directory.path().string();
        Sys::announcePostComplete(server.m_flagDirectory);
        server.workerTurn();
    }
    server.workerTurn();
    EXPECT_TRUE(server.m_postCompleteSeen);
}

TEST_F(PartNumbersTest, ARetryIsDueOnceMoreThan9999999999NanosecondsHavePassed)
{
    server.m_postCompleteSeen = true;
    EXPECT_THAT(turn(), ElementsAre(kSent));
    EXPECT_FALSE(server.m_requestPartNumbers);
    s_now += 9'999'999'999ns;
    EXPECT_THAT(turn(), IsEmpty());
    s_now += 1ns;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_TRUE(server.m_requestPartNumbers);
}

TEST_F(PartNumbersTest, TheTurnAfterATimeoutSendsAndSoItGoesOn)
{
    server.m_postCompleteSeen = true;
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
    server.m_postCompleteSeen = true;
    s_stepOfReading = 4s;
    turn();  // begins at 4 s and has sent at 8 s
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), ElementsAre(kTimeout));  // at 20 s
}

TEST_F(PartNumbersTest, ARequestThatIsDueGoesOutEvenAfterCompletion)
{
    server.m_postCompleteSeen = true;
    turn();
    answerAll();
    turn();
    ASSERT_TRUE(server.m_partNumbersComplete);
    server.m_requestPartNumbers = true;
    EXPECT_THAT(turn(), ElementsAre(kSent));
}

TEST_F(PartNumbersTest, DebugLinesBeforeTheSelfTestIsOver)
{
    server.m_debug = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds."));
    EXPECT_EQ(console.text(), "State Notification: Post incomplete\n"
                              "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLineOfATurnThatSends)
{
    server.m_debug = true;
    server.m_postCompleteSeen = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.", kSent));
    EXPECT_EQ(console.text(), "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLinesWhileCollectingAndWhenComplete)
{
    server.m_postCompleteSeen = true;
    turn();
    answer({49, 0});
    server.m_debug = true;
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
    server.m_debug = false;
    answerAll();
    server.m_debug = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:" + first, "2:" + seven, "2:" + all));
    EXPECT_THAT(turn(), ElementsAre("2:" + first));
    EXPECT_EQ(console.text(), first + "\nState Notification: Post IS Complete!\n" + seven + "\n" + all + "\n" + first +
                                  "\nState Notification: Post IS Complete!\n");
}

TEST_F(PartNumbersTest, SevenComponentsAreExpected)
{
    std::vector<std::string> names;
    for (const auto& [name, answered] : server.m_partNumberResponses) {
        names.push_back(name);
        EXPECT_FALSE(answered) << name;
    }
    EXPECT_THAT(names, ElementsAre("ALTNAV", "GPS", "Halvex", "PNT-Q", "Sarvent", "TARVO", "TARVOSW"));
}

TEST_F(PartNumbersTest, TheLastAnswerGivesTheRealNameAndNothingElseChanges)
{
    server.m_postCompleteSeen = true;
    std::strcpy(server.m_systemConfiguration.systemName, "Kolt Gen II - and a long text that is to go");
    std::strcpy(server.m_systemConfiguration.systemSerialNumber, "N/A");
    turn();
    for (const auto& source : kExpected) {
        turn();
        EXPECT_FALSE(server.m_partNumbersComplete);
        answer(source);
        EXPECT_STREQ(told().systemName, "Kolt Gen II - and a long text that is to go");
    }
    auto expected = told();
    std::memset(expected.systemName, 0, sizeof expected.systemName);
    std::strcpy(expected.systemName, "Kolt Gen II");
    turn();
    EXPECT_TRUE(server.m_partNumbersComplete);
    const auto record = told();
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    EXPECT_EQ(victory.last("vapntsTellSystemConfiguration").service, service);
}

TEST_F(PartNumbersTest, ACompleteExchangeIsOver)
{
    server.m_postCompleteSeen = true;
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
    server.m_postCompleteSeen = true;
    turn();
    for (const auto& source : kExpected)
        if (source.server != 38) answer(source);
    turn();
    EXPECT_FALSE(server.m_partNumbersComplete);
    s_now += 10s;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_THAT(turn(), ElementsAre(kSent));
    answer({38, 0});
    turn();
    EXPECT_TRUE(server.m_partNumbersComplete);
}

TEST_F(PartNumbersTest, AnUnfinishedExchangeGoesOnBehindASanitizeOfTheConfiguration)
{
    server.m_postCompleteSeen = true;
    turn();
    server.m_requestPartNumbers = false;  // as a sanitize leaves it
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
    EXPECT_TRUE(server.m_partNumberResponses.at("ALTNAV"));
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
    EXPECT_TRUE(server.m_partNumberResponses.at("TARVOSW"));
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
    EXPECT_TRUE(server.m_partNumberResponses.at("TARVO"));
    EXPECT_FALSE(server.m_partNumberResponses.at("TARVOSW"));
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
    server.m_victoryStarted = false;
    answerAll();
    EXPECT_EQ(tells(), 0U);
    EXPECT_EQ(server.m_systemConfiguration.componentCount, 8);
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
    EXPECT_EQ(server.m_partNumberResponses.size(), 7U);
}

TEST_F(PartNumbersTest, DebugLinesOfAnAnswer)
{
    server.m_debug = true;
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
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x35", "Halvex"), -1);
    answer({53, 0});
    answer({53, 1});
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x3", "Halvex"), -1);
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x355", "Halvex"), -1);
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x35", "Halve"), -1);
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x35", "sarvent"), -1);
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x35", "Sarvent"), 1);
    const VapntcComponentConfiguration zero = {};
    EXPECT_EQ(std::memcmp(&server.m_systemConfiguration.components[1], &zero, sizeof zero), 0);
    EXPECT_EQ(server.m_systemConfiguration.componentCount, 2);
    EXPECT_EQ(server.findAndClearComponentConfigurationByIdAndName("0x35", "Sarvent"), -1);
}

TEST_F(PartNumbersTest, FiftyRowsAndNoMore)
{
    for (int i = 0; i < 50; ++i) EXPECT_TRUE(server.updateComponentConfiguration(-1, "id", "name", "", "", ""));
    const auto before = server.m_systemConfiguration;
    const ConsoleCapture console(std::cout);
    EXPECT_FALSE(server.updateComponentConfiguration(-1, "0x31", "PNT-Q", "1", "2", "3"));
    EXPECT_EQ(std::memcmp(&server.m_systemConfiguration, &before, sizeof before), 0);
    const std::string text = "Out of range error updating component for APNT Component Configuration at index, "
                             "rComponentId=0x31, rName=PNT-Q, rSN=1, rSW=2, rHW=3, ";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
}

TEST_F(PartNumbersTest, ADroppedRowStillCountsAsAnAnswer)
{
    server.m_systemConfiguration.componentCount = 50;
    answer({49, 0});
    EXPECT_TRUE(server.m_partNumberResponses.at("PNT-Q"));
    EXPECT_EQ(tells(), 1U);
}

TEST_F(PartNumbersTest, AnIndexOfItsOwnOnlyHasToBeWithinTheRows)
{
    EXPECT_TRUE(server.updateComponentConfiguration(49, "id", "name", "", "", ""));
    EXPECT_STREQ(server.m_systemConfiguration.components[49].name, "name");
    EXPECT_EQ(server.m_systemConfiguration.componentCount, 0);
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
        server.m_systemConfiguration.componentCount = static_cast<std::int32_t>(count);
        EXPECT_FALSE(server.updateComponentConfiguration(50, "I", "N", "S", "W", "H"));
        EXPECT_EQ(popHealthEvent(),
                  "3:Out of range error updating component for APNT Component Configuration at index, " + rests[count] +
                      "rComponentId=I, rName=N, rSN=S, rSW=W, rHW=H, ");
    }
}

TEST_F(PartNumbersTest, WaitingEndsAtOnceWhenAllIsThereAndWithItsTimeOtherwise)
{
    EXPECT_FALSE(server.waitForPartNumberResponses(0));
    EXPECT_FALSE(server.waitForPartNumberResponses(-1));
    server.m_partNumbersComplete = true;
    EXPECT_TRUE(server.waitForPartNumberResponses(600));
}

TEST_F(PartNumbersTest, AWaitTakesItsTimeAndNoLess)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(server.waitForPartNumberResponses(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(PartNumbersTest, AWakeUpBeforeCompletionDoesNotEndTheWait)
{
    const HardDeadline deadline;
    std::atomic<bool> ended = false;
    bool isComplete = false;
    std::thread waiter([&] {
        isComplete = server.waitForPartNumberResponses(600);
        ended = true;
    });
    EXPECT_FALSE(eventually(
        [&] {
            server.m_partNumbersArrived.notify_all();
            return ended.load();
        },
        300ms));
    {
        const MutexLock lock(server.m_partNumberMutex);
        server.m_partNumbersComplete = true;
        server.m_partNumbersArrived.notify_all();
    }
    waiter.join();
    EXPECT_TRUE(isComplete);
}

TEST_F(PartNumbersTest, NoAnswerIsTakenWhileTheRealNameIsTold)
{
    const HardDeadline deadline;
    server.m_postCompleteSeen = true;
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
    server.m_postCompleteSeen = true;
    turn();
    answerAll();
    std::atomic<int> woken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            if (server.waitForPartNumberResponses(600)) ++woken;
        });
    const auto start = std::chrono::steady_clock::now();
    turn();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(woken, 3);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 300s);
}

TEST_F(PartNumbersTest, UntilAllIsThereTheNameSaysThatItIsBeingCollected)
{
    victory.setFile("config", "<config/>");
    victory.setFile("vcl", "<vcl:VCL/>");
    server.m_victoryConfigurationFile = "config";
    server.m_vclFile = "vcl";
    server.m_victoryStarted = false;
    server.InitializeVictory(nullptr);
    answer({49, 0});
    EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told().systemSerialNumber, "N/A");
    EXPECT_EQ(told().componentCount, 1);
    server.m_postCompleteSeen = true;
    turn();
    answerAll();
    turn();
    EXPECT_STREQ(told().systemName, "Kolt Gen II");
    EXPECT_EQ(std::memcmp(told().manufacturerCode, "9XQ27", 5), 0);
    EXPECT_EQ(told().manufacturerCodePresent, 1U);
    server.ShutdownVictory();
}
