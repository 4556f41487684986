#include "PCSMaintReporter/PCSMaintReporter.h"

#include "ASPN/AspnDeviceIds.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/HardDeadline.h"
#include "tests/support/OneConnection.h"
#include "tests/support/ProcessState.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using aspn2_msgs::idl::MaintenanceEvent;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

using eCrit = PCSMaintReporter::eCrit;
using eOutcome = PCSMaintReporter::eOutcome;
using eCat = PCSMaintReporter::eCat;
using eLru = PCSMaintReporter::eLru;
using eCmpo = PCSMaintReporter::eCmpo;

namespace {

std::atomic<std::int64_t> s_now = 0;  // ns

std::chrono::steady_clock::time_point now()
{
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(s_now));
}

/// A record with other numbers in every field.
void send(PCSMaintReporter& reporter, const std::string& description, const std::string& identity = "identity")
{
    reporter.sendMaintenanceEvent(description, identity, eCrit{1}, eOutcome{2}, 253, eCat{4}, eLru{5}, eCmpo{6},
                                  eLru{7}, eCmpo{8}, eLru{9}, eCmpo{10}, eLru{11}, eCmpo{12}, 13);
}

void sendLong(PCSMaintReporter& reporter, const std::string& description, const char* prefix = nullptr)
{
    reporter.sendLongDescriptionMultiMaintenanceEvent(description, "OrvaneServer", eCrit{3}, eOutcome{3}, 52, eCat{11},
                                                      eLru{1}, eCmpo{1}, eLru{0}, eCmpo{0}, eLru{0}, eCmpo{0}, eLru{0},
                                                      eCmpo{0}, 0, prefix);
}

struct PCSMaintReporterTest : testing::Test {
    PCSMaintReporterTest() { s_now = 5'000'000'007; }

    void init()
    {
        connection.registerSender();
        reporter.InitMaintReporter("unit", deviceIds, connection.front(), connection.id());
    }

    std::vector<MaintenanceEvent> arrived() const
    {
        std::vector<MaintenanceEvent> records;
        for (const auto& item : connection.inbox.items()) records.push_back(item.message);
        return records;
    }

    /// The texts to their first zero.
    std::vector<std::string> descriptions() const
    {
        std::vector<std::string> texts;
        for (const MaintenanceEvent& record : arrived()) texts.emplace_back(record.description().data());
        return texts;
    }

    const ASPN2::DeviceIdFactory deviceIds{3, 52};
    OneConnection<MaintenanceEvent> connection{"MaintenanceEvent"};
    FaultHysteresis hysteresis;
    PCSMaintReporter reporter{hysteresis, now};
};

const std::string kNotInitialised = "PCSMaintReporter\\.cpp\\([0-9]+\\) publishMaintenanceEvent: PCSMaintReporter not "
                                    "initialized! Cannat send MaintenanceEvent\\.\n";

}  // namespace

TEST_F(PCSMaintReporterTest, ANullTransportIsRefusedAndNothingIsInitialised)
{
    const auto init = [&](const std::shared_ptr<PCSMaintReporter::Transport>& transport) {
        reporter.InitMaintReporter("unit", deviceIds, transport, connection.id());
    };
    EXPECT_EQ(errorOf([&] { init(nullptr); }), "InitMaintReporter(unit) called with an empty eventLogTypedTS.");
    EXPECT_EQ(errorOf([&] { init(connection.front()); }), "nothing");
}

TEST_F(PCSMaintReporterTest, ASecondInitThrowsAndLeavesTheFirstIntact)
{
    const ConsoleCapture output(std::cout);
    init();
    send(reporter, "first");
    hysteresis.OkInitFaultHysteresis(0, 0, 0);
    OneConnection<MaintenanceEvent> other("MaintenanceEvent", "Other");
    EXPECT_EQ(errorOf([&] {
                  reporter.InitMaintReporter("second", {1, 1}, other.front(), other.id());
              }),
              "InitMaintReporter(second) called on an already initialized PCSMaintReporter.");
    send(reporter, "still here");
    ASSERT_THAT(descriptions(), ElementsAre("first", "still here"));
    EXPECT_EQ(arrived()[1].header().seq_num(), 1);
    EXPECT_EQ(arrived()[1].header().device_id(), 0x03343B00);
    EXPECT_EQ(other.inbox.size(), 0u);
    std::int32_t type = 3;
    EXPECT_EQ(hysteresis.Check(type, "c.cpp", 1, "x"), "x");
    connection.unregisterSender();
    send(reporter, "lost");
    EXPECT_EQ(output.text(), "!!!!!! unit MaintReporter could not publish event\n");
}

