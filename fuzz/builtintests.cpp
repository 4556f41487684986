// Built-in tests under a script of client requests, reports, turns and steps of the clock, beside a model of what
// clients are told: ids, order, states, and what may be cleared.
// Input: operations.

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "fuzz/Fuzz.h"
#include "tests/support/VictoryRecorder.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace {

enum State { Queued, Running, Failed, Passed };

constexpr int kLimitSeconds = 25;

std::time_t g_now = 0;

/// What a client may expect.
struct Model {
    std::map<int, State> tests;
    bool isOneRunning = false;
    std::int64_t secondsLeft = 0;
    std::time_t lastTurn = 0;
    bool isStarted = true;

    /// The id, or -1 for a refusal.
    int ask()
    {
        const int id = static_cast<int>(tests.size());
        if (!isStarted || id >= 50) return -1;
        tests[id] = Queued;
        return id;
    }

    void end(State state)
    {
        isOneRunning = false;
        for (auto& [id, test] : tests)
            if (test == Running) {
                test = state;
                return;
            }
    }

    void turn(bool canSend)
    {
        if (!isStarted) return;
        secondsLeft -= g_now - lastTurn;
        lastTurn = g_now;
        if (isOneRunning) {
            if (secondsLeft <= 0) end(Failed);
            return;
        }
        for (auto& [id, test] : tests)
            if (test == Queued) {
                test = Running;
                isOneRunning = true;
                secondsLeft = kLimitSeconds;
                if (!canSend) end(Failed);
                return;
            }
    }

    void report(bool passed)
    {
        if (!isStarted || !isOneRunning) return;
        // A running test whose place a new one has taken is waited for until its time is up.
        const bool isThere = std::ranges::any_of(tests, [](const auto& test) { return test.second == Running; });
        if (isThere) end(passed ? Passed : Failed);
    }

    bool clear(const std::vector<int>& ids)
    {
        if (!isStarted) return false;
        bool isWhole = true;
        if (ids.empty()) std::erase_if(tests, [](const auto& test) { return test.second >= Failed; });
        for (const int id : ids) {
            const auto found = tests.find(id);
            if (found != tests.end() && found->second >= Failed)
                tests.erase(found);
            else
                isWhole = false;
        }
        return isWhole;
    }
};

VapntcBitRequests requestsOf(const std::vector<int>& ids)
{
    VapntcBitRequests requests{};
    for (const int id : ids) {
        const std::string text = std::to_string(id);
        text.copy(requests.builtInTestIds[requests.requestCount++], text.size());
    }
    return requests;
}

void expectResults(VictoryRecorder& victory, const Model& model)
{
    const auto call = victory.last("vapntsTellGetBuiltInTestResults");
    const auto& results = call.record<VapntcBitResults>();
    if (!model.isStarted) return FUZZ_EXPECT(results.resultCount == 0);
    FUZZ_EXPECT(results.resultCount == static_cast<int>(model.tests.size()));
    const VapntcBitResult* row = results.results;
    for (const auto& [id, state] : model.tests) {
        FUZZ_EXPECT(row->builtInTestId == std::to_string(id) && row->status == state);
        ++row;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    fuzz::Input input(data, size);
    VictoryRecorder victory;
    VapntsService* const service = victory.newService();
    g_now = 1'000'000;
    OrvaneBitResults results(
        "/nonexistent", {[] { return g_now; }, []() -> std::int64_t { return 0; }, []() -> std::int64_t { return 0; }});
    static_cast<void>(results.Initialize("Server", kLimitSeconds, false));
    bool canSend = true;
    results.setCommandResponseMessageCallback([&](const std::string&) { return canSend; });
    results.Start();
    Model model;
    bool isTold = false;
    for (int steps = 0; steps < 200 && !input.isEmpty(); ++steps) {
        switch (input.below(10)) {
        case 0: {
            const int id = model.ask();
            results.ExecuteBuiltInTests(service);
            const auto told = victory.last("vapntsTellExecuteBuiltInTests");
            FUZZ_EXPECT(told.text(1) == (id < 0 ? "" : std::to_string(id)));
            FUZZ_EXPECT(told.real(0) == (id < 0 ? 0.0 : kLimitSeconds));
            break;
        }
        case 1:
        case 2:
            g_now += static_cast<std::time_t>(input.below(30));
            results.cycleCommandedBitStateMachine();
            model.turn(canSend);
            break;
        case 3: {
            aspn2_msgs::idl::BitReport report;
            const bool isOurs = input.below(4) != 3, passed = input.boolean();
            // The defect: a report of any topic ends the test.
            report.header().device_id(isOurs || fuzz::kPlanted ? 0x3501 : 0x3500);
            report.bit_rollup(passed);
            results.UpdateBitReport(report);
            if (isOurs) model.report(passed);
            break;
        }
        case 4: {
            std::vector<int> ids(input.below(4));
            for (int& id : ids) id = static_cast<int>(input.below(8));
            results.ClearBuiltInTestResults(service, requestsOf(ids));
            const auto told = victory.last("vapntsTellClearBuiltInTestResults").number(0);
            FUZZ_EXPECT((told != 0) == model.clear(ids));
            break;
        }
        case 5:
            results.failCurrentBit();
            model.end(Failed);
            break;
        case 6:
            results.Stop();
            model.isStarted = false;
            break;
        case 7:
            results.Start();
            model.isStarted = true;
            break;
        case 8:
            canSend = !canSend;
            break;
        default:
            // Over a megabyte goes through several hands: once will do.
            if (!std::exchange(isTold, true)) {
                results.GetBuiltInTestResults(service, *std::make_unique<VapntcBitRequests>());
                expectResults(victory, model);
            }
        }
        victory.forgetCalls();
    }
    return 0;
}
