#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/RecordTypes.h"
#include "tests/aspn2_msgs/AllRecords.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Transport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <vector>

using namespace orvanectl;
using aspn2_msgs::idl::EventLog;
using Ending = ChildProcess::Ending;
using FACE::RETURN_CODE_TYPE;

namespace {

/// A publisher of events on the topic "Log", and the tool beside it.
struct WatchTransportTest : testing::Test {
    WatchTransportTest()
    {
        RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NO_ACTION;
        front->Register_Sender(id, code);
        EXPECT_EQ(code, RETURN_CODE_TYPE::NO_ERROR);
    }

    void publish(std::int64_t number, const std::string& text) const
    {
        EventLog event;
        event.header().seq_num(number);
        event.header().device_id(0x01340100);
        event.header().timestamp_valid().sec(number);
        event.event_log_type(aspn2_msgs::idl::event_log_type_enum{2});
        event.eventlog(text);
        EXPECT_EQ(front->write(id, event), RETURN_CODE_TYPE::NO_ERROR);
    }

    /// Publishes until the tool has shown something: it misses what is sent before it knows of the publisher.
    bool publishUntilShown(const ChildProcess& tool, const std::string& text) const
    {
        std::int64_t number = 1;
        int looks = 0;
        return eventually([&] {
            if (looks++ % 25 == 0) publish(number++, text);  // what is not taken at once must find room
            return !tool.output().empty();
        });
    }

    std::vector<std::string> command(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> line = {ORVANE_CTL_BINARY};
        line.insert(line.end(), arguments.begin(), arguments.end());
        line.insert(line.end(), {"--connections", file});
        return line;
    }

    // Deep enough to hold all that a test publishes.
    const TransportConfig config =
        TransportConfig().set("HistoryDepth", "1000").connect("Log", "EventLog").connect("Time", "UTCTime");
    const TemporaryDirectory directory;
    const std::string file = directory.write("Connections.xml", config.text());
    const Transport transport{config};
    const long long id = transport.connect("Log");
    const std::shared_ptr<FACE::TSS::Details::HX_TypedTS<EventLog>> front = transport.typed<EventLog>();
};

std::string withoutLastLine(const std::string& text)
{
    const auto end = text.rfind('\n', text.size() - 2);
    return end == std::string::npos ? "" : text.substr(0, end + 1);
}

}  // namespace

TEST_F(WatchTransportTest, EventsAreShownAsTheyComeAndCtrlCEndsWithASum)
{
    ChildProcess echo(command({"echo", "Log"}));
    ASSERT_TRUE(publishUntilShown(echo, "first"));
    publish(1000000, "last");
    EXPECT_TRUE(eventually([&] {
        return echo.output().ends_with("1000000.000000000  OrvaneServer (52)  #1000000  INFORMATION  last\n");
    })) << echo.output();
    const auto records = std::ranges::count(echo.output(), '\n');
    echo.send(SIGINT);
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    const std::string sum = echo.output().substr(withoutLastLine(echo.output()).size());
    EXPECT_TRUE(sum.starts_with("orvanectl: " + std::to_string(records) + " records in ")) << sum;
    EXPECT_TRUE(sum.ends_with(" missing, 0 back, 0 lost\n")) << sum;
    EXPECT_EQ(echo.errors(), "");
}

TEST_F(WatchTransportTest, WhatWasBeforeIsNotAskedFor)
{
    publish(0, "before");
    ChildProcess echo(command({"echo", "Log", "--count", "1"}));
    ASSERT_TRUE(publishUntilShown(echo, "after"));
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    EXPECT_TRUE(withoutLastLine(echo.output()).ends_with("  INFORMATION  after\n")) << echo.output();
    EXPECT_EQ(std::ranges::count(echo.output(), '\n'), 2) << echo.output();
}