TEST_F(PCSMaintReporterTest, WithoutASenderInitThrowsAndTheReporterCountsAsInitialised)
{
    const ConsoleCapture output(std::cout);
    const auto tryInit = [&](long long id) {
        return errorOf([&] { reporter.InitMaintReporter("unit", deviceIds, connection.front(), id); });
    };
    EXPECT_THAT(tryInit(77), MatchesRegex(".*PCSMaintReporter\\.cpp\\[[0-9]+\\]:INVALID_PARAM InitMaintReporter\\(unit"
                                          "\\) unable to register sender\\."));
    EXPECT_EQ(tryInit(connection.id()), "InitMaintReporter(unit) called on an already initialized PCSMaintReporter.");
    send(reporter, "to nobody");
    EXPECT_THAT(output.text(), testing::EndsWith("\n!!!!!!  MaintReporter could not publish event\n"));
    reporter.DoneMaintReporter();
    EXPECT_EQ(tryInit(connection.id()), "nothing");
}

TEST_F(PCSMaintReporterTest, InitStartsTheRecordOfFaultsAnew)
{
    hysteresis.OkInitFaultHysteresis(180, 16, 5);
    std::int32_t type = 3;
    hysteresis.Check(type, "c.cpp", 1, "x");
    init();
    EXPECT_EQ(hysteresis.size(), 0u);
    for (int i = 0; i < 2001; ++i) hysteresis.Check(type, "c.cpp", 1, "x");
    EXPECT_EQ(hysteresis.size(), 2000u);
}

TEST_F(PCSMaintReporterTest, InitKeepsFaultsOnRecordForThreeMinutes)
{
    FaultHysteresis timed(now);
    PCSMaintReporter other(timed, now);
    connection.registerSender();
    other.InitMaintReporter("unit", deviceIds, connection.front(), connection.id());
    std::int32_t type = 3;
    timed.Check(type, "c.cpp", 1, "x");
    s_now += 179'999'999'999;
    timed.service();
    EXPECT_EQ(timed.size(), 1u);
    s_now += 1;
    timed.service();
    EXPECT_EQ(timed.size(), 0u);
    other.DoneMaintReporter();
}

using PCSMaintReporterDeathTest = PCSMaintReporterTest;

TEST_F(PCSMaintReporterDeathTest, RefusedNumbersEndTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    PCSMaintReporter refused(hysteresis, now, -1);
    connection.registerSender();
    const auto play = [&] {
        leaveAtOnceWhenExiting();
        refused.InitMaintReporter("unit", deviceIds, connection.front(), connection.id());
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(255), "Unable to configure the Fault Hysteresis\n");
}

TEST_F(PCSMaintReporterTest, ARecordHoldsAllArguments)
{
    init();
    send(reporter, "text");
    ASSERT_EQ(arrived().size(), 1u);
    const MaintenanceEvent record = arrived()[0];
    EXPECT_STREQ(record.description().data(), "text");
    EXPECT_STREQ(record.identity().data(), "identity");
    EXPECT_EQ(record.criticality_id(), 1);
    EXPECT_EQ(record.outcome_id(), 2);
    EXPECT_EQ(record.location_id(), 253);
    EXPECT_EQ(record.category_id(), 4);
    EXPECT_EQ(record.repeat_in_seconds(), 13);
    const std::int32_t sources[4][2] = {{5, 6}, {7, 8}, {9, 10}, {11, 12}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(record.fault_sources()[i].lru_id(), sources[i][0]);
        EXPECT_EQ(record.fault_sources()[i].component_id(), sources[i][1]);
    }
}

TEST_F(PCSMaintReporterTest, AHeaderTellsSourceTimeAndNumber)
{
    init();
    send(reporter, "first");
    send(reporter, "second");
    ASSERT_EQ(arrived().size(), 2u);
    const auto header = arrived()[0].header();
    EXPECT_EQ(header.device_id(), 0x03343B00);
    EXPECT_EQ(header.seq_num(), 0);
    EXPECT_EQ(header.timestamp_valid().sec(), 5);
    EXPECT_EQ(header.timestamp_valid().nsec(), 7);
    EXPECT_EQ(header.timestamp_valid().time_code(), 100);
    EXPECT_EQ(header.timestamp_arrival().sec(), 5);
    EXPECT_EQ(header.timestamp_arrival().nsec(), 7);
    EXPECT_EQ(header.timestamp_arrival().time_code(), 100);
    EXPECT_EQ(arrived()[1].header().seq_num(), 1);
}

