#include "VICTORY/OrvaneServer/PartNumbers.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
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
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace {

using Time = std::chrono::steady_clock::time_point;

constexpr const char* kTell = "vapntsTellSystemConfiguration";
constexpr const char* kSent = "sends REQUEST_PARTNUMBERS";
constexpr const char* kTimeout = "3:OrvaneServer: Timeout of 10 seconds expired while waiting for server part number "
                                 "responses. Will re-request part numbers.";

struct Source {
    unsigned char server;
    unsigned char topic;
};
constexpr Source kExpected[] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};

Time s_now;                                // of the clock that the tests turn
std::chrono::nanoseconds s_stepOfReading;  // that each look at it takes

Time readClock()
{
    s_now += s_stepOfReading;
    return s_now;
}

std::atomic<int> s_wakeUps = 0;  // that come for nothing, before a wait is one

}  // namespace

extern "C" {
int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* until);
int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* until);

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                                  const timespec* until)
{
    if (s_wakeUps > 0) {
        --s_wakeUps;
        return 0;
    }
    return __real_pthread_cond_clockwait(condition, mutex, clock, until);
}
}

namespace {

/// The exchange with a clock that the tests turn, told to a service that runs.
struct PartNumbersTest : testing::Test {
    PartNumbersTest()
    {
        s_now = std::chrono::steady_clock::now() + 1h;  // long after the construction, which is at the real time
        s_stepOfReading = 0ns;
        settings.m_victoryConfigurationFile = "config";
        victory.setFile("config", "<config/>");
        bus.start("<vcl/>");
        victory.forgetCalls();
        popHealthEvents();
    }

    void answer(Source source, const std::string& text = "PARTNUMBERS")
    {
        numbers.handlePartNumberResponses(text, source.server, source.topic);
    }
    void answerAll()
    {
        for (const auto& source : kExpected) answer(source);
    }

    /// A turn, behind the unit's self test or before its end, and the commands that it sends. Its events wait.
    std::vector<std::string> commandsOfTurn(bool isBehindSelfTest = true)
    {
        std::vector<std::string> commands;
        numbers.processPartNumbers(isBehindSelfTest, [&](const std::string& command) {
            commands.push_back(command);
            return true;
        });
        return commands;
    }

    /// The events of a turn, and what it sends, in their order.
    std::vector<std::string> turn()
    {
        popHealthEvents();
        std::vector<std::string> steps;
        numbers.processPartNumbers(isPostComplete, [&](const std::string& command) {
            steps = popHealthEvents();
            steps.push_back("sends " + command);
            return true;
        });
        for (const auto& event : popHealthEvents()) steps.push_back(event);
        return steps;
    }

    void completeAll()
    {
        isPostComplete = true;
        turn();
        answerAll();
        turn();
    }

    /// What a turn in debug says of the answers so far, with a request under way.
    std::string countOfAnswers()
    {
        isPostComplete = true;
        turn();
        const ConsoleCapture console(std::cout);
        settings.m_debug = true;
        const auto events = turn();
        settings.m_debug = false;
        return events.back();
    }

    VapntcSystemConfiguration told() const { return victory.last(kTell).record<VapntcSystemConfiguration>(); }
    std::size_t tells() const { return victory.count(kTell); }

    const HardDeadline deadline;
    ServerSettings settings;
    VictoryRecorder victory;
    BusService bus{settings, {[] {}, [] { return true; }, [](VapntsService*) {}}};
    PartNumbers numbers{settings, bus, &readClock};
    const ConsoleCapture output{std::cout};
    bool isPostComplete = false;
};

std::vector<std::string> namesOf(const VapntcSystemConfiguration& configuration)
{
    std::vector<std::string> names;
    for (std::int32_t i = 0; i < configuration.componentCount; ++i)
        names.push_back(std::string(configuration.components[i].componentId) + " " + configuration.components[i].name);
    return names;
}

}  // namespace

