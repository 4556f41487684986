#include "VICTORY/OrvaneServer/Warnings.h"
#include "tests/VICTORY/OrvaneServer/WarningFrames.h"
#include "tests/support/BeforeNextLine.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FailingAllocation.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/Meanwhile.h"
#include "tests/support/ValueAt.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using namespace std::chrono_literals;

namespace {

constexpr auto kNone = ClearDataCommand::CLEAR_NONE;
constexpr auto kZeroize = ClearDataCommand::CLEAR_ZEROIZE;
constexpr auto kDestroy = ClearDataCommand::CLEAR_DESTROY;
constexpr auto kZentorm = ClearDataCommand::CLEAR_ZENTORM_CV_ZEROIZE;
constexpr bool kStarted = true;
constexpr bool kTellDisabled = true;

struct WarningsTest : testing::Test {
    WarningsTest() { warnings.initWarningIdEncoder(); }

    void receive(std::uint16_t number, const std::string& text = "")
    {
        const auto frame = warningFrameOf(number, text);
        warnings.handleBlock5044(frame.data(), static_cast<unsigned>(frame.size()));
    }

    void publish() { warnings.publish(service, kStarted, !kTellDisabled); }

    VapntcWarningMessagesRecord published()
    {
        publish();
        return victory.last("vapntsTellWarningMessagesData").record<VapntcWarningMessagesRecord>();
    }

    std::vector<std::uint32_t> ids() { return warningIdsOf(published()); }

    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    ServerSettings settings;
    LatestTime time;
    Warnings warnings{settings, time};
};

}  // namespace

TEST_F(WarningsTest, NumbersOfTheReceiverAtTheEdgesOfTheirRuns)
{
    const std::pair<unsigned short, std::uint32_t> rows[] = {
        {0, 75},  {1, 0},   {5, 4},   {6, 75},  {7, 5},   {23, 21}, {24, 75}, {26, 75}, {27, 22}, {28, 23},
        {29, 75}, {33, 75}, {34, 24}, {47, 37}, {48, 75}, {49, 75}, {50, 40}, {63, 53}, {64, 75}, {66, 75},
        {67, 54}, {70, 57}, {71, 58}, {72, 75}, {78, 75}, {79, 59}, {80, 75}, {81, 61}, {82, 75}, {65535, 75}};
    for (const auto& [number, id] : rows) EXPECT_EQ(warnings.encodeVictoryWarningId(number), id) << number;
}

TEST_F(WarningsTest, IdsOfAllReceiverNumbersAlsoAfterASecondStart)
{
    warnings.initWarningIdEncoder();
    const std::map<unsigned short, std::uint32_t> listed = {
        {1, 0},   {2, 1},   {3, 2},   {4, 3},   {5, 4},   {7, 5},   {8, 6},   {9, 7},   {10, 8},  {11, 9},
        {12, 10}, {13, 11}, {14, 12}, {15, 13}, {16, 14}, {17, 15}, {18, 16}, {19, 17}, {20, 18}, {21, 19},
        {22, 20}, {23, 21}, {27, 22}, {28, 23}, {34, 24}, {35, 25}, {36, 26}, {37, 27}, {38, 28}, {39, 29},
        {40, 30}, {41, 31}, {42, 32}, {43, 33}, {44, 34}, {45, 35}, {46, 36}, {47, 37}, {50, 40}, {51, 41},
        {52, 42}, {53, 43}, {54, 44}, {55, 45}, {56, 46}, {57, 47}, {58, 48}, {59, 49}, {60, 50}, {61, 51},
        {62, 52}, {63, 53}, {67, 54}, {68, 55}, {69, 56}, {70, 57}, {71, 58}, {79, 59}, {81, 61}};
    for (unsigned number = 0; number <= 65535; ++number) {
        const auto found = listed.find(static_cast<unsigned short>(number));
        ASSERT_EQ(warnings.encodeVictoryWarningId(static_cast<unsigned short>(number)),
                  found == listed.end() ? 75U : found->second)
            << number;
    }
}

TEST_F(WarningsTest, WhatTheLibraryPrintsWhileItIsToldMayReachTheReporters)
{
    RankedMutex<LockRank::Reporters> reporters;
    victory.onCall("vapntsTellWarningMessagesData", [&] { const MutexLock lock(reporters); });
    publish();
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 1U);
}

