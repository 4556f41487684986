#include "tests/support/EventsSystemTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

namespace {

constexpr const char* kBanner = "OrvaneServer KPN: 345-1290-118B  " ORVANE_MAKERS_STATEMENT;

/// The service, and a listener to its events from the first one on.
struct EventsTest : testing::Test {
    bool awaitLines(std::size_t count) const
    {
        return eventually([&] {
            const std::string output = echo.output();
            return static_cast<std::size_t>(std::ranges::count(output, '\n')) >= count;
        });
    }

    std::vector<std::string> lines() const
    {
        std::istringstream output(echo.output());
        std::vector<std::string> all;
        for (std::string line; std::getline(output, line);) all.push_back(line);
        return all;
    }

    Desk desk;
    ChildProcess echo{{ORVANE_CTL_BINARY, "echo", "EventLog", "MaintenanceEvent", "--backfill"}};
};

}  // namespace

TEST_F(EventsTest, TheFirstEventsAreShownInOrderWithTheRegistersTime)
{
    desk.setRegister(Desk::kSystemCount, 2 * 58982400);
    desk.run();
    ASSERT_TRUE(awaitLines(3)) << echo.output() << echo.errors();
    echo.send(SIGINT);
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    const std::string front = "EventLog  1.999999992  OrvaneServer (52)  #";
    EXPECT_THAT(lines(),
                ElementsAre(MatchesRegex("EventLog  1.999999992  OrvaneServer .52.  #0  INFORMATION  "
                                         "//aspn://Sarvent/OrvaneServer:[-0-9]+T[:0-9]+Z/"),
                            StartsWith(front + "1  INFORMATION  OrvaneServer KPN: 345-1290-118B  "),
                            front + "2  INFORMATION  OrvaneServer started successfully.",
                            MatchesRegex("orvanectl: 3 records in .* s, 0 gaps with 0 missing, 0 back, 0 lost")));
    EXPECT_EQ(echo.errors(), "");
}

TEST_F(EventsTest, RecordsOfTheMaintenanceLogAreShownBesides)
{
    desk.run();
    ASSERT_TRUE(awaitLines(3)) << echo.output() << echo.errors();
    Bus bus;
    const std::string fault = "SOAP 1.2 fault SOAP-ENV:Sender";
    ASSERT_TRUE(bus.request({{"request", "print"}, {"text", fault}, {"newline", false}}).at("ok"));
    ASSERT_TRUE(eventually([&] { return echo.output().find("  fault_sources 1/1") != std::string::npos; }))
        << echo.output() << echo.errors();
    EXPECT_THAT(lines(), Contains(MatchesRegex("MaintenanceEvent  .*  OrvaneServer .52.  #0  OrvaneServer  "
                                               "SOAP:SOAP 1.2 fault SOAP-ENV:Sender  criticality_id 3 .*")));
}

TEST_F(EventsSystemTest, FirstEventsTellWhatTheServiceIsAndThatItRuns)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(3));
    const auto items = events->inbox().items();
    EXPECT_TRUE(items[0].message.eventlog().starts_with("//aspn://Sarvent/OrvaneServer:"));
    EXPECT_TRUE(items[1].message.eventlog().starts_with("OrvaneServer KPN: 345-1290-118B  "));
    EXPECT_EQ(items[2].message.eventlog(), "OrvaneServer started successfully.");
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& header = items[i].message.header();
        EXPECT_EQ(items[i].message.event_log_type(), 2U) << i;
        EXPECT_EQ(header.seq_num(), static_cast<std::int64_t>(i));
        EXPECT_EQ(header.device_id(), 0x01340100);
    }
}

TEST_F(EventsSystemTest, EventsCarryTheSystemCountOfTheRegister)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(3));
    const auto header = events->inbox().items()[2].message.header();
    EXPECT_EQ(header.timestamp_valid().sec(), 5);
    EXPECT_EQ(header.timestamp_valid().nsec(), 499'999'992);
    EXPECT_EQ(header.timestamp_valid().time_code(), 100);
    EXPECT_EQ(header.timestamp_arrival().sec(), 5);
    EXPECT_EQ(header.timestamp_arrival().nsec(), 499'999'992);
}

TEST_F(EventsSystemTest, TenEventsASecondLeaveAtTheMost)
{
    desk.run();
    Bus bus;
    for (int i = 0; i < 12; ++i) bus.request({{"request", "clear-data"}, {"data", "invalid"}});  // an event each
    ASSERT_TRUE(events->inbox().waitFor(10));  // which is what may wait, others are lost
    const auto items = events->inbox().items();
    for (std::size_t i = 1; i < items.size(); ++i)
        EXPECT_GE(items[i].header.source_timestamp_ns - items[i - 1].header.source_timestamp_ns, 100'000'000) << i;
}

TEST_F(EventsSystemTest, BannerIsSentAsItIsPrinted)
{
    desk.run();
    EXPECT_TRUE(desk.awaitOutput(std::string(kBanner) + "\n"));
    EXPECT_EQ(desk.count(std::string(kBanner) + "\n"), 1U) << desk.service().output();
    ASSERT_TRUE(events->inbox().waitFor(2));
    EXPECT_EQ(events->inbox().items()[1].message.eventlog(), kBanner);
}

TEST_F(EventsSystemTest, IdentityLineEndsInTheTimeOfTheBuildAndIsOnlySent)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(1));
    EXPECT_THAT(events->inbox().items()[0].message.eventlog(),
                MatchesRegex("//aspn://Sarvent/OrvaneServer:[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z/"));
    EXPECT_EQ(desk.count("aspn://"), 0U);
}

// The publisher takes up the first of them while the topics are being ended: it may be lost on the way.
TEST_F(EventsSystemTest, LastEventsComeOnceAtTheMostAndTheVeryLastIsReported)
{
    desk.run();
    ASSERT_TRUE(events->inbox().waitFor(3));
    desk.service().send(SIGTERM);
    EXPECT_EQ(desk.service().wait(), Ending({0, 0}));
    const std::string stopped = "OrvaneServer stopped successfully.";
    const std::string exited = "OrvaneServer : VapntsService exited";
    const auto published = [&](const std::string& text) {
        const auto items = events->inbox().items();
        return std::ranges::count(items, text, [](const auto& item) { return item.message.eventlog(); });
    };
    const auto reported = [&](const std::string& text) {
        return desk.count("!!!!!! OrvaneServer HealthReporter could not publish event type/info = 2/" + text + "\n");
    };
    EXPECT_LE(static_cast<std::size_t>(published(stopped)) + reported(stopped), 1U);
    EXPECT_EQ(published(exited), 0);
    EXPECT_EQ(reported(exited), 1U);
}