TEST_F(PCSMaintReporterTest, FiftyFiveCharactersOfADescriptionAreKept)
{
    init();
    for (const std::size_t length : {0u, 54u, 55u, 56u, 1000u}) send(reporter, std::string(length, 'd'));
    EXPECT_THAT(descriptions(), ElementsAre("", std::string(54, 'd'), std::string(55, 'd'), std::string(55, 'd'),
                                            std::string(55, 'd')));
    for (const MaintenanceEvent& record : arrived()) EXPECT_EQ(record.description()[55], '\0');
}

TEST_F(PCSMaintReporterTest, FifteenCharactersOfAnIdentityAreKept)
{
    init();
    for (const std::size_t length : {0u, 14u, 15u, 16u, 1000u}) send(reporter, "d", std::string(length, 'i'));
    std::vector<std::string> identities;
    for (const MaintenanceEvent& record : arrived()) {
        identities.emplace_back(record.identity().data());
        EXPECT_EQ(record.identity()[15], '\0');
    }
    EXPECT_THAT(identities, ElementsAre("", std::string(14, 'i'), std::string(15, 'i'), std::string(15, 'i'),
                                        std::string(15, 'i')));
}

TEST_F(PCSMaintReporterTest, NothingOfAnEarlierTextTravelsBehindAShorterOne)
{
    init();
    sendLong(reporter, std::string(49, 'x'));
    sendLong(reporter, "y");
    send(reporter, "z", "i");
    ASSERT_EQ(arrived().size(), 3u);
    EXPECT_EQ(std::string(arrived()[1].description().data(), 56), "Evt:y" + std::string(51, '\0'));
    EXPECT_EQ(std::string(arrived()[2].description().data(), 56), "z" + std::string(55, '\0'));
    EXPECT_EQ(std::string(arrived()[2].identity().data(), 16), "i" + std::string(15, '\0'));
}

TEST_F(PCSMaintReporterTest, NotInitialisedARecordIsALine)
{
    const ConsoleCapture output(std::cout);
    send(reporter, "lost");
    EXPECT_THAT(output.text(), MatchesRegex(kNotInitialised));
    init();
    reporter.DoneMaintReporter();
    send(reporter, "lost");
    EXPECT_THAT(output.text(), MatchesRegex(kNotInitialised + kNotInitialised));
    EXPECT_EQ(connection.inbox.size(), 0u);
}

