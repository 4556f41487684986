// Built-in tests under a script of client requests, reports, turns and steps of the clock, beside a model of what
// clients are told: ids, order, states, results, and what may be forgotten.
// Input: settings, then operations.

#include "fuzz/BuiltInTests.h"
#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "fuzz/Fuzz.h"
#include "fuzz/model/BuiltInTestModel.h"
#include "tests/support/VictoryRecorder.h"

#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr const char* kName = "Server";

std::time_t g_now = 0;
std::int64_t g_steady = 0, g_system = 0;  // ns

/// What C makes of a text that should be a decimal number, but wider than any id.
std::int64_t numberOf(const std::string& text)
{
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    if (at == std::string::npos) return 0;
    const bool isNegative = text[at] == '-';
    if (isNegative || text[at] == '+') ++at;
    std::int64_t number = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        number = std::min(number * 10 + (text[at] - '0'), std::int64_t{1} << 40);
    return isNegative ? -number : number;
}

class Tests {
public:
    explicit Tests(fuzz::Input& input)
        : m_input(input), m_limit(static_cast<int>(m_input.below(4)) * 12),
          m_model(kName, m_limit, fuzz::BuiltInTests::sensors(), m_log)
    {
        constexpr std::time_t kTimes[] = {1'000'000, 0, 2'147'483'640, 4'102'444'800};
        g_now = kTimes[m_input.below(std::size(kTimes))];
        static const fuzz::MemoryFile sensors(fuzz::BuiltInTests::kSensorsFile);
        m_tests = std::make_unique<OrvaneBitResults>(
            sensors.path(),
            OrvaneBitResults::Clocks{[] { return g_now; }, [] { return g_steady; }, [] { return g_system; }});
        FUZZ_EXPECT(m_tests->Initialize(kName, m_limit, false));
        m_tests->setCommandResponseMessageCallback([this](const std::string& command) {
            m_sent.push_back(command);
            return m_canSend;
        });
        m_tests->Start();
        m_model.start();
    }

    void step()
    {
        switch (m_input.below(9)) {
        case 0:
            ask();
            break;
        case 1:
        case 2:
            turn();
            break;
        case 3:
            report();
            break;
        case 4:
            forget();
            break;
        case 5:
            m_tests->Stop();
            m_model.stop();
            break;
        case 6:
            m_tests->Start();
            m_model.start();
            break;
        case 7:
            m_canSend = !m_canSend;
            break;
        default:
            tellResults();
        }
        m_victory.forgetCalls();
    }

private:
    void ask()
    {
        // Many at once, or one.
        for (std::size_t count = m_input.below(64) == 63 ? 60 : 1; count > 0; --count) {
            const auto id = m_model.ask();
            m_tests->ExecuteBuiltInTests(m_service);
            const auto told = m_victory.last("vapntsTellExecuteBuiltInTests");
            FUZZ_EXPECT(told.text(1) == (id ? std::to_string(*id) : ""));
            FUZZ_EXPECT(told.real(0) == (id ? m_limit : 0.0));
        }
    }