TEST_F(WarningsTest, BeforeTheTableIsMadeEveryNumberIsCustom)
{
    EXPECT_EQ(Warnings(settings, time).encodeVictoryWarningId(1), 75U);
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

TEST_F(WarningsTest, AnotherNumberIsCustomWithTheReceiversText)
{
    receive(6, "HELLO, this warning has 32 chars");
    const auto record = published();
    ASSERT_EQ(record.warningCount, 1U);
    EXPECT_EQ(record.warnings[0].warningId, 75U);
    EXPECT_EQ(record.warnings[0].customTextValid, 1U);
    EXPECT_STREQ(record.warnings[0].customText, "HELLO, this warning has 32 chars");
}

TEST_F(WarningsTest, TheReceiversTextEndsWithItsField)
{
    unpacked_msg5044_t received = {};
    std::copy_n("HELLO, this warning has 32 chars", 32, received.warningText);
    received.textEnd[0] = 'X';
    warnings.append(received);
    EXPECT_STREQ(published().warnings[0].customText, "HELLO, this warning has 32 chars");
}

TEST_F(WarningsTest, ARefusedFrameAddsNothing)
{
    const auto frame = warningFrameOf(7);
    warnings.handleBlock5044(frame.data(), 53);
    warnings.handleBlock5044(nullptr, 54);
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, AnIdAloneHasNoText)
{
    EXPECT_TRUE(warnings.append(67));
    const auto record = published();
    EXPECT_EQ(record.warnings[0].warningId, 67U);
    EXPECT_EQ(record.warnings[0].customTextValid, 0U);
}

TEST_F(WarningsTest, LayoutOfACustomWarning)
{
    EXPECT_TRUE(warnings.sendVDBcustomWarning("careful"));
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
    EXPECT_TRUE(warnings.sendVDBcustomWarning(std::string(255, 'a')));
    EXPECT_TRUE(warnings.sendVDBcustomWarning(std::string(256, 'b')));
    EXPECT_TRUE(warnings.sendVDBCompleteWarning(kZeroize, true, std::string(5000, 'c')));
    const auto record = published();
    EXPECT_EQ(record.warnings[0].customText, std::string(255, 'a'));
    EXPECT_EQ(record.warnings[1].customText, std::string(255, 'b'));
    EXPECT_EQ(record.warnings[2].customText, std::string(255, 'c'));
}

TEST_F(WarningsTest, CompletionsGoOutByTypeAndResultWithTheirText)
{
    for (const auto type : {kZentorm, kZeroize, kDestroy})
        for (const bool success : {true, false}) EXPECT_TRUE(warnings.sendVDBCompleteWarning(type, success, "done"));
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
    EXPECT_FALSE(warnings.sendVDBCompleteWarning(kNone, true, "done"));
    EXPECT_EQ(console.text(), "");
    settings.m_quiet = false;
    EXPECT_FALSE(warnings.sendVDBCompleteWarning(static_cast<ClearDataCommand::ClearDataType>(-7), false, "done"));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: "
                                             "Unknown eClearType: -7\n"));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown eClearType: 0", "3:OrvaneServer: Unknown eClearType: -7"));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, FiftyFirstAppendDropsTheOldest)
{
    for (std::uint32_t id = 100; id <= 150; ++id) EXPECT_TRUE(warnings.append(id));
    const auto found = ids();
    ASSERT_EQ(found.size(), 50U);
    for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(found[i], 101 + i);
    EXPECT_EQ(warnings.list().size(), 50U);
    EXPECT_EQ(warnings.list().front().warningId, 101U);
    const auto record = published();
    for (std::uint32_t i = 0; i < 50; ++i)
        EXPECT_EQ(valueAt<std::uint32_t>(record, 8 + std::size_t{524} * i), 101 + i) << i;
    EXPECT_EQ(valueAt<std::uint32_t>(record, 26208), 50U);
}

TEST_F(WarningsTest, TheSameListGoesOutAgainAndAgain)
{
    warnings.append(67);
    warnings.append(68);
    EXPECT_THAT(ids(), ElementsAre(67, 68));
    EXPECT_THAT(ids(), ElementsAre(67, 68));
    warnings.append(67);
    EXPECT_THAT(ids(), ElementsAre(67, 68, 67));
}

TEST_F(WarningsTest, AnEmptyListIsToldWithTheGpsSeconds)
{
    aspn2_msgs::idl::UTCTime message;
    message.gps_tow_sec(345600);
    message.gps_tow_nsec(2.5e8);
    time.store(message);
    const auto record = published();
    VapntcWarningMessagesRecord expected = {};
    expected.gpsSeconds = 345600.25;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof expected), 0);
    const auto call = victory.last("vapntsTellWarningMessagesData");
    EXPECT_EQ(call.service, service);
    EXPECT_EQ(call.time(), nullptr);
}

TEST_F(WarningsTest, WhileTheServiceIsDownWarningsStayWithAnEventOfThisUnit)
{
    recordFaults();
    warnings.append(67);
    const ConsoleCapture console(std::cout);
    warnings.publish(service, !kStarted, !kTellDisabled);
    EXPECT_THAT(popHealthEvents(),
                ElementsAre(MatchesRegex("3:Warnings\\.cpp\\[[0-9]+\\]:OrvaneServer : Cannot publish warnings while "
                                         "APNT service is not running! Warnings remain queued\\.")));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\), cbTellWarningMessagesCallback : OrvaneServer "
                                             ": Cannot publish warnings while APNT service is not running! Warnings "
                                             "remain queued\\.\n"));
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 0U);
    EXPECT_THAT(ids(), ElementsAre(67));
}

