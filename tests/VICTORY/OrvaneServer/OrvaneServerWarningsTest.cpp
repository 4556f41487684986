#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ContainsRegex;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace aspn2_msgs::idl;
using namespace std::chrono_literals;

namespace {

constexpr auto kNone = ClearDataCommand::CLEAR_NONE;
constexpr auto kZeroize = ClearDataCommand::CLEAR_ZEROIZE;
constexpr auto kDestroy = ClearDataCommand::CLEAR_DESTROY;
constexpr auto kZentorm = ClearDataCommand::CLEAR_ZENTORM_CV_ZEROIZE;

template <class T, class Record>
T at(const Record& record, std::size_t offset)
{
    T value = {};
    std::memcpy(&value, reinterpret_cast<const std::uint8_t*>(&record) + offset, sizeof value);
    return value;
}

/// A receiver's warning: the number, and a text with the characters of each word in wire order.
std::vector<std::uint8_t> frameOf(std::uint16_t number, const std::string& text = "")
{
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90};
    bytes.resize(54);
    bytes[18] = static_cast<std::uint8_t>(number);
    bytes[19] = static_cast<std::uint8_t>(number >> 8);
    for (std::size_t i = 0; i < std::min<std::size_t>(text.size(), 32); ++i)
        bytes[20 + (i ^ 1)] = static_cast<std::uint8_t>(text[i]);
    return bytes;
}

/// A record of the receiver with this frame.
GSSIP recordOf(const std::vector<std::uint8_t>& frame)
{
    GSSIP record;
    record.header().device_id(39 << 16);
    record.num_bytes(static_cast<std::int32_t>(frame.size()));
    record.data(frame);
    return record;
}

VapntcWarningMessage warningOf(std::uint32_t id)
{
    VapntcWarningMessage warning = {};
    warning.warningId = id;
    return warning;
}

struct WarningsTest : testing::Test {
    WarningsTest()
    {
        victory.setFile("config", "<config/>");
        victory.setFile("vcl", "<vcl:VCL/>");
        server.useBusFiles("config", "vcl");
        server.change([](auto& settings) { settings.gssipSources = {39}; });
        server.startBus();  // which builds the table
        server.run();
        popHealthEvents();
    }
    ~WarningsTest() override { server.stopBus(); }

    void receive(std::uint16_t number, const std::string& text = "")
    {
        server.fromReceiver(recordOf(frameOf(number, text)));
    }

    void publish() { server.library().tellWarnings(); }

    VapntcWarningMessagesRecord published()
    {
        publish();
        return victory.last("vapntsTellWarningMessagesData").record<VapntcWarningMessagesRecord>();
    }

    std::vector<std::uint32_t> ids()
    {
        const auto record = published();
        std::vector<std::uint32_t> found;
        for (std::uint32_t i = 0; i < record.warningCount; ++i) found.push_back(record.warnings[i].warningId);
        return found;
    }

    VictoryRecorder victory;
    ServerDoor server;
};

}  // namespace

TEST_F(WarningsTest, IdsOfAllReceiverNumbers)
{
    const std::map<unsigned short, std::uint32_t> listed = {
        {1, 0},   {2, 1},   {3, 2},   {4, 3},   {5, 4},   {7, 5},   {8, 6},   {9, 7},   {10, 8},  {11, 9},
        {12, 10}, {13, 11}, {14, 12}, {15, 13}, {16, 14}, {17, 15}, {18, 16}, {19, 17}, {20, 18}, {21, 19},
        {22, 20}, {23, 21}, {27, 22}, {28, 23}, {34, 24}, {35, 25}, {36, 26}, {37, 27}, {38, 28}, {39, 29},
        {40, 30}, {41, 31}, {42, 32}, {43, 33}, {44, 34}, {45, 35}, {46, 36}, {47, 37}, {50, 40}, {51, 41},
        {52, 42}, {53, 43}, {54, 44}, {55, 45}, {56, 46}, {57, 47}, {58, 48}, {59, 49}, {60, 50}, {61, 51},
        {62, 52}, {63, 53}, {67, 54}, {68, 55}, {69, 56}, {70, 57}, {71, 58}, {79, 59}, {81, 61}};
    for (unsigned number = 0; number <= 65535; ++number) {
        const auto found = listed.find(static_cast<unsigned short>(number));
        ASSERT_EQ(server.encodeVictoryWarningId(static_cast<unsigned short>(number)),
                  found == listed.end() ? 75U : found->second)
            << number;
    }
}

