#include "lab/ctl/BusLink.h"
#include "tests/lab/libvictory/Program.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using Ending = ChildProcess::Ending;
using Json = orvanectl::BusLink::Json;

namespace {

/// The built-in tests that a call-back was asked for last.
class Seen {
public:
    void put(const VapntcBitRequests& requests)
    {
        const std::scoped_lock lock(m_mutex);
        m_requests = requests;
    }
    VapntcBitRequests get() const
    {
        const std::scoped_lock lock(m_mutex);
        return m_requests;
    }

private:
    mutable std::mutex m_mutex;
    VapntcBitRequests m_requests{};
};

/// A bus with a started service, and the tool as its client.
class BusVerbTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto clear = [](void*, VapntsService*, VapntcSystemData* data) { return data ? *data : 99; };
        const auto save = [](void*, VapntsService*, const char* text) { return std::string(text) == "<a/>" ? 0 : 1; };
        ASSERT_EQ(vapntsInitTellClearSystemDataCallback(m_program.service(), clear, nullptr), 0);
        ASSERT_EQ(vapntsInitSaveVclidCallback(m_program.service(), save, nullptr), 0);
        ASSERT_EQ(vapntsStartService(m_program.service()), 0);
    }

    Ending run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {ORVANE_CTL_BINARY, "bus", "--socket", m_program.busPath()});
        ChildProcess tool(arguments);
        const Ending ending = tool.wait();
        m_output = tool.output();
        m_errors = tool.errors();
        return ending;
    }
    Json answerTo(const std::vector<std::string>& arguments)
    {
        EXPECT_EQ(run(arguments), Ending({0, 0})) << m_errors;
        return Json::parse(m_output);
    }

    /// The line that stands above the answer to a request that succeeds.
    std::string shownByRequest(const std::vector<std::string>& arguments)
    {
        EXPECT_EQ(run(arguments), Ending({0, 0})) << m_errors;
        const std::size_t end = m_output.find('\n');
        EXPECT_EQ(Json::parse(m_output.substr(end + 1)).at("ok"), true);
        return m_output.substr(0, end);
    }

    Program m_program;
    std::string m_output;
    std::string m_errors;
};

}  // namespace

TEST_F(BusVerbTest, WatchShowsALineForEachPublication)
{
    VapntcBlendedNavigationRecord record{};
    record.fom = 2;
    record.horizontalPositionError = 1.5;
    record.gpsAvailability = 1;
    vapntsTellBlendedNavigationData(m_program.service(), record, nullptr);
    EXPECT_EQ(run({"watch", "--count", "3"}), Ending({0, 0}));
    EXPECT_NE(m_output.find("4 blended-navigation (last)  gps s 0.0  fom 2  efom 0  tfom 0  horizontal m 1.5"),
              std::string::npos)
        << m_output;
}

TEST_F(BusVerbTest, WatchGivesTheLinesAsTheyCome)
{
    EXPECT_EQ(run({"watch", "--json", "--count", "1"}), Ending({0, 0}));
    EXPECT_EQ(m_output, "{\"type\":\"hello\",\"bus\":\"lab\",\"protocol\":1}\n");
}

TEST_F(BusVerbTest, WatchKeepsToTheNamesThatAreAskedFor)
{
    vapntsTellClearSystemData(m_program.service(), 3);
    vapntsTellAvailableOutputs(m_program.service(), {{7}, 1});
    EXPECT_EQ(run({"watch", "clear-system-data", "hello", "--count", "2"}), Ending({0, 0}));
    EXPECT_EQ(m_output, "hello  protocol 1\n4 clear-system-data (last)  result 3\n");
}

TEST_F(BusVerbTest, AWatchThatNothingComesForSaysSoOnATerminal)
{
    const std::string command = "'" ORVANE_CTL_BINARY "' bus --socket '" + m_program.busPath() + "' watch held misuse";
    ChildProcess terminal(
        {"/usr/bin/env", "SHELL=/bin/sh", "TERM=xterm", "script", "-q", "-f", "-c", command, "/dev/null"});
    EXPECT_TRUE(eventually([&] {
        return terminal.output().find("orvanectl: waits for held and misuse, ") != std::string::npos;
    })) << terminal.output();
    terminal.send(SIGTERM);
    terminal.wait();
}