TEST_F(PartNumbersTest, NothingIsSentBeforeTheSelfTestIsOverAndTheFirstTurnBehindItSends)
{
    for (int i = 0; i < 5; ++i) EXPECT_THAT(commandsOfTurn(false), IsEmpty());
    EXPECT_THAT(commandsOfTurn(), ElementsAre("REQUEST_PARTNUMBERS"));
    EXPECT_THAT(commandsOfTurn(), IsEmpty());
}

TEST_F(PartNumbersTest, AfterTenSecondsOfSilenceTheNextTurnAsksAgain)
{
    commandsOfTurn();
    s_now += 9'999'999'999ns;
    EXPECT_THAT(commandsOfTurn(), IsEmpty());
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    s_now += 1ns;
    EXPECT_THAT(commandsOfTurn(), IsEmpty());
    EXPECT_THAT(popHealthEvents(), ElementsAre(kTimeout));
    EXPECT_EQ(output.text(), std::string(kTimeout + 2) + "\n");
    EXPECT_THAT(commandsOfTurn(), ElementsAre("REQUEST_PARTNUMBERS"));
}

TEST_F(PartNumbersTest, EveryAnswerIsToldAtOnceAndTheLastTurnGivesTheRealName)
{
    numbers.tellProvisionalConfiguration(bus.service());
    commandsOfTurn();
    for (const auto& source : kExpected) {
        commandsOfTurn();
        EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
        answer(source);
    }
    EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told().systemSerialNumber, "N/A");
    EXPECT_EQ(std::memcmp(told().manufacturerCode, "9XQ27", 5), 0);
    EXPECT_EQ(victory.count(kTell), 8U);
    commandsOfTurn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(0));
    EXPECT_STREQ(told().systemName, "Kolt Gen II");
    EXPECT_EQ(told().componentCount, 8);
    s_now += 1h;
    EXPECT_THAT(commandsOfTurn(), IsEmpty());
    EXPECT_EQ(victory.count(kTell), 9U);
}

TEST_F(PartNumbersTest, ASilentComponentKeepsTheExchangeOpen)
{
    commandsOfTurn();
    for (const auto& source : kExpected)
        if (source.server != 38) answer(source);
    commandsOfTurn();
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
    answer({38, 0});
    commandsOfTurn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(0));
}

TEST_F(PartNumbersTest, RowsAreThoseOfTheirComponents)
{
    answer({53, 0});
    answer({47, 0});
    answer({47, 2});
    answer({0, 0});
    EXPECT_THAT(namesOf(told()), ElementsAre("0x35 Halvex", "0x2f TARVOSW-PC", "0x2f TARVOSW-KELP", "0x2f TARVO",
                                             "00 INVALID_SERVER_ID"));
}

TEST_F(PartNumbersTest, ARowHasSerialNumberSoftwareAndHardwareOfTheAnswer)
{
    answer({49, 0}, "PARTNUMBERS,HWSN1:0042,HWPN1:345,FW1:3.4,SW1:1.2");
    const auto record = told();
    EXPECT_STREQ(record.components[0].serialNumber, "HWSN1:0042");
    EXPECT_STREQ(record.components[0].software, "SW1:1.2,FW1:3.4");
    EXPECT_STREQ(record.components[0].hardware, "345");
}

TEST_F(PartNumbersTest, AnUnexpectedComponentGetsARowAndAFault)
{
    const std::string text = "OrvaneServer : Received part number response from unexpected server INVALID_SERVER_ID, "
                             "server ID 0x63: PARTNUMBERS,SW1:1";
    answer({99, 0}, "PARTNUMBERS,SW1:1");
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(output.text(), text + "\n");
    EXPECT_THAT(namesOf(told()), ElementsAre("0x63 INVALID_SERVER_ID"));
}

TEST_F(PartNumbersTest, WhileTheServiceIsDownAnswersAreKept)
{
    bus.stop();
    answerAll();
    EXPECT_EQ(victory.count(kTell), 0U);
    bus.start("<vcl/>");
    numbers.tellProvisionalConfiguration(bus.service());
    EXPECT_EQ(told().componentCount, 8);
}

