#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using OrvaneBitResultsTest = BitResultsTest;

bool isZero(const VapntcBitResults& list)
{
    const VapntcBitResults zero{};
    return std::memcmp(&list, &zero, sizeof list) == 0;
}

}  // namespace

TEST_F(OrvaneBitResultsTest, ExecuteTellsTheLimitAndTheIdAtOnce)
{
    start(25);
    results.ExecuteBuiltInTests(service);
    const auto call = victory.last("vapntsTellExecuteBuiltInTests");
    EXPECT_EQ(call.service, service);
    EXPECT_EQ(call.real(0), 25.0);
    EXPECT_EQ(call.text(1), "0");
    EXPECT_THAT(commands, IsEmpty());
    EXPECT_EQ(statusOf("0"), 0);
}

TEST_F(OrvaneBitResultsTest, ExecuteWhileStoppedTellsNothingTaken)
{
    ASSERT_TRUE(initialize());
    results.ExecuteBuiltInTests(service);
    const auto call = victory.last("vapntsTellExecuteBuiltInTests");
    EXPECT_EQ(call.real(0), 0.0);
    EXPECT_EQ(call.text(1), "");
    results.Start();
    EXPECT_EQ(get()->resultCount, 0);
}

TEST_F(OrvaneBitResultsTest, IdsCountTheRecords)
{
    start();
    EXPECT_EQ(execute(), "0");
    EXPECT_EQ(execute(), "1");
    EXPECT_EQ(execute(), "2");
}

TEST_F(OrvaneBitResultsTest, AfterAClearTheNextTestReplacesTheRecordWithItsId)
{
    start();
    finishOne();
    finishOne();
    EXPECT_EQ(clear({"0"}), 1);
    EXPECT_EQ(statusOf("1"), 3);
    EXPECT_EQ(execute(), "1");
    EXPECT_EQ(get()->resultCount, 1);
    EXPECT_EQ(statusOf("1"), 0);
}

TEST_F(OrvaneBitResultsTest, FiftyFirstTestIsNotTaken)
{
    start();
    for (int i = 0; i < 50; ++i) EXPECT_EQ(execute(), std::to_string(i));
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_EQ(execute(), "");
    EXPECT_EQ(victory.last("vapntsTellExecuteBuiltInTests").real(0), 0.0);
    EXPECT_EQ(victory.count("vapntsTellExecuteBuiltInTests"), 51u);
    EXPECT_THAT(events(),
                ElementsAre("3:OrvaneBitResults: Warning, no room for another built-in test. Records kept: 50"));
    EXPECT_EQ(get()->resultCount, 50);
}