TEST_F(BusVerbTest, ANameThatNothingOnTheBusHasIsRefused)
{
    EXPECT_EQ(run({"watch", "navwar"}), Ending({2, 0}));
    EXPECT_NE(m_errors.find("nothing on the bus is named \"navwar\"; did you mean navwar-sa?"), std::string::npos)
        << m_errors;
    EXPECT_EQ(run({"last", "hello"}), Ending({2, 0}));
    EXPECT_NE(m_errors.find("nothing on the bus is named \"hello\"; there are: blended-navigation, "),
              std::string::npos)
        << m_errors;
}

TEST_F(BusVerbTest, RequestShowsWhatIsToldWithinIt)
{
    const auto tells = [](void*, VapntsService* service, VapntcSystemData*) {
        return vapntsTellClearSystemData(service, 7);
    };
    ASSERT_EQ(vapntsInitTellClearSystemDataCallback(m_program.service(), tells, nullptr), 0);
    vapntsTellClearSystemData(m_program.service(), 3);
    EXPECT_EQ(run({"clear-data", "all"}), Ending({0, 0}));
    EXPECT_EQ(m_output.substr(0, m_output.find('\n')), "5 clear-system-data  result 7");
    EXPECT_EQ(run({"clear-data", "all", "--json"}), Ending({0, 0}));
    EXPECT_EQ(Json::parse(m_output.substr(0, m_output.find('\n'))).at("result"), 7);
}

TEST_F(BusVerbTest, TellOfAnEarlierRequestIsNotTakenForOneOfThis)
{
    const auto tells = [](void*, VapntsService* service, VapntcSystemData*) {
        return vapntsTellClearSystemData(service, 7);
    };
    ASSERT_EQ(vapntsInitTellClearSystemDataCallback(m_program.service(), tells, nullptr), 0);
    for (int request = 0; request < 2; ++request) {
        // Clients with the same number, as processes in two sandboxes may have.
        std::vector<Json> told;
        orvanectl::BusLink(m_program.busPath()).ask({{"request", "clear-data"}}, [&](const Json& line) {
            told.push_back(line);
        });
        EXPECT_EQ(told.size(), 1U);
    }
}

TEST_F(BusVerbTest, SystemConfigurationShowsWhatWasToldLast)
{
    // Told by nobody's request, as the service does.
    const auto waits = [](void*, VapntsService*) {};
    ASSERT_EQ(vapntsInitTellSystemConfigurationCallback(m_program.service(), waits, nullptr), 0);
    VapntcSystemConfiguration configuration{};
    std::strncpy(configuration.systemName, "Kolt", sizeof configuration.systemName - 1);
    vapntsTellSystemConfiguration(m_program.service(), configuration);
    EXPECT_EQ(run({"system-configuration"}), Ending({0, 0}));
    EXPECT_EQ(m_output.substr(0, m_output.find('\n')), "4 system-configuration  name Kolt  components 0");
}

TEST_F(BusVerbTest, LastShowsAName)
{
    vapntsTellClearSystemData(m_program.service(), 3);
    EXPECT_EQ(run({"last", "clear-system-data"}), Ending({0, 0}));
    EXPECT_EQ(m_output, "4 clear-system-data  result 3\n");
    vapntsTellAvailableOutputs(m_program.service(), {{7}, 1});
    const Json answer = answerTo({"last", "available-outputs", "--raw"});
    EXPECT_EQ(answer["publications"][0]["raw"].get<std::string>().substr(0, 8), "07000000");
}

TEST_F(BusVerbTest, ClearDataPassesOnWhatIsToBeCleared)
{
    EXPECT_EQ(answerTo({"clear-data"})["returned"], 99);
    EXPECT_EQ(answerTo({"clear-data", "crypto"})["returned"], 1);
    EXPECT_EQ(answerTo({"clear-data", "5"})["returned"], 5);
}

TEST_F(BusVerbTest, VclFileIsSent)
{
    EXPECT_EQ(answerTo({"save-vcl", m_program.directory().write("vcl", "<a/>")})["returned"], 0);
}

