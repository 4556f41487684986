#include "tests/VICTORY/OrvaneServer/BitResult/BitResultsFixture.h"

#include <barrier>
#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

using BitThreadsTest = BitResultsTest;

const std::set<std::string> s_fiftyIds = {"0",  "1",  "2",  "3",  "4",  "5",  "6",  "7",  "8",  "9",  "10", "11", "12",
                                          "13", "14", "15", "16", "17", "18", "19", "20", "21", "22", "23", "24", "25",
                                          "26", "27", "28", "29", "30", "31", "32", "33", "34", "35", "36", "37", "38",
                                          "39", "40", "41", "42", "43", "44", "45", "46", "47", "48", "49"};

}  // namespace

// Whoever comes first ends the test, once: a test that has passed reports no time-out.
TEST_F(BitThreadsTest, ReportAtTheMomentOfTheTimeoutEndsTheTestOnce)
{
    constexpr int kBatches = 20;  // of 50 tests, so that one list shows how all of them ended
    start(5);
    std::barrier gate(2);
    std::thread reporter([&] {
        for (int round = 0; round < kBatches * 50; ++round) {
            gate.arrive_and_wait();
            results.UpdateBitReport(reportOf(true, {component(39)}));
            gate.arrive_and_wait();
        }
    });
    int ended = 0;
    for (int batch = 0; batch < kBatches; ++batch) {
        std::vector<std::size_t> timeouts;
        for (int i = 0; i < 50; ++i) {
            execute();
            cycle();
            gate.arrive_and_wait();
            cycle(5);
            gate.arrive_and_wait();
            timeouts.push_back(events().size());
        }
        const auto list = get();
        for (std::size_t i = 0; i < timeouts.size(); ++i) {
            const VapntcBitResult& row = list->results[i];
            const bool isPassed = row.status == 3 && row.sensorCount == 1 && timeouts[i] == 0;
            const bool isFailed = row.status == 2 && row.sensorCount == 0 && timeouts[i] == 1;
            if (isPassed || isFailed) ++ended;
        }
        clear();
        victory.forgetCalls();
    }
    reporter.join();
    EXPECT_EQ(ended, 1000);
    finishOne();
    EXPECT_EQ(statusOf("0"), 3);
}

// An id is the number of records only if no record of another requester comes between the counting and the storing.
TEST_F(BitThreadsTest, RequestersThatMeetGetEachIdOnce)
{
    start();
    // The others come meanwhile, and are all let in together.
    victory.onCall("vapntsTellExecuteBuiltInTests", [] { std::this_thread::sleep_for(50us); });
    for (int round = 0; round < 10; ++round) {
        victory.forgetCalls();
        std::vector<std::thread> requesters;
        for (int requester = 0; requester < 5; ++requester)
            requesters.emplace_back([this] {
                for (int i = 0; i < 10; ++i) results.ExecuteBuiltInTests(service);
            });
        for (std::thread& requester : requesters) requester.join();

        std::set<std::string> ids;
        for (const auto& call : victory.calls("vapntsTellExecuteBuiltInTests")) ids.insert(call.text(1));
        EXPECT_EQ(ids, s_fiftyIds);
        EXPECT_EQ(get()->resultCount, 50);
        for (int i = 0; i < 50; ++i) {
            cycle();
            results.UpdateBitReport(reportOf(true));
        }
        clear();
    }
}

TEST_F(BitThreadsTest, AllOperationsMayRunBesideEachOther)
{
    constexpr int kRounds = 100;
    start(1);
    results.setCommandResponseMessageCallback([](const std::string& command) { return command.size() % 2 == 0; });
    const auto repeat = [](auto&& operation) {
        return std::thread([operation] {
            for (int round = 0; round < kRounds; ++round) operation();
        });
    };
    std::vector<std::thread> threads;
    threads.push_back(repeat([this] { results.ExecuteBuiltInTests(service); }));
    threads.push_back(repeat([this] { results.ExecuteBuiltInTests(service); }));
    threads.push_back(repeat([this] { results.GetBuiltInTestResults(service, requestsOf({})); }));
    threads.push_back(repeat([this] { results.ClearBuiltInTestResults(service, requestsOf({})); }));
    threads.push_back(repeat([this] { results.UpdateBitReport(reportOf(true, {component(39)})); }));
    threads.push_back(repeat([this] { sensors(); }));
    threads.push_back(repeat([this] { initialize(1); }));
    threads.push_back(repeat([this] {
        results.Stop();
        results.Start();
    }));
    threads.push_back(repeat([this] { cycle(1); }));
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(victory.count("vapntsTellExecuteBuiltInTests"), 200u);
    EXPECT_EQ(sensors().size(), 3u);
    results.setCommandResponseMessageCallback([](const std::string&) { return true; });
    for (int turn = 0; turn < 200; ++turn) cycle(1);  // ends what is left
    EXPECT_EQ(clear(), 1);
    EXPECT_EQ(get()->resultCount, 0);
    finishOne();
    EXPECT_EQ(statusOf("0"), 3);
}
