#include "reliability/day/DayPlan.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <sstream>

namespace {

class Days {
public:
    Days(std::uint64_t seed, DayPlan& plan) : m_random(seed), m_plan(plan) { m_scenario << std::fixed; }

    void live(double begin, double end)
    {
        const DayPlan::Life life{begin, end - DayPlan::kBeforeEnd, end};
        m_plan.lives.push_back(life);
        const double from = begin + DayPlan::kQuiet, to = life.sanitize - 30.0;
        happen(std::max(begin - 5.0, 0.0), "silent GPS");
        happen(begin + 60.0, "speaking GPS");
        happen(life.sanitize, "command START_ZEROIZE");
        for (double at = from; (at += gap(30.0)) < to;) happen(at, "threat " + threat());
        for (double at = from; (at += gap(40.0)) < to;) happen(at, "warn " + std::to_string(whole(0, 99)));
        for (double at = from; (at += 60.0 + gap(600.0)) < to - 60.0;) {
            happen(at, "gps-lost");
            happen(at += 20.0 + gap(10.0), "gps-back");
            ++m_plan.outages;
            at += 20.0;
        }
        for (double at = from; (at += 30.0 + gap(300.0)) < to;) {
            m_plan.mutes.push_back({at, at + 1.0 + whole(1, 10), kOutputs[static_cast<std::size_t>(whole(0, 5))]});
            at += 15.0;
        }
        for (double at = from; (at += 30.0 + gap(300.0)) < to - 30.0;) m_plan.requests.push_back({at, "clear-data"});
        for (double at = from; (at += 60.0 + gap(300.0)) < to - 60.0;) {
            m_plan.requests.push_back({at, "bit-run"});
            m_plan.requests.push_back({at + 50.0, "bit-clear"});  // whoever does not, has the service keep 50 results
        }
    }

    void finish()
    {
        std::ranges::sort(m_plan.requests, {}, &DayPlan::Request::at);
        m_plan.scenario = m_scenario.str();
    }

private:
    static constexpr const char* kOutputs[] = {"pva", "utc", "pnt", "mis", "assurance", "8504"};

    int whole(int low, int high) { return std::uniform_int_distribution(low, high)(m_random); }
    double gap(double mean) { return std::exponential_distribution(1.0 / mean)(m_random); }
    void happen(double at, const std::string& what) { m_scenario << "at " << at << ' ' << what << '\n'; }

    std::string threat()
    {
        std::string text;
        for (int left = whole(1, 9); left > 0; --left) {
            text += whole(1, 8) == 1 ? "no-bearing" : "jam az=" + std::to_string(whole(-180, 180));
            text += " state=" + std::to_string(whole(1, 4) == 1 ? whole(0, 3) : 2);
            if (left > 1) text += " + ";
        }
        return text;
    }

    std::mt19937_64 m_random;
    DayPlan& m_plan;
    std::ostringstream m_scenario;
};

}  // namespace

DayPlan DayPlan::random(std::uint64_t seed, double seconds, std::size_t lives)
{
    DayPlan plan;
    Days days(seed, plan);
    const double share = std::max(seconds / static_cast<double>(lives), 600.0);
    for (std::size_t i = 0; i < lives; ++i)
        days.live(static_cast<double>(i) * share, static_cast<double>(i + 1) * share);
    days.finish();
    return plan;
}