TEST_F(PartNumbersTest, AWipeTellsAnEmptyRecordAndKeepsTheRows)
{
    answer({49, 0});
    numbers.wipeConfiguration();
    const VapntcSystemConfiguration empty = {};
    const auto wiped = told();
    EXPECT_EQ(std::memcmp(&wiped, &empty, sizeof empty), 0);
    answer({38, 0});
    EXPECT_THAT(namesOf(told()), ElementsAre("0x31 PNT-Q", "0x26 ALTNAV"));
}

TEST_F(PartNumbersTest, AWipeTakesBackARequestThatIsDueAndAnUnfinishedExchangeAsksAgain)
{
    numbers.wipeConfiguration();
    EXPECT_THAT(commandsOfTurn(), IsEmpty());  // ten seconds have passed since the construction
    EXPECT_THAT(commandsOfTurn(), ElementsAre("REQUEST_PARTNUMBERS"));
}

TEST_F(PartNumbersTest, LinesOfATurnInDebug)
{
    settings.m_debug = true;
    const std::string first = "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.";
    const std::string none = "OrvaneServer: Checking part numbers. Responses received count = 0";
    commandsOfTurn(false);
    commandsOfTurn();
    commandsOfTurn();
    EXPECT_THAT(popHealthEvents(), ElementsAre("2:" + first, "2:" + first, "2:" + first, "2:" + none));
    EXPECT_EQ(output.text(), "State Notification: Post incomplete\n" + first + "\n" + first + "\n" + first +
                                 "\nState Notification: Post IS Complete!\n" + none + "\n");
}

TEST_F(PartNumbersTest, LinesOfTheLastTurnInDebug)
{
    commandsOfTurn();
    answerAll();
    settings.m_debug = true;
    commandsOfTurn();
    EXPECT_THAT(output.text(),
                testing::EndsWith("State Notification: Post IS Complete!\n"
                                  "OrvaneServer: Checking part numbers. Responses received count = 7\n"
                                  "OrvaneServer: All 7 server part number responses received. Updating VICTORY APNT "
                                  "Configuration.\n"));
}

TEST_F(PartNumbersTest, AWaitEndsWithItsTimeOrAtOnceWhenAllIsThere)
{
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
    commandsOfTurn();
    answerAll();
    commandsOfTurn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(600));
}

TEST_F(PartNumbersTest, CompletionWakesAllThatWait)
{
    commandsOfTurn();
    answerAll();
    std::atomic<int> woken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            if (numbers.waitForPartNumberResponses(600)) ++woken;
        });
    commandsOfTurn();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(woken, 3);
}

TEST_F(PartNumbersTest, ARequestForTheConfigurationIsRefusedWhileTheServiceIsDown)
{
    bus.stop();
    popHealthEvents();
    numbers.awaitSystemConfiguration();
    const std::string text = "OrvaneServer : Cannot request part numbers while APNT service is not running!";
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(output.text(), text + "\n");
}

TEST_F(PartNumbersTest, ARequestForTheConfigurationIsSilentWhenAllIsThere)
{
    commandsOfTurn();
    answerAll();
    commandsOfTurn();
    numbers.awaitSystemConfiguration();
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    settings.m_debug = true;
    numbers.awaitSystemConfiguration();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("2:OrvaneServer : VICTORY APNT Configuration / Part number request received."));
}

TEST_F(PartNumbersTest, ARequestForTheConfigurationThatWaitedInVainSaysSo)
{
    EXPECT_EQ(PartNumbers::kConfigurationWaitSeconds, 12);
    const auto start = std::chrono::steady_clock::now();
    numbers.awaitSystemConfiguration(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer : Warning! Complete set of part numbers was not "
                                               "available for APNT Configuration after 1 seconds."));
}