    void turn()
    {
        g_now += static_cast<std::time_t>(m_input.number<std::int8_t>());
        // What is shown as the start is moved by as much as the two clocks differ.
        g_steady = static_cast<std::int64_t>(m_input.below(4)) * 1'000'000'000;
        g_system = static_cast<std::int64_t>(m_input.below(4)) * 3'600'000'000'000;
        const auto expected = m_model.turn(g_now, static_cast<std::time_t>((g_system - g_steady) / 1'000'000'000));
        if (expected) m_model.commandSent(m_canSend);
        m_tests->cycleCommandedBitStateMachine();
        FUZZ_EXPECT(m_sent == (expected ? std::vector{*expected} : std::vector<std::string>()));
        m_sent.clear();
    }

    void report()
    {
        constexpr int kServers[] = {39, 47, 0, 38, 47 + 65536, -17};
        aspn2_msgs::idl::BitReport report;
        const std::size_t topic = m_input.below(4), number = m_input.below(256);
        const bool isPassed = m_input.boolean();
        // The defect: the report of another topic ends the second test.
        const bool isTaken = fuzz::kPlanted && m_model.runningId() == 1;
        report.header().device_id(static_cast<std::int32_t>(0x01350000U | number << 8 | (isTaken ? 1 : topic)));
        report.bit_rollup(isPassed);
        std::vector<BuiltInTestModel::ReportEntry> entries(m_input.below(32));
        for (auto& entry : entries) {
            const std::size_t bits = m_input.below(64);
            entry = {kServers[bits / 8 % std::size(kServers)], (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0};
            aspn2_msgs::idl::bit_comp_set server;
            server.server_id(static_cast<std::int32_t>(entry.server));
            server.has_communicated(entry.hasCommunicated);
            server.error_received(entry.hasError);
            server.critical_received(entry.isCritical);
            report.bit_components().push_back(server);
        }
        m_model.report(static_cast<unsigned>(topic), isPassed, entries);
        m_tests->UpdateBitReport(report);
    }

    /// Ids that a client names: numbers, texts, and a count that may lie.
    VapntcBitRequests requests(std::vector<std::string>& ids)
    {
        VapntcBitRequests requests{};
        ids.resize(m_input.below(6));
        for (std::size_t i = 0; i < ids.size(); ++i) {
            ids[i] = m_input.below(4) != 0 ? std::to_string(m_input.below(52)) : m_input.text(m_input.below(12));
            ids[i] = ids[i].substr(0, ids[i].find('\0'));
            ids[i].copy(requests.builtInTestIds[i], ids[i].size());
        }
        requests.requestCount = static_cast<std::int32_t>(ids.size());
        if (m_input.below(8) == 7) {
            requests.requestCount = m_input.number<std::int32_t>();
            ids.resize(static_cast<std::size_t>(std::clamp(requests.requestCount, 0, 50)));
        }
        return requests;
    }

    void forget()
    {
        std::vector<std::string> ids;
        auto requested = requests(ids);
        if (!ids.empty() && m_input.below(8) == 7) {
            // A text without an end.
            std::ranges::fill(requested.builtInTestIds[0], '0');
            ids[0] = "0";
        }
        std::vector<std::int64_t> numbers;
        for (const auto& id : ids) numbers.push_back(numberOf(id));
        m_tests->ClearBuiltInTestResults(m_service, requested);
        FUZZ_EXPECT(m_victory.last("vapntsTellClearBuiltInTestResults").number(0) == m_model.forget(numbers));
    }

    void tellResults()
    {
        // Over a megabyte goes through several hands.
        if (m_tellingsLeft-- <= 0) return;
        std::vector<std::string> ids;
        const auto requested = std::make_unique<VapntcBitRequests>(requests(ids));
        std::vector<std::pair<std::string, std::int64_t>> named;
        for (const auto& id : ids) named.emplace_back(id, numberOf(id));
        const auto rows = m_model.results(named);
        m_tests->GetBuiltInTestResults(m_service, *requested);
        const auto call = m_victory.last("vapntsTellGetBuiltInTestResults");
        fuzz::BuiltInTests::expectRows(call.record<VapntcBitResults>(), rows);
    }

    fuzz::Input& m_input;
    const int m_limit;
    Log m_log;  // of events, which are another target's
    BuiltInTestModel m_model;
    VictoryRecorder m_victory;
    VapntsService* const m_service = m_victory.newService();
    std::unique_ptr<OrvaneBitResults> m_tests;
    std::vector<std::string> m_sent;
    bool m_canSend = true;
    int m_tellingsLeft = 2;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::QuietConsole::instance();
    fuzz::BuiltInTests::useUtc();
    fuzz::Input input(data, size);
    Tests tests(input);
    for (int steps = 0; steps < 200 && !input.isEmpty(); ++steps) tests.step();
    return 0;
}
