#include "VICTORY/OrvaneServer/PartNumbers.h"

#include "tests/VICTORY/OrvaneServer/UnitEvents.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

namespace {

constexpr const char* kTell = "vapntsTellSystemConfiguration";
constexpr const char* kTimeout = "OrvaneServer: Timeout of 10 seconds expired while waiting for server part number "
                                 "responses. Will re-request part numbers.";

std::chrono::steady_clock::time_point s_now;

std::chrono::steady_clock::time_point readClock()
{
    return s_now;
}

struct Source {
    unsigned char server;
    unsigned char topic;
};
constexpr Source kExpected[] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};

struct PartNumbersUnitTest : testing::Test {
    PartNumbersUnitTest()
    {
        s_now = std::chrono::steady_clock::now() + 1h;
        settings.m_victoryConfigurationFile = "config";
        victory.setFile("config", "<config/>");
        bus.start("<vcl/>");
        victory.forgetCalls();
        takeHealthEvents();
    }

    /// A turn behind the unit's self test, and the commands that it sends.
    std::vector<std::string> turn(bool isPostComplete = true)
    {
        std::vector<std::string> commands;
        numbers.processPartNumbers(isPostComplete, [&](const std::string& command) {
            commands.push_back(command);
            return true;
        });
        return commands;
    }

    void answer(Source source, const std::string& text = "PARTNUMBERS")
    {
        numbers.handlePartNumberResponses(text, source.server, source.topic);
    }
    void answerAll()
    {
        for (const auto& source : kExpected) answer(source);
    }

    VapntcSystemConfiguration told() const { return victory.last(kTell).record<VapntcSystemConfiguration>(); }
    std::vector<std::string> names() const
    {
        const auto configuration = told();
        std::vector<std::string> names;
        for (std::int32_t i = 0; i < configuration.componentCount; ++i)
            names.push_back(std::string(configuration.components[i].componentId) + " " +
                            configuration.components[i].name);
        return names;
    }