TEST_F(WatchTransportTest, BackfillBringsWhatThePublisherHolds)
{
    publish(0, "before");
    publish(1, "then");
    ChildProcess echo(command({"echo", "Log", "--backfill", "--count", "2"}));
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    EXPECT_EQ(withoutLastLine(echo.output()), "0.000000000  OrvaneServer (52)  #0  INFORMATION  before\n"
                                              "1.000000000  OrvaneServer (52)  #1  INFORMATION  then\n");
}

TEST_F(WatchTransportTest, TypeCanBeGivenForATopicThatTheFileHasNot)
{
    const std::string other = directory.write("other.xml", TransportConfig().text());
    ChildProcess echo(
        {ORVANE_CTL_BINARY, "echo", "Log", "--type", "EventLog", "--count", "1", "--json", "--connections", other});
    ASSERT_TRUE(publishUntilShown(echo, "text"));
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    const auto line = nlohmann::json::parse(withoutLastLine(echo.output()));
    EXPECT_EQ(line.at("kind"), "record");
    EXPECT_EQ(line.at("header").at("device_id").at("server_name"), "OrvaneServer");
    EXPECT_EQ(line.at("message").at("eventlog"), "text");
}

TEST_F(WatchTransportTest, TimeEndsIt)
{
    ChildProcess echo(command({"echo", "Time", "--for", "0.05", "--json"}));
    EXPECT_EQ(echo.wait(), Ending({0, 0}));
    const auto sum = nlohmann::json::parse(echo.output());
    EXPECT_EQ(sum.at("kind"), "sum");
    EXPECT_EQ(sum.at("records"), 0);
    EXPECT_GE(sum.at("seconds"), 0.05);
}

TEST_F(WatchTransportTest, ThatNobodyWasFoundIsTold)
{
    for (const char* verb : {"echo", "hz"}) {
        ChildProcess tool(command({verb, "Time", "--for", "0.05"}));
        EXPECT_EQ(tool.wait(), Ending({0, 0}));
        EXPECT_TRUE(std::regex_match(
            tool.errors(),
            std::regex(
                "orvanectl: no publisher of Time is known after [0-9.]+ s \\(domain [0-9]+, transport [A-Z]+\\); "
                "to find one may take some seconds: look longer, or see that one runs\n")))
            << tool.errors();
    }
}

TEST_F(WatchTransportTest, APublisherThatSaysNothingIsThereNevertheless)
{
    ChildProcess hz(command({"hz", "--every", "0.02", "--json"}));
    ASSERT_TRUE(eventually([&] { return hz.output().find(R"("publishers":1,)") != std::string::npos; }));
    hz.send(SIGINT);
    EXPECT_EQ(hz.wait(), Ending({0, 0}));
    EXPECT_EQ(hz.errors(), "");
}

TEST_F(WatchTransportTest, RatesTellGapsInTheSequence)
{
    ChildProcess hz(command({"hz", "--every", "0.02", "--json"}));
    ASSERT_TRUE(eventually([&] { return hz.output().find(R"("publishers":1,)") != std::string::npos; }));
    ASSERT_TRUE(transport.waitForSubscribers(id));  // each side finds the other by itself
    for (const std::int64_t number : {0, 1, 5}) publish(number, "text");
    nlohmann::json found;
    EXPECT_TRUE(eventually([&] {
        std::istringstream lines(hz.output().substr(0, hz.output().rfind('\n') + 1));
        for (std::string line; std::getline(lines, line);)
            if (const auto rate = nlohmann::json::parse(line); rate.at("topic") == "Log" && rate.at("records") == 3)
                found = rate;
        return !found.is_null();
    })) << hz.output();
    EXPECT_EQ(found.at("gaps"), 1);
    EXPECT_EQ(found.at("missing"), 3);
    EXPECT_EQ(found.at("lost"), 0);
    EXPECT_EQ(found.at("publishers"), 1);
    EXPECT_EQ(found.at("sources").at(0), "OrvaneServer (52)");
    EXPECT_GT(found.at("rate_hz"), 0.0);
    EXPECT_NE(hz.output().find(R"("topic":"Time","type":"UTCTime","rate_hz":null)"), std::string::npos);
    hz.send(SIGTERM);
    EXPECT_EQ(hz.wait(), Ending({0, 0}));
    EXPECT_NE(hz.output().find(R"({"kind":"sum",)"), std::string::npos);
}