TEST_F(PartNumbersTest, AnswersOfManyThreadsAreToldOneByOne)
{
    std::atomic<int> inside = 0;
    std::atomic<int> most = 0;
    victory.onCall(kTell, [&] {
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

// Turn by turn, with the events of each.

TEST_F(PartNumbersTest, NothingIsEverSentBeforeTheSelfTestIsOver)
{
    for (int i = 0; i < 100; ++i) {
        s_now += 11s;
        EXPECT_THAT(turn(), IsEmpty());
    }
    isPostComplete = true;
    EXPECT_THAT(turn(), ElementsAre(kSent));
}

TEST_F(PartNumbersTest, ARetryIsDueOnceMoreThan9999999999NanosecondsHavePassed)
{
    isPostComplete = true;
    EXPECT_THAT(turn(), ElementsAre(kSent));
    s_now += 9'999'999'999ns;
    EXPECT_THAT(turn(), IsEmpty());
    s_now += 1ns;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_THAT(turn(), ElementsAre(kSent));
}

TEST_F(PartNumbersTest, TheTurnAfterATimeoutSendsAndSoItGoesOn)
{
    isPostComplete = true;
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
    isPostComplete = true;
    s_stepOfReading = 4s;
    turn();  // begins at 4 s and has sent at 8 s
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(turn(), ElementsAre(kTimeout));  // at 20 s
}

TEST_F(PartNumbersTest, DebugLinesBeforeTheSelfTestIsOver)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds."));
    EXPECT_EQ(console.text(), "State Notification: Post incomplete\n"
                              "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLineOfATurnThatSends)
{
    settings.m_debug = true;
    isPostComplete = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.", kSent));
    EXPECT_EQ(console.text(), "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.\n");
}

TEST_F(PartNumbersTest, DebugLinesWhileCollectingAndWhenComplete)
{
    isPostComplete = true;
    turn();
    answer({49, 0});
    settings.m_debug = true;
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
    settings.m_debug = false;
    answerAll();
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    EXPECT_THAT(turn(), ElementsAre("2:" + first, "2:" + seven, "2:" + all));
    EXPECT_THAT(turn(), ElementsAre("2:" + first));
    EXPECT_EQ(console.text(), first + "\nState Notification: Post IS Complete!\n" + seven + "\n" + all + "\n" + first +
                                  "\nState Notification: Post IS Complete!\n");
}

TEST_F(PartNumbersTest, SevenComponentsAreExpected)
{
    for (const auto& missing : kExpected) {
        PartNumbers fresh(settings, bus, &readClock);
        const auto turnOfFresh = [&] { fresh.processPartNumbers(true, [](const std::string&) { return true; }); };
        turnOfFresh();
        for (const auto& [server, topic] : kExpected)
            if (server != missing.server || topic != missing.topic)
                fresh.handlePartNumberResponses("PARTNUMBERS", server, topic);
        turnOfFresh();
        EXPECT_FALSE(fresh.waitForPartNumberResponses(0)) << int{missing.server};
        fresh.handlePartNumberResponses("PARTNUMBERS", missing.server, missing.topic);
        turnOfFresh();
        EXPECT_TRUE(fresh.waitForPartNumberResponses(0)) << int{missing.server};
    }
    EXPECT_THAT(popHealthEvents(), IsEmpty());
    answerAll();
    EXPECT_THAT(namesOf(told()), ElementsAre("0x35 Sarvent", "0x35 Halvex", "0x27 GPS", "0x2f TARVOSW-PC",
                                             "0x2f TARVOSW-KELP", "0x2f TARVO", "0x31 PNT-Q", "0x26 ALTNAV"));
}

TEST_F(PartNumbersTest, TheLastAnswerGivesTheRealNameAndNothingElseChanges)
{
    isPostComplete = true;
    numbers.tellProvisionalConfiguration(bus.service());
    turn();
    for (const auto& source : kExpected) {
        turn();
        EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
        answer(source);
        EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    }
    auto expected = told();
    std::memset(expected.systemName, 0, sizeof expected.systemName);
    std::strcpy(expected.systemName, "Kolt Gen II");
    turn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(0));
    const auto record = told();
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    EXPECT_EQ(victory.last(kTell).service, bus.service());
}

TEST_F(PartNumbersTest, ACompleteExchangeIsOver)
{
    isPostComplete = true;
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
    isPostComplete = true;
    turn();
    for (const auto& source : kExpected)
        if (source.server != 38) answer(source);
    turn();
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
    s_now += 10s;
    EXPECT_THAT(turn(), ElementsAre(kTimeout));
    EXPECT_THAT(turn(), ElementsAre(kSent));
    answer({38, 0});
    turn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(0));
}

TEST_F(PartNumbersTest, AnUnfinishedExchangeGoesOnBehindASanitizeOfTheConfiguration)
{
    isPostComplete = true;
    turn();
    numbers.wipeConfiguration();
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
    EXPECT_EQ(countOfAnswers(), "2:OrvaneServer: Checking part numbers. Responses received count = 1");
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
    EXPECT_EQ(tells(), 1U);
    EXPECT_EQ(countOfAnswers(), "2:OrvaneServer: Checking part numbers. Responses received count = 1");
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
    EXPECT_EQ(countOfAnswers(), "2:OrvaneServer: Checking part numbers. Responses received count = 1");
    for (const auto& [id, topic] : kExpected)
        if (id != 47) answer({id, topic});
    turn();
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));  // that of the other topic is still missing
    answer({47, 0});
    turn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(0));
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