TEST_F(BusVerbTest, RequestThatFailsEndsWithOne)
{
    EXPECT_EQ(run({"bit-run"}), Ending({1, 0}));
    EXPECT_EQ(Json::parse(m_output)["error"], "the service has set no call-back for this");
    EXPECT_EQ(run({"bit-results", "0", "--count", "51"}), Ending({1, 0}));
    EXPECT_EQ(run({"bit-clear"}), Ending({1, 0}));
    EXPECT_EQ(run({"system-configuration"}), Ending({1, 0}));
    EXPECT_EQ(run({"save-vcl", "/none"}), Ending({1, 0}));
    EXPECT_EQ(m_errors, "orvanectl: cannot read /none\n");
}

TEST_F(BusVerbTest, BuiltInTestIsRunAndWhatIsToldIsShown)
{
    const auto runs = [](void*, VapntsService* service) { vapntsTellExecuteBuiltInTests(service, 25.5, "17"); };
    ASSERT_EQ(vapntsInitTellExecuteBuiltInTestsCallback(m_program.service(), runs, nullptr, 0), 0);
    EXPECT_EQ(shownByRequest({"bit-run"}), "4 execute-built-in-tests  expected s 25.5  test 17");
    const Json told = Json::parse(shownByRequest({"bit-run", "--json"}));
    EXPECT_EQ(told.at("tell"), "execute-built-in-tests");
}

TEST_F(BusVerbTest, ResultsAreAskedForByIdAndWhatIsToldIsShown)
{
    const auto answers = [](void* seen, VapntsService* service, VapntcBitRequests requests) {
        static_cast<Seen*>(seen)->put(requests);
        const auto results = std::make_unique<VapntcBitResults>();
        results->resultCount = 1;
        std::strncpy(results->results[0].builtInTestId, requests.builtInTestIds[1], VAPNTC_TEXT_SIZE - 1);
        results->results[0].status = 3;
        vapntsTellGetBuiltInTestResults(service, *results);
    };
    Seen seen;
    ASSERT_EQ(vapntsInitTellGetBuiltInTestResultsCallback(m_program.service(), answers, &seen), 0);
    EXPECT_EQ(shownByRequest({"bit-results", "0", "18446"}), "4 built-in-test-results  tests 1 [18446 passed]");
    EXPECT_EQ(seen.get().requestCount, 2);
    EXPECT_STREQ(seen.get().builtInTestIds[0], "0");
    EXPECT_STREQ(seen.get().builtInTestIds[1], "18446");
    EXPECT_STREQ(seen.get().builtInTestIds[2], "");

    for (const int count : {1, 51, -7}) {
        EXPECT_EQ(run({"bit-results", "0", "1", "--count=" + std::to_string(count)}), Ending({0, 0})) << m_errors;
        EXPECT_EQ(seen.get().requestCount, count);
        EXPECT_STREQ(seen.get().builtInTestIds[1], "1");
    }
    EXPECT_EQ(run({"bit-results"}), Ending({0, 0})) << m_errors;
    EXPECT_EQ(seen.get().requestCount, 0);
    EXPECT_STREQ(seen.get().builtInTestIds[0], "");
}

TEST_F(BusVerbTest, ResultsAreForgottenByIdAndWhatIsToldIsShown)
{
    const auto clears = [](void* seen, VapntsService* service, VapntcBitRequests requests) {
        static_cast<Seen*>(seen)->put(requests);
        vapntsTellClearBuiltInTestResults(service, 1);
    };
    Seen seen;
    ASSERT_EQ(vapntsInitTellClearBuiltInTestResultsCallback(m_program.service(), clears, &seen), 0);
    EXPECT_EQ(shownByRequest({"bit-clear", "3", "5"}), "4 clear-built-in-test-results  cleared 1");
    EXPECT_EQ(seen.get().requestCount, 2);
    EXPECT_STREQ(seen.get().builtInTestIds[0], "3");
    EXPECT_STREQ(seen.get().builtInTestIds[1], "5");
    EXPECT_EQ(run({"bit-clear", "3", "--count", "9"}), Ending({0, 0})) << m_errors;
    EXPECT_EQ(seen.get().requestCount, 9);
}