    const HardDeadline deadline;
    ServerSettings settings;
    VictoryRecorder victory;
    BusService bus{settings, {[] {}, [] { return true; }, [](VapntsService*) {}}};
    PartNumbers numbers{settings, bus, &readClock};
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(PartNumbersUnitTest, NothingIsSentBeforeTheSelfTestIsOverAndTheFirstTurnBehindItSends)
{
    for (int i = 0; i < 5; ++i) EXPECT_THAT(turn(false), IsEmpty());
    EXPECT_THAT(turn(), ElementsAre("REQUEST_PARTNUMBERS"));
    EXPECT_THAT(turn(), IsEmpty());
}

TEST_F(PartNumbersUnitTest, AfterTenSecondsOfSilenceTheNextTurnAsksAgain)
{
    turn();
    s_now += 9'999'999'999ns;
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(takeHealthEvents(), IsEmpty());
    s_now += 1ns;
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_THAT(takeHealthEvents(), ElementsAre(std::string("3:") + kTimeout));
    EXPECT_EQ(console.text(), std::string(kTimeout) + "\n");
    EXPECT_THAT(turn(), ElementsAre("REQUEST_PARTNUMBERS"));
}

TEST_F(PartNumbersUnitTest, EveryAnswerIsToldAtOnceAndTheLastTurnGivesTheRealName)
{
    numbers.tellProvisionalConfiguration(bus.service());
    turn();
    for (const auto& source : kExpected) {
        turn();
        EXPECT_FALSE(numbers.isComplete());
        answer(source);
    }
    EXPECT_STREQ(told().systemName, "Kolt Gen II - Collecting system information. Please wait and retry...");
    EXPECT_STREQ(told().systemSerialNumber, "N/A");
    EXPECT_EQ(std::memcmp(told().manufacturerCode, "9XQ27", 5), 0);
    EXPECT_EQ(victory.count(kTell), 8U);
    turn();
    EXPECT_TRUE(numbers.isComplete());
    EXPECT_STREQ(told().systemName, "Kolt Gen II");
    EXPECT_EQ(told().componentCount, 8);
    s_now += 1h;
    EXPECT_THAT(turn(), IsEmpty());
    EXPECT_EQ(victory.count(kTell), 9U);
}

TEST_F(PartNumbersUnitTest, ASilentComponentKeepsTheExchangeOpen)
{
    turn();
    for (const auto& source : kExpected)
        if (source.server != 38) answer(source);
    turn();
    EXPECT_FALSE(numbers.isComplete());
    answer({38, 0});
    turn();
    EXPECT_TRUE(numbers.isComplete());
}

TEST_F(PartNumbersUnitTest, RowsAreThoseOfTheirComponents)
{
    answer({53, 0});
    answer({47, 0});
    answer({47, 2});
    answer({0, 0});
    EXPECT_THAT(names(), ElementsAre("0x35 Halvex", "0x2f TARVOSW-PC", "0x2f TARVOSW-KELP", "0x2f TARVO",
                                     "00 INVALID_SERVER_ID"));
}

TEST_F(PartNumbersUnitTest, ARowHasSerialNumberSoftwareAndHardwareOfTheAnswer)
{
    answer({49, 0}, "PARTNUMBERS,HWSN1:0042,HWPN1:345,FW1:3.4,SW1:1.2");
    const auto record = told();
    EXPECT_STREQ(record.components[0].serialNumber, "HWSN1:0042");
    EXPECT_STREQ(record.components[0].software, "SW1:1.2,FW1:3.4");
    EXPECT_STREQ(record.components[0].hardware, "345");
}

TEST_F(PartNumbersUnitTest, AnUnexpectedComponentGetsARowAndAFault)
{
    const std::string text = "OrvaneServer : Received part number response from unexpected server INVALID_SERVER_ID, "
                             "server ID 0x63: PARTNUMBERS,SW1:1";
    answer({99, 0}, "PARTNUMBERS,SW1:1");
    EXPECT_THAT(takeHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
    EXPECT_THAT(names(), ElementsAre("0x63 INVALID_SERVER_ID"));
}

TEST_F(PartNumbersUnitTest, WhileTheServiceIsDownAnswersAreKept)
{
    bus.stop();
    answerAll();
    EXPECT_EQ(victory.count(kTell), 0U);
    bus.start("<vcl/>");
    numbers.tellProvisionalConfiguration(bus.service());
    EXPECT_EQ(told().componentCount, 8);
}

TEST_F(PartNumbersUnitTest, AWipeTellsAnEmptyRecordAndKeepsTheRows)
{
    answer({49, 0});
    numbers.wipeConfiguration();
    const VapntcSystemConfiguration empty = {};
    const auto wiped = told();
    EXPECT_EQ(std::memcmp(&wiped, &empty, sizeof empty), 0);
    answer({38, 0});
    EXPECT_THAT(names(), ElementsAre("0x31 PNT-Q", "0x26 ALTNAV"));
}

TEST_F(PartNumbersUnitTest, AWipeTakesBackARequestThatIsDueAndAnUnfinishedExchangeAsksAgain)
{
    numbers.wipeConfiguration();
    EXPECT_THAT(turn(), IsEmpty());  // ten seconds have passed since the construction
    EXPECT_THAT(turn(), ElementsAre("REQUEST_PARTNUMBERS"));
}

TEST_F(PartNumbersUnitTest, LinesOfATurnInDebug)
{
    settings.m_debug = true;
    const std::string first = "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.";
    const std::string none = "OrvaneServer: Checking part numbers. Responses received count = 0";
    turn(false);
    turn();
    turn();
    EXPECT_THAT(takeHealthEvents(), ElementsAre("2:" + first, "2:" + first, "2:" + first, "2:" + none));
    EXPECT_EQ(console.text(), "State Notification: Post incomplete\n" + first + "\n" + first + "\n" + first +
                                  "\nState Notification: Post IS Complete!\n" + none + "\n");
}

TEST_F(PartNumbersUnitTest, LinesOfTheLastTurnInDebug)
{
    turn();
    answerAll();
    settings.m_debug = true;
    turn();
    EXPECT_THAT(console.text(),
                testing::EndsWith("State Notification: Post IS Complete!\n"
                                  "OrvaneServer: Checking part numbers. Responses received count = 7\n"
                                  "OrvaneServer: All 7 server part number responses received. Updating VICTORY APNT "
                                  "Configuration.\n"));
}

TEST_F(PartNumbersUnitTest, AWaitEndsWithItsTimeOrAtOnceWhenAllIsThere)
{
    EXPECT_FALSE(numbers.waitForPartNumberResponses(0));
    turn();
    answerAll();
    turn();
    EXPECT_TRUE(numbers.waitForPartNumberResponses(600));
}

TEST_F(PartNumbersUnitTest, CompletionWakesAllThatWait)
{
    turn();
    answerAll();
    std::atomic<int> woken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            if (numbers.waitForPartNumberResponses(600)) ++woken;
        });
    turn();
    for (auto& waiter : waiters) waiter.join();
    EXPECT_EQ(woken, 3);
}

TEST_F(PartNumbersUnitTest, ARequestForTheConfigurationIsRefusedWhileTheServiceIsDown)
{
    bus.stop();
    takeHealthEvents();
    numbers.awaitSystemConfiguration();
    const std::string text = "OrvaneServer : Cannot request part numbers while APNT service is not running!";
    EXPECT_THAT(takeHealthEvents(), ElementsAre("3:" + text));
    EXPECT_EQ(console.text(), text + "\n");
}

TEST_F(PartNumbersUnitTest, ARequestForTheConfigurationIsSilentWhenAllIsThere)
{
    turn();
    answerAll();
    turn();
    numbers.awaitSystemConfiguration();
    EXPECT_THAT(takeHealthEvents(), IsEmpty());
    settings.m_debug = true;
    numbers.awaitSystemConfiguration();
    EXPECT_THAT(takeHealthEvents(),
                ElementsAre("2:OrvaneServer : VICTORY APNT Configuration / Part number request received."));
}

TEST_F(PartNumbersUnitTest, ARequestForTheConfigurationThatWaitedInVainSaysSo)
{
    EXPECT_EQ(PartNumbers::kConfigurationWaitSeconds, 12);
    const auto start = std::chrono::steady_clock::now();
    numbers.awaitSystemConfiguration(1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_THAT(takeHealthEvents(), ElementsAre("3:OrvaneServer : Warning! Complete set of part numbers was not "
                                                "available for APNT Configuration after 1 seconds."));
}

TEST_F(PartNumbersUnitTest, AnswersOfManyThreadsAreToldOneByOne)
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