TEST_F(PartNumbersTest, AnUnexpectedComponentGetsARowAndDoesNotCount)
{
    const ConsoleCapture console(std::cout);
    const std::string text = "OrvaneServer : Received part number response from unexpected server INVALID_SERVER_ID, "
                             "server ID 0x63: PARTNUMBERS,SW1:1";
    answer({99, 0}, "PARTNUMBERS,SW1:1");
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    EXPECT_THAT(namesOf(told()), ElementsAre("0x63 INVALID_SERVER_ID"));
    EXPECT_EQ(countOfAnswers(), "2:OrvaneServer: Checking part numbers. Responses received count = 0");
}

TEST_F(PartNumbersTest, DebugLinesOfAnAnswer)
{
    settings.m_debug = true;
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

TEST_F(PartNumbersTest, ADroppedRowStillCountsAsAnAnswer)
{
    const ConsoleCapture console(std::cout);
    for (unsigned char id = 100; id < 150; ++id) answer({id, 0});
    answer({49, 0});
    EXPECT_EQ(tells(), 51U);
    EXPECT_EQ(told().componentCount, 50);
    EXPECT_STREQ(told().components[49].componentId, "0x95");
    EXPECT_EQ(countOfAnswers(), "2:OrvaneServer: Checking part numbers. Responses received count = 1");
}

TEST_F(PartNumbersTest, WaitingEndsAtOnceWhenAllIsThereAndWithItsTimeOtherwise)
{
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
    EXPECT_FALSE(numbers.waitForPartNumberResponses(-1));
    completeAll();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(600));
}

TEST_F(PartNumbersTest, AWaitTakesItsTimeAndNoLess)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(numbers.waitForPartNumberResponses(1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(PartNumbersTest, AWakeUpBeforeCompletionDoesNotEndTheWait)
{
    s_wakeUps = 1000;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(numbers.waitForPartNumberResponses(1));
    EXPECT_EQ(s_wakeUps, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(PartNumbersTest, NoAnswerIsTakenWhileTheRealNameIsTold)
{
    isPostComplete = true;
    turn();
    answerAll();
    std::thread listener;
    std::atomic<bool> taken = false;
    victory.onCall(kTell, [&] {
        victory.onCall(kTell, nullptr);
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

TEST_F(PartNumbersTest, NothingIsWipedInAServiceThatIsDown)
{
    bus.stop();
    victory.forgetCalls();
    numbers.wipeConfiguration();
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(PartNumbersTest, NothingIsWipedInAServiceThatIsBeingRestarted)
{
    victory.onCall("vapntsNewService", [&] { numbers.wipeConfiguration(); });
    bus.restart(1000);
    EXPECT_EQ(tells(), 0U);
    EXPECT_THAT(victory.usesOfDeletedServices(), IsEmpty());
}

TEST_F(PartNumbersTest, WhatThrowsInAWipeLeavesNoLockBehind)
{
    victory.onCall(kTell, [] { throw std::runtime_error("no luck"); });
    EXPECT_THROW(numbers.wipeConfiguration(), std::runtime_error);
    victory.onCall(kTell, nullptr);
    answer({49, 0});
    EXPECT_EQ(told().componentCount, 1);
    EXPECT_TRUE(bus.stop());
}