TEST_F(WarningsTest, WhileTellingIsDisabledNothingIsToldAndNothingLost)
{
    warnings.append(67);
    warnings.publish(service, kStarted, kTellDisabled);
    EXPECT_EQ(victory.count("vapntsTellWarningMessagesData"), 0U);
    EXPECT_THAT(ids(), ElementsAre(67));
}

TEST_F(WarningsTest, DebugLineShowsOnlyWarningsWithAText)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    warnings.append(67);
    EXPECT_EQ(console.text(), "");
    warnings.sendVDBcustomWarning("careful");
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer, appendWarningToList \\([0-9]+\\): OrvaneServer: Sending "
                                             "VDB APNT warning message ID 75, custom message: careful\n"));
}

TEST_F(WarningsTest, AWarningThatCannotBeKeptIsFalseAndNamesAnotherOperation)
{
    recordFaults();
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw std::bad_alloc(); });
    EXPECT_FALSE(warnings.sendVDBcustomWarning("careful"));
    EXPECT_THAT(popHealthEvents(), ElementsAre(MatchesRegex("3:Warnings\\.cpp\\[[0-9]+\\]:OrvaneServer: An exception "
                                                            "occurred\\. Details: std::bad_alloc")));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : An "
                                             "exception occurred in attemptBlendedNavigationProcessing\\. Details: "
                                             "OrvaneServer: An exception occurred\\. Details: std::bad_alloc\n"));
    EXPECT_THAT(ids(), IsEmpty());
}

TEST_F(WarningsTest, MoreWarningsThanAreKeptAskForNoMemory)
{
    std::size_t refused = 1;
    {
        const FailingAllocation memory;
        for (int i = 0; i < 60; ++i) warnings.append(67);
        refused = memory.refused();
    }
    EXPECT_EQ(refused, 0U);
    EXPECT_EQ(warnings.list().size(), 50U);
}

TEST_F(WarningsTest, AnExceptionOfAnotherKindIsUnknown)
{
    settings.m_debug = true;
    const ConsoleCapture console(std::cout);
    const BeforeNextLine failure([] { throw 1; });
    EXPECT_FALSE(warnings.sendVDBcustomWarning("careful"));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown c++ exception in attemptBlendedNavigationProcessing"));
    EXPECT_THAT(console.text(), MatchesRegex("OrvaneServer \\([0-9]+\\) attemptBlendedNavigationProcessing : "
                                             "OrvaneServer: Unknown c\\+\\+ exception in "
                                             "attemptBlendedNavigationProcessing\n"));
}

TEST_F(WarningsTest, ACompletionThatFailsHasItsOwnTexts)
{
    settings.m_quiet = false;
    const auto failWith = [this](std::function<void()> failure) {
        const ConsoleCapture console(std::cout);
        const BeforeNextLine next(std::move(failure));
        EXPECT_FALSE(warnings.sendVDBCompleteWarning(kNone, true, "done"));
        return console.text();
    };
    EXPECT_THAT(failWith([] { throw std::runtime_error("no luck"); }),
                MatchesRegex("OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: An exception "
                             "occurred\\. Details: no luck\n"));
    EXPECT_THAT(failWith([] { throw 1; }),
                MatchesRegex("OrvaneServer \\([0-9]+\\), sendVDBCompleteWarning : OrvaneServer: Unknown c\\+\\+ "
                             "exception occurred\n"));
    EXPECT_THAT(popHealthEvents(),
                ElementsAre("3:OrvaneServer: Unknown eClearType: 0",
                            "3:OrvaneServer: An exception occurred. Details: no luck",
                            "3:OrvaneServer: Unknown eClearType: 0", "3:OrvaneServer: Unknown c++ exception occurred"));
}

TEST_F(WarningsTest, NoWarningIsAddedWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    Meanwhile addition([&] { warnings.append(67); });
    victory.onCall("vapntsTellWarningMessagesData", [&] { EXPECT_FALSE(addition.isOverWithin(100ms)); });
    publish();
    addition.join();
    victory.onCall("vapntsTellWarningMessagesData", nullptr);
    EXPECT_THAT(ids(), ElementsAre(67));
}

TEST_F(WarningsTest, TimeIsFreeWhileTheLibraryIsCalled)
{
    const HardDeadline deadline;
    Meanwhile arrival([&] { time.store({}); });
    victory.onCall("vapntsTellWarningMessagesData", [&] { EXPECT_TRUE(arrival.isOverWithin(30s)); });
    publish();
    arrival.join();
}

TEST_F(WarningsTest, ManyMayAddWhileTheListGoesOut)
{
    std::vector<std::thread> producers;
    for (int producer = 0; producer < 3; ++producer)
        producers.emplace_back([this] {
            for (int i = 0; i < 200; ++i) {
                warnings.sendVDBCompleteWarning(kZeroize, false, "zeroize failed");
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