TEST_F(BusVerbTest, TellsAreHeldAndReleased)
{
    EXPECT_EQ(answerTo({"hold-tell", "clear-system-data", "60000"})["ok"], true);
    EXPECT_EQ(answerTo({"release-tell", "clear-system-data"})["ok"], true);
    EXPECT_EQ(vapntsTellClearSystemData(m_program.service(), 0), 0);
}

TEST_F(BusVerbTest, DeletionIsHeld)
{
    EXPECT_EQ(answerTo({"hold-delete", "50"})["ok"], true);
    const auto start = std::chrono::steady_clock::now();
    m_program.end();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
}

TEST_F(BusVerbTest, CallBacksAreMadeAsTheyShouldNotBe)
{
    EXPECT_EQ(answerTo({"misbehave", "clear-data", "--times", "2", "--count", "-1", "--when", "deletion"})["ok"], true);
    EXPECT_EQ(answerTo({"misbehave", "clear-data", "--without-context"})["ok"], true);
}

TEST_F(BusVerbTest, ServiceIsDescribed)
{
    EXPECT_EQ(answerTo({"status"})["phase"], "started");
    EXPECT_EQ(answerTo({"faults"})["faults"], Json::array());
    EXPECT_EQ(answerTo({"help"})["requests"].size(), 15U);
    EXPECT_EQ(answerTo({"print", "", "--stream", "cerr"})["ok"], true);
}

TEST_F(BusVerbTest, BusThatIsNotThereIsTold)
{
    ChildProcess tool({ORVANE_CTL_BINARY, "bus", "--socket", "/none", "status"});
    EXPECT_EQ(tool.wait(), Ending({1, 0}));
    EXPECT_EQ(tool.errors(), "orvanectl: no bus at /none: No such file or directory\n");
}

TEST(BusSummaryTest, LineThatIsNoneOfTheBusIsStillALine)
{
    EXPECT_EQ(orvanectl::busSummary(Json(5)), "?");
    EXPECT_EQ(orvanectl::busSummary({{"type", "faults"}, {"number", 3}, {"faults", Json::array()}}),
              "3 faults  faults 0");
    EXPECT_EQ(orvanectl::busSummary(
                  {{"type", "faults"}, {"number", 4}, {"faults", {{{"id", 7}, {"severity", 33}, {"text", "Fake"}}}}}),
              "4 faults  faults 1 [7 severity 33 \"Fake\"]");
}

TEST(BusSummaryTest, RowsOfAListAreShown)
{
    const auto shown = [](const char* key, Json rows) {
        return orvanectl::busSummary({{"tell", "t"}, {"record", {{key, std::move(rows)}}}});
    };
    EXPECT_EQ(shown("threats", {{{"azimuth_rad", 1.5707963267948966},
                                 {"elevation_rad", -0.78539816339744828},
                                 {"centreFrequency_Hz", 1575400000.0}}}),
              "t [az deg 90.0 el deg -45.0 Hz 1575400000.0]");
    EXPECT_EQ(shown("warnings", {{{"warningId", 5}, {"customText", ""}}, {{"warningId", 75}, {"customText", "OPEN"}}}),
              "t [5; 75 \"OPEN\"]");
    EXPECT_EQ(shown("components", {{{"componentId", "0x27"}, {"name", "GPS"}}}), "t [0x27 GPS]");
    EXPECT_EQ(shown("results",
                    {{{"builtInTestId", "0"}, {"status", 2}, {"sensors", {{{"sensorId", "GPS-1"}, {"status", 3}}}}}}),
              "t [0 failed [GPS-1 passed]]");
    EXPECT_EQ(shown("warnings", Json::array()), "t");
}

TEST(BusSummaryTest, OddRowsAreStillALine)
{
    EXPECT_EQ(orvanectl::busSummary({{"tell", "t"}, {"record", {{"threats", {1, "x"}}, {"results", {nullptr}}}}}),
              "t [az deg ? el deg ? Hz ; az deg ? el deg ? Hz ] [ status ]");
}