TEST_F(PCSMaintReporterTest, ARecordThatIsNotWrittenIsALineAndANumber)
{
    const ConsoleCapture output(std::cout);
    const ConsoleCapture errors(std::cerr);
    init();
    connection.unregisterSender();
    send(reporter, "lost");
    EXPECT_EQ(output.text(), "!!!!!! unit MaintReporter could not publish event\n");
    connection.registerSender();
    send(reporter, "next");
    EXPECT_THAT(descriptions(), ElementsAre("next"));
    EXPECT_EQ(arrived()[0].header().seq_num(), 1);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(PCSMaintReporterTest, WhatAWriteThrowsIsAFailureOfThatRecordAlone)
{
    connection.onArrival = [count = 0](const MaintenanceEvent&) mutable {
        if (++count == 1) throw std::runtime_error("subscriber broke");
        if (count == 2) throw 5;
    };
    const ConsoleCapture output(std::cout);
    init();
    for (int i = 0; i < 3; ++i) send(reporter, "x");
    EXPECT_EQ(output.text(), "!!!!!! unit MaintReporter could not publish event\n"
                             "!!!!!! unit MaintReporter could not publish event\n");
    EXPECT_EQ(connection.inbox.size(), 1u);
}

TEST_F(PCSMaintReporterTest, TheTransportIsKeptUntilDone)
{
    init();
    const std::weak_ptr<PCSMaintReporter::Transport> transport = connection.front();
    EXPECT_FALSE(connection.end());  // the reporter holds it
    send(reporter, "published");
    EXPECT_THAT(descriptions(), ElementsAre("published"));
    EXPECT_FALSE(transport.expired());
    reporter.DoneMaintReporter();
    EXPECT_TRUE(transport.expired());
}

TEST_F(PCSMaintReporterTest, InitAfterDonePublishesAgainFromZero)
{
    reporter.DoneMaintReporter();  // harmless
    init();
    send(reporter, "first");
    reporter.DoneMaintReporter();
    EXPECT_TRUE(connection.end());

    OneConnection<MaintenanceEvent> other("MaintenanceEvent");
    other.registerSender();
    reporter.InitMaintReporter("again", {1, 2}, other.front(), other.id());
    send(reporter, "second");
    ASSERT_EQ(other.inbox.size(), 1u);
    EXPECT_EQ(other.inbox.items()[0].message.header().seq_num(), 0);
    EXPECT_EQ(other.inbox.items()[0].message.header().device_id(), 0x01023B00);
    reporter.DoneMaintReporter();
}

TEST_F(PCSMaintReporterTest, TheOffsetBeginsAtZero)
{
    EXPECT_EQ(reporter.GetTime(), 5'000'000'007ns);
}

TEST_F(PCSMaintReporterTest, TimeRunsOnFromTheOneSet)
{
    reporter.SetTimeOffset(100ns);
    EXPECT_EQ(reporter.GetTime(), 100ns);
    s_now += 23;
    EXPECT_EQ(reporter.GetTime(), 123ns);
    reporter.SetAspnTimeOffset(7, 999'999'999);
    EXPECT_EQ(reporter.GetTime(), 7'999'999'999ns);
    s_now += 2;
    EXPECT_EQ(reporter.GetTime(), 8'000'000'001ns);
}

TEST_F(PCSMaintReporterTest, ANegativeTimeIsANegativeStamp)
{
    init();
    reporter.SetAspnTimeOffset(-2, -5);
    send(reporter, "x");
    ASSERT_EQ(arrived().size(), 1u);
    EXPECT_EQ(arrived()[0].header().timestamp_valid().sec(), -2);
    EXPECT_EQ(arrived()[0].header().timestamp_valid().nsec(), -5);
}

TEST_F(PCSMaintReporterTest, TimesWrap)
{
    constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
    reporter.SetTimeOffset(std::chrono::nanoseconds::min());
    EXPECT_EQ(reporter.GetTime(), std::chrono::nanoseconds::min());
    reporter.SetAspnTimeOffset(kMost, kMost);  // -1e9 and 2^63 - 1
    EXPECT_EQ(reporter.GetTime(), std::chrono::nanoseconds(kMost - 1'000'000'000));
    reporter.SetAspnTimeOffset(kLeast, 3);  // 2^63 times an even number
    EXPECT_EQ(reporter.GetTime(), 3ns);
}

TEST_F(PCSMaintReporterTest, FortyNineCharactersGoOutAsOneRecord)
{
    init();
    const std::string text(49, 't');
    sendLong(reporter, text);
    EXPECT_THAT(descriptions(), ElementsAre("Evt:" + text));
}

TEST_F(PCSMaintReporterTest, FiftyCharactersGoOutAsTwo)
{
    init();
    sendLong(reporter, std::string(49, 't') + "u");
    EXPECT_THAT(descriptions(), ElementsAre("Evt_1:" + std::string(49, 't'), "Evt_2:u"));
}

TEST_F(PCSMaintReporterTest, OfTenPiecesNineGoOut)
{
    init();
    std::string text;
    for (const char c : {'1', '2', '3', '4', '5', '6', '7', '8', '9', 'x'}) text += std::string(48, c);
    sendLong(reporter, text, "SOAP");
    ASSERT_EQ(descriptions().size(), 9u);
    for (std::size_t i = 0; i < 9; ++i) {
        const std::string number = std::to_string(i + 1);
        EXPECT_EQ(descriptions()[i], "SOAP_" + number + ":" + std::string(48, number[0]));
    }
}

TEST_F(PCSMaintReporterTest, AnEmptyDescriptionIsNoRecord)
{
    const ConsoleCapture output(std::cout);
    init();
    sendLong(reporter, "");
    EXPECT_EQ(connection.inbox.size(), 0u);
    EXPECT_EQ(output.text(), "");
}

TEST_F(PCSMaintReporterTest, AnEmptyPrefixLeavesFiftyTwoCharacters)
{
    init();
    sendLong(reporter, std::string(52, 'a') + "b", "");
    EXPECT_THAT(descriptions(), ElementsAre("_1:" + std::string(52, 'a'), "_2:b"));
}

TEST_F(PCSMaintReporterTest, ALongPrefixIsCutWithItsText)
{
    init();
    sendLong(reporter, "ab", std::string(51, 'p').c_str());
    sendLong(reporter, "abcd", std::string(52, 'q').c_str());
    sendLong(reporter, "abcd", std::string(300, 'r').c_str());
    EXPECT_THAT(descriptions(), ElementsAre(std::string(51, 'p') + "_1:a", std::string(51, 'p') + "_2:b",
                                            std::string(52, 'q') + ":ab", std::string(55, 'r')));
}

TEST_F(PCSMaintReporterTest, EveryRecordOfALongDescriptionHasTheOtherArguments)
{
    init();
    sendLong(reporter, std::string(100, 't'), "SOAP");
    ASSERT_EQ(arrived().size(), 3u);
    std::int64_t number = 0;
    for (const MaintenanceEvent& record : arrived()) {
        EXPECT_EQ(record.header().seq_num(), number++);
        EXPECT_STREQ(record.identity().data(), "OrvaneServer");
        EXPECT_EQ(record.criticality_id(), 3);
        EXPECT_EQ(record.outcome_id(), 3);
        EXPECT_EQ(record.location_id(), 52);
        EXPECT_EQ(record.category_id(), 11);
        EXPECT_EQ(record.fault_sources()[0].lru_id(), 1);
        EXPECT_EQ(record.fault_sources()[0].component_id(), 1);
        EXPECT_EQ(record.fault_sources()[1].lru_id(), 0);
        EXPECT_EQ(record.fault_sources()[3].component_id(), 0);
        EXPECT_EQ(record.repeat_in_seconds(), 0);
    }
}

TEST_F(PCSMaintReporterTest, EachRecordOfALongDescriptionHasALineOfItsOwn)
{
    const ConsoleCapture output(std::cout);
    init();
    sendLong(reporter, std::string(49, 'a') + std::string("b\0c", 3));  // the line ends at the zero
    const std::string place = "PCSMaintReporter\\.cpp\\([0-9]+\\) sendLongDescriptionMultiMaintenanceEvent: Sending "
                              "maintenance event: ";
    EXPECT_THAT(output.text(), MatchesRegex(place + "Evt_1:" + std::string(49, 'a') + "\n" + place + "Evt_2:b\n"));
}

TEST_F(PCSMaintReporterTest, ALongDescriptionTellsEachRecordAndItsFailure)
{
    const ConsoleCapture output(std::cout);
    sendLong(reporter, "x");
    EXPECT_THAT(output.text(), MatchesRegex(".*: Sending maintenance event: Evt:x\n" + kNotInitialised));
}

TEST_F(PCSMaintReporterTest, ARecordMayBeSentFromWithinAWrite)
{
    const HardDeadline deadline;
    connection.onArrival = [&](const MaintenanceEvent& record) {
        if (std::string(record.description().data()) == "first") send(reporter, "second");
    };
    init();
    send(reporter, "first");
    ASSERT_TRUE(connection.inbox.waitFor(2));
    EXPECT_THAT(descriptions(), UnorderedElementsAre("first", "second"));
}

TEST_F(PCSMaintReporterTest, ARecordThatIsBeingWrittenKeepsTheTransportUntilItIsOut)
{
    const ConsoleCapture output(std::cout);
    std::promise<void> entered, released;
    connection.onArrival = [&](const MaintenanceEvent&) {
        entered.set_value();
        released.get_future().wait();
    };
    init();
    const std::weak_ptr<PCSMaintReporter::Transport> transport = connection.front();
    std::thread sender([&] { send(reporter, "x"); });
    entered.get_future().wait();
    EXPECT_FALSE(connection.end());
    reporter.DoneMaintReporter();
    EXPECT_FALSE(transport.expired());
    released.set_value();
    sender.join();
    EXPECT_TRUE(transport.expired());
    EXPECT_THAT(descriptions(), ElementsAre("x"));
    EXPECT_EQ(output.text(), "");
}

TEST_F(PCSMaintReporterTest, SendersMayRaceWithEveryStartAndEnd)
{
    const ConsoleCapture output(std::cout);
    std::atomic<bool> isEnding = false;
    std::vector<std::thread> senders;
    for (int i = 0; i < 3; ++i)
        senders.emplace_back([&, i] {
            while (!isEnding) {
                i == 0 ? sendLong(reporter, std::string(100, 't')) : send(reporter, "x");
                reporter.SetTimeOffset(1s);
                std::this_thread::yield();
            }
        });
    const auto end = std::chrono::steady_clock::now() + 2s;
    for (int rounds = 0; rounds < 3 || std::chrono::steady_clock::now() < end; ++rounds) {
        init();
        connection.unregisterSender();
        connection.registerSender();
        EXPECT_TRUE(eventually([&, before = connection.inbox.size()] { return connection.inbox.size() > before; }));
        reporter.DoneMaintReporter();
        connection.unregisterSender();
    }
    isEnding = true;
    for (std::thread& sender : senders) sender.join();
}

TEST_F(PCSMaintReporterTest, NumbersOfRecordsOfManyThreadsAreAllDifferent)
{
    init();
    std::vector<std::thread> senders;
    for (int i = 0; i < 4; ++i)
        senders.emplace_back([&] {
            for (int n = 0; n < 50; ++n) send(reporter, "x");
        });
    for (std::thread& sender : senders) sender.join();
    ASSERT_TRUE(connection.inbox.waitFor(200));
    std::vector<std::int64_t> numbers;
    for (const MaintenanceEvent& record : arrived()) numbers.push_back(record.header().seq_num());
    std::ranges::sort(numbers);
    for (std::size_t i = 0; i < 200; ++i) EXPECT_EQ(numbers[i], static_cast<std::int64_t>(i));
}

namespace {

/// "location: lru,component lru,component lru,component lru,component", from outputs that held something else.
std::string defaultOf(std::uint32_t serverId)
{
    eLru lru1{-1}, lru2{-1}, lru3{-1}, lru4{-1};
    eCmpo comp1{-1}, comp2{-1}, comp3{-1}, comp4{-1};
    const std::uint8_t location =
        PCSMaintReporter::getDefaultLruSubForServerID(serverId, lru1, comp1, lru2, comp2, lru3, comp3, lru4, comp4);
    const auto pair = [](eLru lru, eCmpo component) {
        return " " + std::to_string(lru) + "," + std::to_string(component);
    };
    return std::to_string(location) + ":" + pair(lru1, comp1) + pair(lru2, comp2) + pair(lru3, comp3) +
           pair(lru4, comp4);
}

}  // namespace

TEST(PCSMaintReporterDefaultsTest, ListedServersHaveTheirLocationAndSources)
{
    const std::pair<std::vector<std::uint32_t>, std::string> rows[] = {
        {{1, 32, 37, 40, 51, 53, 54}, "1: 1,0 0,0 0,0 0,0"},
        {{33, 34}, "1: 1,5 0,0 0,0 0,0"},
        {{35}, "1: 1,9 0,0 0,0 0,0"},
        {{36}, "1: 1,10 0,0 0,0 0,0"},
        {{38}, "1: 1,3 0,0 0,0 0,0"},
        {{39, 50, 80}, "4: 1,4 2,14 2,16 0,0"},
        {{41, 42}, "16: 3,16 3,17 1,17 1,1"},
        {{44, 45, 46, 52, 125}, "1: 1,8 0,0 0,0 0,0"},
        {{47}, "14: 2,15 2,14 2,13 2,16"},
        {{48}, "1: 1,6 0,0 0,0 0,0"},
        {{49}, "1: 1,2 0,0 0,0 0,0"},
        {{96, 97}, "0: 1,1 0,0 0,0 0,0"},
    };
    for (const auto& [ids, expected] : rows)
        for (const std::uint32_t id : ids) EXPECT_EQ(defaultOf(id), expected) << "server " << id;
}

TEST(PCSMaintReporterDefaultsTest, AllOtherServersHaveNone)
{
    const std::vector<std::uint32_t> listed = {1,  32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 44, 45,
                                               46, 47, 48, 49, 50, 51, 52, 53, 54, 80, 96, 97, 125};
    for (std::uint32_t id = 0; id <= 300; ++id) {
        const bool isListed = std::ranges::binary_search(listed, id);
        EXPECT_EQ(!isListed, defaultOf(id) == "0: 0,0 0,0 0,0 0,0") << "server " << id;
    }
    EXPECT_EQ(defaultOf(std::numeric_limits<std::uint32_t>::max()), "0: 0,0 0,0 0,0 0,0");
}