TEST_F(WarningsTest, BeforeAStartEveryNumberIsCustom)
{
    const ServerDoor fresh;
    EXPECT_EQ(fresh.encodeVictoryWarningId(1), 75U);
}

TEST_F(WarningsTest, AListedNumberGoesOutWithoutItsText)
{
    receive(7, "receiver's words");
    const auto record = published();
    VapntcWarningMessage expected = {};
    expected.warningId = 5;
    EXPECT_EQ(record.warningCount, 1U);
    EXPECT_EQ(std::memcmp(&record.warnings[0], &expected, sizeof expected), 0);
}

TEST_F(WarningsTest, OtherNumbersAreCustomWithTheReceiversText)
{
    for (const auto number : std::initializer_list<std::uint16_t>{0, 6, 82, 65535})
        receive(number, "HELLO, this warning has 32 chars");
    const auto record = published();
    ASSERT_EQ(record.warningCount, 4U);
    for (std::uint32_t i = 0; i < record.warningCount; ++i) {
        EXPECT_EQ(record.warnings[i].warningId, 75U);
        EXPECT_EQ(record.warnings[i].customTextValid, 1U);
        EXPECT_STREQ(record.warnings[i].customText, "HELLO, this warning has 32 chars");
    }
}

TEST_F(WarningsTest, ARefusedFrameQueuesNothing)
{
    auto frame = frameOf(7);
    frame.pop_back();
    server.fromReceiver(recordOf(frame));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, LayoutOfACustomWarning)
{
    EXPECT_TRUE(server.warn("careful"));
    const auto record = published();
    std::vector<std::uint8_t> expected(524);
    const std::uint32_t id = 75;
    const std::uint32_t valid = 1;
    std::memcpy(expected.data(), &id, 4);
    std::memcpy(expected.data() + 264, "careful", 7);
    std::memcpy(expected.data() + 520, &valid, 4);
    std::vector<std::uint8_t> bytes(524);
    std::memcpy(bytes.data(), &record.warnings[0], bytes.size());
    EXPECT_EQ(bytes, expected);
}

TEST_F(WarningsTest, TextsAreCutTo255Characters)
{
    EXPECT_TRUE(server.warn(std::string(255, 'a')));
    EXPECT_TRUE(server.warn(std::string(256, 'b')));
    EXPECT_TRUE(server.warnOfEnd(kZeroize, true, std::string(5000, 'c')));
    const auto record = published();
    EXPECT_EQ(record.warnings[0].customText, std::string(255, 'a'));
    EXPECT_EQ(record.warnings[1].customText, std::string(255, 'b'));
    EXPECT_EQ(record.warnings[2].customText, std::string(255, 'c'));
    EXPECT_EQ(record.warnings[2].customTextValid, 1U);
}

TEST_F(WarningsTest, CompletionsGoOutByTypeAndResult)
{
    for (const auto type : {kZentorm, kZeroize, kDestroy})
        for (const bool success : {true, false}) EXPECT_TRUE(server.warnOfEnd(type, success, "done"));
    EXPECT_THAT(ids(), ElementsAre(2, 3, 22, 23, 24, 25));
    const auto record = published();
    for (std::uint32_t i = 0; i < 6; ++i) {
        EXPECT_EQ(record.warnings[i].customTextValid, 1U);
        EXPECT_STREQ(record.warnings[i].customText, "done");
    }
}