TEST_F(OrvaneBitResultsTest, WithFortyNineRecordsATestIsTakenThatReplacesOne)
{
    start();
    finishOne();
    for (int i = 1; i < 50; ++i) execute();
    EXPECT_EQ(clear({"0"}), 1);
    EXPECT_EQ(execute(), "49");
    EXPECT_EQ(get()->resultCount, 49);
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(OrvaneBitResultsTest, GetWithoutIdsTellsAllInTheOrderOfTheirNumbers)
{
    start();
    for (int i = 0; i < 12; ++i) execute();
    const auto list = get();
    ASSERT_EQ(list->resultCount, 12);
    EXPECT_STREQ(list->results[2].builtInTestId, "2");
    EXPECT_STREQ(list->results[10].builtInTestId, "10");
    EXPECT_STREQ(list->results[11].builtInTestId, "11");
    EXPECT_STREQ(list->results[12].builtInTestId, "");
}

TEST_F(OrvaneBitResultsTest, GetByIdTellsARowForEachIdInTheOrderAsked)
{
    start();
    finishOne();
    execute();
    const auto list = get({"1", "7", "0", "0"});
    ASSERT_EQ(list->resultCount, 4);
    EXPECT_STREQ(list->results[0].builtInTestId, "1");
    EXPECT_EQ(list->results[0].status, 0);
    EXPECT_STREQ(list->results[1].builtInTestId, "7");
    EXPECT_EQ(list->results[1].status, 0);
    EXPECT_EQ(list->results[1].namePresent, 0u);
    EXPECT_EQ(list->results[2].status, 3);
    EXPECT_EQ(list->results[3].status, 3);
}

TEST_F(OrvaneBitResultsTest, UnknownIdIsARowOfZerosButForTheId)
{
    start();
    VapntcBitResults expected{};
    expected.resultCount = 1;
    std::strcpy(expected.results[0].builtInTestId, "42");
    const auto list = get({"42"});
    EXPECT_EQ(std::memcmp(list.get(), &expected, sizeof expected), 0);
}

TEST_F(OrvaneBitResultsTest, IdThatIsNoNumberCountsAsZero)
{
    start();
    finishOne();
    EXPECT_EQ(statusOf("first"), 3);
    EXPECT_EQ(statusOf(""), 3);
    EXPECT_EQ(clear({"first"}), 1);
    EXPECT_STREQ(get({"first"})->results[0].builtInTestId, "first");
}

TEST_F(OrvaneBitResultsTest, IdBeyondAnIntIsUnknown)
{
    start();
    finishOne();
    for (const char* id : {"4294967296", "-4294967296", "99999999999999999999999", "-1"}) {
        const auto list = get({id});
        EXPECT_EQ(list->results[0].status, 0);
        EXPECT_STREQ(list->results[0].builtInTestId, id);
        EXPECT_EQ(clear({id}), 0);
    }
    EXPECT_EQ(statusOf("0"), 3);
}

TEST_F(OrvaneBitResultsTest, IdWithoutATerminatorIsCut)
{
    start();
    VapntcBitRequests requests = requestsOf({""});
    std::memset(requests.builtInTestIds[0], 'x', sizeof requests.builtInTestIds[0]);
    const auto list = getWith(requests);
    EXPECT_EQ(std::string(list->results[0].builtInTestId), std::string(255, 'x'));
}

TEST_F(OrvaneBitResultsTest, CountOfFiftyIsTakenWhole)
{
    start();
    VapntcBitRequests requests{};
    requests.requestCount = 50;
    std::strcpy(requests.builtInTestIds[49], "77");
    const auto list = getWith(requests);
    EXPECT_EQ(list->resultCount, 50);
    EXPECT_STREQ(list->results[49].builtInTestId, "77");
    EXPECT_THAT(events(), IsEmpty());
}

TEST_F(OrvaneBitResultsTest, CountBeyondTheListIsTakenAsFifty)
{
    start();
    VapntcBitRequests requests{};
    for (const int count : {51, 1000, 2147483647}) {
        requests.requestCount = count;
        EXPECT_EQ(getWith(requests)->resultCount, 50);
        EXPECT_THAT(events(), ElementsAre("3:OrvaneBitResults: Warning request count, " + std::to_string(count) +
                                          " is taken as 50"));
        EXPECT_EQ(clearWith(requests), 0);
        EXPECT_EQ(events().size(), 1u);
    }
}

TEST_F(OrvaneBitResultsTest, NegativeCountIsTakenAsNone)
{
    start();
    finishOne();
    VapntcBitRequests requests{};
    for (const int count : {-1, -2147483647 - 1}) {
        requests.requestCount = count;
        EXPECT_EQ(getWith(requests)->resultCount, 1);
        EXPECT_THAT(events(), ElementsAre("3:OrvaneBitResults: Warning request count, " + std::to_string(count) +
                                          " is taken as 0"));
    }
    EXPECT_EQ(clearWith(requests), 1);
    EXPECT_EQ(get()->resultCount, 0);
}

TEST_F(OrvaneBitResultsTest, GetWhileStoppedTellsAListOfZeros)
{
    start();
    finishOne();
    results.Stop();
    EXPECT_TRUE(isZero(*get()));
    EXPECT_TRUE(isZero(*get({"0", "8"})));
}

TEST_F(OrvaneBitResultsTest, ClearWithoutIdsErasesOnlyFinishedTests)
{
    start();
    finishOne(true);
    finishOne(false);
    execute();
    cycle();
    execute();
    EXPECT_EQ(clear(), 1);
    const auto list = get();
    ASSERT_EQ(list->resultCount, 2);
    EXPECT_EQ(list->results[0].status, 1);
    EXPECT_EQ(list->results[1].status, 0);
    EXPECT_EQ(clear(), 1);
}

TEST_F(OrvaneBitResultsTest, ClearOfAQueuedOrRunningTestIsRefused)
{
    start();
    execute();
    EXPECT_EQ(clear({"0"}), 0);
    cycle();
    EXPECT_EQ(clear({"0"}), 0);
    EXPECT_EQ(statusOf("0"), 1);
    results.UpdateBitReport(reportOf(true));
    EXPECT_EQ(clear({"0"}), 1);
    EXPECT_EQ(get()->resultCount, 0);
}

TEST_F(OrvaneBitResultsTest, ClearGoesOnBehindAnIdThatItMisses)
{
    start();
    finishOne();
    finishOne();
    EXPECT_EQ(clear({"0", "9", "1"}), 0);
    EXPECT_EQ(get()->resultCount, 0);
}

TEST_F(OrvaneBitResultsTest, ClearOfTheSameIdTwiceMissesTheSecond)
{
    start();
    finishOne();
    EXPECT_EQ(clear({"0", "0"}), 0);
    EXPECT_EQ(get()->resultCount, 0);
}

TEST_F(OrvaneBitResultsTest, ClearWhileStoppedIsRefused)
{
    start();
    finishOne();
    results.Stop();
    EXPECT_EQ(clear(), 0);
    EXPECT_EQ(clear({"0"}), 0);
    results.Start();
    EXPECT_EQ(get()->resultCount, 1);
}

TEST_F(OrvaneBitResultsTest, ResultsAreToldWithNoLockHeld)
{
    start();
    std::size_t seen = 0;
    const auto look = [&] { seen += sensors().size(); };
    victory.onCall("vapntsTellGetBuiltInTestResults", look);
    victory.onCall("vapntsTellClearBuiltInTestResults", look);
    get();
    clear();
    EXPECT_EQ(seen, 6u);
}

TEST_F(OrvaneBitResultsTest, ExceptionsAreReportedWithTheirText)
{
    start();
    const auto fail = [] { throw std::runtime_error("broken"); };
    const std::string event = "3:OrvaneBitResults: An exception occurred. Details: broken";
    victory.onCall("vapntsTellExecuteBuiltInTests", fail);
    victory.onCall("vapntsTellGetBuiltInTestResults", fail);
    victory.onCall("vapntsTellClearBuiltInTestResults", fail);
    results.ExecuteBuiltInTests(service);
    EXPECT_THAT(events(), ElementsAre(event));
    results.GetBuiltInTestResults(service, requestsOf({}));
    EXPECT_THAT(events(), ElementsAre(event));
    results.ClearBuiltInTestResults(service, requestsOf({}));
    EXPECT_THAT(events(), ElementsAre(event));
    EXPECT_THAT(console.text(), HasSubstr("OrvaneBitResults: An exception occurred. Details: broken\n"));
    EXPECT_EQ(sensors().size(), 3u);  // and no lock is left behind
}

TEST_F(OrvaneBitResultsTest, OtherExceptionsAreReportedAsUnknown)
{
    start();
    victory.onCall("vapntsTellGetBuiltInTestResults", [] { throw 7; });
    results.GetBuiltInTestResults(service, requestsOf({}));
    EXPECT_THAT(events(), ElementsAre("3:OrvaneBitResults: Unknown c++ exception occurred"));
    EXPECT_EQ(console.text(), "OrvaneBitResults: Unknown c++ exception occurred\n");
}

TEST_F(OrvaneBitResultsTest, CallbacksReachTheObject)
{
    start();
    vapntsInitTellExecuteBuiltInTestsCallback(service, BuiltInTests::ExecuteBuiltInTestsCallback, &results, 0);
    vapntsInitTellGetBuiltInTestResultsCallback(service, BuiltInTests::GetBuiltInTestResultsCallback, &results);
    vapntsInitTellClearBuiltInTestResultsCallback(service, BuiltInTests::ClearBuiltInTestResultsCallback, &results);
    victory.forgetCalls();
    victory.fireExecuteBuiltInTests();
    victory.fireGetBuiltInTestResults(requestsOf({"0"}));
    victory.fireClearBuiltInTestResults(requestsOf({"0"}));
    EXPECT_THAT(victory.operations(), ElementsAre("vapntsTellExecuteBuiltInTests", "vapntsTellGetBuiltInTestResults",
                                                  "vapntsTellClearBuiltInTestResults"));
    EXPECT_EQ(victory.last("vapntsTellExecuteBuiltInTests").text(1), "0");
    EXPECT_EQ(victory.last("vapntsTellGetBuiltInTestResults").record<VapntcBitResults>().resultCount, 1);
    EXPECT_EQ(victory.last("vapntsTellClearBuiltInTestResults").service, service);
}

TEST_F(OrvaneBitResultsTest, CallbackWithoutAnObjectIsReported)
{
    const auto textOf = [](const std::string& callback) {
        return "3:OrvaneBitResults: instance pointer was not found in VICTORY " + callback + ", callbackData parameter";
    };
    BuiltInTests::ExecuteBuiltInTestsCallback(nullptr, service);
    BuiltInTests::GetBuiltInTestResultsCallback(nullptr, service, requestsOf({}));
    BuiltInTests::ClearBuiltInTestResultsCallback(nullptr, service, requestsOf({}));
    EXPECT_THAT(events(), ElementsAre(textOf("ExecuteBuiltInTestsCallback"), textOf("GetBuiltInTestResultsCallback"),
                                      textOf("ClearBuiltInTestResultsCallback")));
    EXPECT_THAT(console.text(), HasSubstr("instance pointer was not found in VICTORY ExecuteBuiltInTestsCallback, "));
    EXPECT_THAT(victory.calls(), IsEmpty());
}

// The list is passed by value, which takes 1.3 megabytes of stack; the call-back may not take as much once more.
TEST_F(OrvaneBitResultsTest, ListIsBuiltOutsideTheStack)
{
    start();
    std::ptrdiff_t used = 0;
    const auto depthOf = [&](const std::function<void()>& call) {
        const char* const here = static_cast<const char*>(__builtin_frame_address(0));
        victory.onCall("vapntsTellGetBuiltInTestResults",
                       [&used, here] { used = here - static_cast<const char*>(__builtin_frame_address(0)); });
        call();
        return used;
    };
    const auto list = std::make_unique<VapntcBitResults>();
    const std::ptrdiff_t ofTheCall = depthOf([&] { vapntsTellGetBuiltInTestResults(service, *list); });
    EXPECT_GT(ofTheCall, 1'328'004);
    EXPECT_LT(depthOf([&] { BuiltInTests::GetBuiltInTestResultsCallback(&results, service, requestsOf({})); }),
              ofTheCall + 200'000);
}