TEST_F(WatchTransportTest, ReportsAreCounted)
{
    ChildProcess hz(command({"hz", "Log", "--every", "0.02", "--count", "2"}));
    EXPECT_EQ(hz.wait(), Ending({0, 0}));
    std::size_t tables = 0;
    for (auto place = hz.output().find("topic "); place != std::string::npos;
         place = hz.output().find("topic ", place + 1))
        ++tables;
    EXPECT_EQ(tables, 2U) << hz.output();
}

TEST_F(WatchTransportTest, OutputThatNobodyReadsDoesNotKeepItFromEnding)
{
    const std::string pipe = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::vector<std::string> line = {"/bin/sh", "-c", R"(exec "$@" 3<>)" + pipe + " > " + pipe, "sh"};
    const auto tool = command({"echo", "Log", "--full"});
    line.insert(line.end(), tool.begin(), tool.end());
    ChildProcess echo(line);
    ASSERT_TRUE(transport.waitForSubscribers(id));
    const std::string systemCall =
        "/proc/" + std::to_string(echo.id()) + "/task/" + std::to_string(echo.id()) + "/syscall";
    std::int64_t number = 0;
    EXPECT_TRUE(eventually([&] {
        publish(number++, std::string(200, 'x'));
        return readFile(systemCall).starts_with(std::to_string(SYS_write) + " 0x1 ");
    }));
    echo.send(SIGINT);
    EXPECT_EQ(echo.wait(), Ending({1, 0}));
    EXPECT_EQ(echo.errors(), "orvanectl: cannot write to standard output\n");
}

TEST_F(WatchTransportTest, EveryTypeArrivesAndIsShown)
{
    TransportConfig all;
    std::vector<std::string> arguments = {ORVANE_CTL_BINARY, "echo", "--json"};
    for (const RecordType& type : recordTypes()) {
        all.connect("Of" + std::string(type.name), std::string(type.name));
        arguments.push_back("Of" + std::string(type.name));
    }
    arguments.insert(arguments.end(), {"--connections", directory.write("all.xml", all.text())});
    const Transport publisher(all);
    ChildProcess echo(arguments);
    const auto records = supportedRecords();
    for (const RecordType& type : recordTypes()) {
        const auto key = FACE::TSS::HX_TSS::keyOf(publisher.connect("Of" + std::string(type.name)));
        publisher->registerPublisher(publisher->connectionMap_mutex_at(key));
        const auto record = std::ranges::find(records, type.name, &RecordCase::name);
        ASSERT_NE(record, records.end());
        const std::string line = R"("topic":"Of)" + std::string(type.name) + '"';
        int looks = 0;
        EXPECT_TRUE(eventually([&] {
            if (looks++ % 25 == 0) {
                EXPECT_EQ(publisher->write(key, record->numbered->data(), type.isTypeSupport),
                          RETURN_CODE_TYPE::NO_ERROR);
            }
            return echo.output().find(line) != std::string::npos;
        })) << type.name;
    }
    echo.send(SIGINT);
    EXPECT_EQ(echo.wait(), Ending({0, 0})) << echo.errors();
    std::istringstream lines(echo.output());
    std::set<std::string> shown;
    for (std::string text; std::getline(lines, text);) {
        const auto line = nlohmann::ordered_json::parse(text);
        if (line.at("kind") != "record") continue;
        const auto type = line.at("type").get<std::string>();
        const auto record = std::ranges::find(records, type, &RecordCase::name);
        Json expected = findRecordType(type)->fieldsOf(record->numbered->data());
        EXPECT_EQ(line.at("topic"), "Of" + type);
        EXPECT_EQ(line.at("message"), expected);
        shown.insert(type);
    }
    EXPECT_EQ(shown.size(), 32U);
}