TEST_F(WarningsTest, ACompletionOfAnUnknownTypeIsAnEventAndNoWarning)
{
    const ConsoleCapture console(std::cout);
    EXPECT_FALSE(server.warnOfEnd(kNone, true, "done"));
    EXPECT_EQ(console.text(), "");
    server.setQuiet(false);
    EXPECT_FALSE(server.warnOfEnd(static_cast<ClearDataCommand::ClearDataType>(-7), false, "done"));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: "
                                              "Unknown eClearType: -7\n$"));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown eClearType: 0", "3:OrvaneServer: Unknown eClearType: -7"));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, FiftyFirstAppendDropsTheOldest)
{
    for (std::uint32_t id = 100; id <= 150; ++id) EXPECT_TRUE(server.warn(warningOf(id)));
    EXPECT_EQ(server.warnings().size(), 50U);
    const auto record = published();
    for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(at<std::uint32_t>(record, 8 + std::size_t{524} * i), 101 + i) << i;
    EXPECT_EQ(at<std::uint32_t>(record, 26208), 50U);
}

TEST_F(WarningsTest, TheSameListGoesOutAgainAndAgain)
{
    server.warn(warningOf(67));
    server.warn(warningOf(68));
    EXPECT_THAT(ids(), ElementsAre(67, 68));
    EXPECT_THAT(ids(), ElementsAre(67, 68));
    server.warn(warningOf(67));
    EXPECT_THAT(ids(), ElementsAre(67, 68, 67));
}

TEST_F(WarningsTest, AnEmptyListIsToldWithTheGpsSeconds)
{
    UTCTime time;
    time.gps_tow_sec(345600);
    time.gps_tow_nsec(2.5e8);
    server.deliver(time);
    const auto record = published();
    EXPECT_EQ(at<double>(record, 0), 345600.25);
    VapntcWarningMessagesRecord expected = {};
    expected.gpsSeconds = 345600.25;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    const auto call = victory.last("vapntsTellWarningMessagesData");
    EXPECT_EQ(call.service, server.busService());
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(WarningsTest, WhileTheServiceIsDownWarningsStayAndEveryTurnIsAnEvent)
{
    server.warn(warningOf(67));
    server.stopBus();
    popHealthEvents();
    const ConsoleCapture console(std::cout);
    publish();
    publish();
    const auto events = popHealthEvents();
    EXPECT_EQ(events.size(), 2U);
    EXPECT_THAT(events, Each("3:OrvaneServer : Cannot publish warnings while APNT service is not running! Warnings "
                             "remain queued."));
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\), cbTellWarningMessagesCallback : "
                                              "OrvaneServer : Cannot publish warnings while APNT service is not "
                                              "running! Warnings remain queued\\.\n"));
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 0U);
    server.startBus();
    EXPECT_THAT(ids(), ElementsAre(67));
}

TEST_F(WarningsTest, WithoutAContextThereIsAnEventAndALine)
{
    victory.forgetCalls();
    const ConsoleCapture console(std::cout);
    ServerDoor::libraryWithoutContext().tellWarnings();
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: instance pointer was not found in VICTORY callbackData parameter"));
    EXPECT_THAT(console.text(), HasSubstr("cbTellWarningMessagesCallback : OrvaneServer: instance pointer was not "
                                          "found in VICTORY callbackData parameter\n"));
    EXPECT_THAT(victory.operations(), IsEmpty());
}

TEST_F(WarningsTest, WhileTellingIsDisabledNothingIsToldAndNothingLost)
{
    server.warn(warningOf(67));
    server.setTellDisabled(true);
    publish();
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 0U);
    server.setTellDisabled(false);
    EXPECT_THAT(ids(), ElementsAre(67));
}

TEST_F(WarningsTest, NothingLeavesThePublication)
{
    victory.onCall("vapntsTellWarningMessagesData", [] { throw std::runtime_error("no luck"); });
    const ConsoleCapture console(std::cout);
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: no luck");
    victory.onCall("vapntsTellWarningMessagesData", [] { throw 1; });
    publish();
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Unknown c++ exception occurred");
    EXPECT_THAT(console.text(), ContainsRegex("cbTellWarningMessagesCallback : OrvaneServer: An exception occurred. "
                                              "Details: no luck\n.*cbTellWarningMessagesCallback : OrvaneServer: "
                                              "Unknown c\\+\\+ exception occurred\n"));
}

TEST_F(WarningsTest, DebugLineShowsOnlyWarningsWithAText)
{
    server.setDebug(true);
    const ConsoleCapture console(std::cout);
    server.warn(warningOf(67));
    EXPECT_EQ(console.text(), "");
    server.warn("careful");
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer, appendWarningToList \\([0-9]+\\): OrvaneServer: Sending "
                                              "VDB APNT warning message ID 75, custom message: careful\n$"));
}

TEST_F(WarningsTest, AWarningThatCannotBeKeptIsFalseAndNamesAnotherOperation)
{
    const auto warning = warningOf(67);
    const ConsoleCapture console(std::cout);
    bool appended = true;
    {
        const FailingAllocation memory(0, 1);
        appended = server.warn(warning);
    }
    EXPECT_FALSE(appended);
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: An exception occurred. Details: std::bad_alloc");
    EXPECT_THAT(console.text(), ContainsRegex("^OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : An "
                                              "exception occurred in attemptBlendedNavigationProcessing\\. Details: "
                                              "OrvaneServer: An exception occurred\\. Details: std::bad_alloc\n$"));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, AnExceptionOfAnotherKindIsUnknown)
{
    server.setDebug(true);
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw 1; });
    EXPECT_FALSE(server.warn("careful"));
    EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Unknown c++ exception in attemptBlendedNavigationProcessing");
    EXPECT_THAT(console.text(),
                testing::MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : OrvaneServer: "
                                      "Unknown c\\+\\+ exception in attemptBlendedNavigationProcessing\n"));
}

TEST_F(WarningsTest, ACompletionThatFailsHasItsOwnTexts)
{
    server.setQuiet(false);
    const auto failWith = [this](std::function<void()> failure) {
        const ConsoleCapture console(std::cout);
        const BeforeNextLine next(std::move(failure));
        EXPECT_FALSE(server.warnOfEnd(kNone, true, "done"));
        return console.text();
    };
    EXPECT_THAT(failWith([] { throw std::runtime_error("no luck"); }),
                testing::MatchesRegex("OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: An exception "
                                      "occurred\\. Details: no luck\n"));
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Unknown eClearType: 0",
                                               "3:OrvaneServer: An exception occurred. Details: no luck"));
    EXPECT_THAT(failWith([] { throw 1; }),
                testing::MatchesRegex("OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: Unknown "
                                      "c\\+\\+ exception occurred\n"));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown eClearType: 0", "3:OrvaneServer: Unknown c++ exception occurred"));
}

TEST_F(WarningsTest, NoWarningIsQueuedWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    std::thread producer;
    std::atomic<bool> queued = false;
    victory.onCall("vapntsTellWarningMessagesData", [&] {
        producer = std::thread([&] {
            server.warn(warningOf(67));
            queued = true;
        });
        EXPECT_FALSE(eventually([&] { return queued.load(); }, 100ms));
    });
    publish();
    producer.join();
    EXPECT_EQ(server.warnings().size(), 1U);
}

TEST_F(WarningsTest, TimeIsFreeWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    std::atomic<bool> isTaken = false;
    std::thread listener;
    victory.onCall("vapntsTellWarningMessagesData", [&] {
        listener = std::thread([&] { server.whileTimeIsHeld([&] { isTaken = true; }); });
        EXPECT_TRUE(eventually([&] { return isTaken.load(); }, 10s));
    });
    publish();
    listener.join();
}

TEST_F(WarningsTest, ManyMayQueueWhileTheListGoesOut)
{
    std::vector<std::thread> producers;
    for (int producer = 0; producer < 3; ++producer)
        producers.emplace_back([this] {
            for (int i = 0; i < 200; ++i) {
                server.warnOfEnd(kZeroize, false, "zeroize failed");
                receive(6, "receiver's words");
            }
        });
    for (int i = 0; i < 50; ++i) publish();
    for (auto& producer : producers) producer.join();
    const auto record = published();
    EXPECT_EQ(record.warningCount, 50U);
    for (const auto& warning : record.warnings)
        EXPECT_STREQ(warning.customText, warning.warningId == 23 ? "zeroize failed" : "receiver's words");
}
