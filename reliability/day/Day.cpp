// A day of the service in minutes: the shipped binary and unit-sim under one accelerated clock, with all that a day may
// bring at random, checked against what unit-sim has sent. Then steps of the real-time clock, and a limit of two hours.

#include "reliability/Report.h"
#include "reliability/day/BusTap.h"
#include "reliability/day/DayPlan.h"
#include "reliability/day/Holdings.h"
#include "reliability/day/JoinLedger.h"
#include "reliability/day/SentReader.h"
#include "reliability/day/Steps.h"
#include "reliability/day/Unit.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <sched.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono;

std::string textOf(double value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

/// One day, checked life by life.
class Day {
public:
    /// @param rate     thousandths to begin with; lowered by a fifth each time that something is missed
    /// @param longest  seconds of the machine after which it ends, complete or not
    Day(Report& report, const DayPlan& plan, double rateHz, std::int64_t rate, bool isAccelerated, seconds longest)
        : m_report(report), m_plan(plan), m_rate(rate), m_isAccelerated(isAccelerated), m_longest(longest),
          m_unit(report, isAccelerated, rateHz)
    {}

    /// @return what was found of joins
    JoinLedger::Verdict run()
    {
        m_unit.play(m_plan);
        for (const DayPlan::Life& life : m_plan.lives)
            if (!isOver()) live(life);
        m_unit.stopPlaying();
        return m_verdict;
    }

    /// Tells figures and broken promises of a day that has been run.
    void tell()
    {
        const Goal none{Goal::AtMost, 0.0};
        m_report.figure("lives of the service", static_cast<double>(m_lives));
        m_report.figure("time of the service", m_seconds, "s");
        m_report.figure("time of the machine", m_machineSeconds, "s");
        m_report.figure("acceleration on the average", m_seconds / m_machineSeconds);
        if (m_isAccelerated) {
            m_report.figure("acceleration at the end", static_cast<double>(m_rate) / 1e3);
            m_report.figure("at which nothing was missed for", m_unit.seconds() - m_secondsWhenSlowed, "s");
        }
        m_report.figure("joins possible", static_cast<double>(m_verdict.possible));
        m_report.figure("joins published", static_cast<double>(m_verdict.joins));
        m_report.figure("joins missing", static_cast<double>(m_verdict.missing), "", none);
        m_report.figure("epochs that unit-sim sent too late to count", static_cast<double>(m_verdict.overtaken));
        m_report.expect(m_verdict.twice == 0, textOf(static_cast<double>(m_verdict.twice)) + " joins came twice");
        m_report.expect(m_verdict.impossible == 0,
                        textOf(static_cast<double>(m_verdict.impossible)) + " joins of what was not sent together");
        compare("threats", m_sent.threats, m_threats);
        compare("warnings", m_sent.warnings + m_cleared + m_gpsWarnings, m_warnings);
        m_report.figure("warnings of GPS lost and back", static_cast<double>(m_gpsWarnings));
        compare("data cleared", m_clearRequests, m_cleared);
        compare("built-in tests", m_testRequests, m_tests);
        compare("answers to requests", m_asked, m_answers);
        m_report.expect(m_refused == 0, textOf(static_cast<double>(m_refused)) + " requests were refused by the bus");
        m_report.figure("growth of resident memory in a life", m_growthKb, "KB", {Goal::AtMost, 2048.0});
        m_report.figure("more threads at the end of a life", m_moreThreads, "", none);
        m_report.figure("more descriptors at the end of a life", m_moreDescriptors, "", none);
    }

private:
    bool isOver() const { return steady_clock::now() - m_machineBegin > m_longest; }

    void live(const DayPlan::Life& life)
    {
        m_unit.startService();
        const double begin = m_unit.seconds();
        const auto machineBegin = steady_clock::now();
        std::vector<Holdings> samples;
        auto nextLook = steady_clock::now() + seconds(1);
        m_joinsTaken = 0;
        const double from = m_unit.tap().published().joins.front();
        m_sent.readOn(m_ledger);
        // The worker, which joins, restarts the bus service meanwhile.
        m_ledger.excuse(m_sent.begin + life.sanitize - 2.0, m_sent.begin + life.sanitize + 5.0);
        m_unit.setRate(m_rate);
        while (m_unit.seconds() < life.end && !isOver() && !m_unit.tap().hasEnded()) {
            ask();
            if (steady_clock::now() >= nextLook) {
                nextLook = steady_clock::now() + seconds(1);
                samples.push_back(Holdings::of(m_unit.desk().service().id()));
                slowDownIfMissing(from);
            }
            std::this_thread::sleep_for(milliseconds(2));
        }
        m_unit.setRate(Unit::kTrueRate);
        m_seconds += m_unit.seconds() - begin;
        m_machineSeconds += duration<double>(steady_clock::now() - machineBegin).count();
        // What is on its way.
        const std::size_t joins = m_unit.tap().published().joins.size();
        eventually([&] { return m_unit.tap().published().joins.size() > joins + 1; }, seconds(10));
        finish(from, samples);
        m_unit.stopService();
    }

    /// What clients ask for when its time has come; what a pause has left behind is left out.
    void ask()
    {
        while (m_request < m_plan.requests.size() && m_plan.requests[m_request].at <= m_unit.seconds()) {
            const DayPlan::Request& request = m_plan.requests[m_request++];
            if (m_unit.seconds() - request.at > 20.0) continue;
            m_unit.tap().request(request.name);
            ++m_asked;
            m_clearRequests += request.name == "clear-data";
            m_testRequests += request.name == "bit-run";
        }
    }

    JoinLedger::Verdict look(double from)
    {
        // In this order, so that whatever was published is known to have been sent; of the last join that may take a
        // moment.
        const Published published = m_unit.tap().published();
        m_sent.readOn(m_ledger);
        for (; m_joinsTaken < published.joins.size(); ++m_joinsTaken) m_ledger.addJoin(published.joins[m_joinsTaken]);
        return m_ledger.verdict(from, published.joins.back() - 0.05);
    }

    void slowDownIfMissing(double from)
    {
        const std::size_t missing = look(from).missing;
        if (missing <= m_missingInLife) return;
        m_missingInLife = missing;
        if (!m_isAccelerated || m_rate <= kSlowest) return;
        m_rate = std::max(m_rate * 4 / 5, kSlowest);
        m_unit.setRate(m_rate);
        m_secondsWhenSlowed = m_unit.seconds();
    }

    void finish(double from, const std::vector<Holdings>& samples)
    {
        const JoinLedger::Verdict verdict = look(from);
        m_missingInLife = 0;
        m_verdict.possible += verdict.possible;
        m_verdict.missing += verdict.missing;
        m_verdict.impossible += verdict.impossible;
        m_verdict.twice += verdict.twice;
        m_verdict.joins += verdict.joins;
        m_verdict.overtaken += verdict.overtaken;
        if (verdict.missing > 0)
            m_report.note("first join that is missing in this life: " + textOf(verdict.firstMissing - from) +
                          " s after its first one");
        const Published published = m_unit.tap().published();
        m_threats += published.threats;
        m_warnings += published.warnings;
        m_gpsWarnings += published.gpsWarnings;
        m_cleared += published.cleared;
        m_tests += published.tests;
        m_answers += published.answers;
        m_refused += published.refused;
        m_report.expect(published.dropped == 0, "this program read the bus too slowly");
        m_report.expect(!m_unit.tap().hasEnded(), "the bus ended in the middle of a life");
        ++m_lives;
        if (samples.size() >= 8) hold(samples);
    }

    /// What the service holds in the second quarter of a life, and in the last.
    void hold(const std::vector<Holdings>& samples)
    {
        const auto quarter = static_cast<std::ptrdiff_t>(samples.size() / 4);
        const Holdings early = leastOf(samples.begin() + quarter, samples.begin() + 2 * quarter);
        const Holdings late = leastOf(samples.end() - quarter, samples.end());
        m_growthKb = std::max(m_growthKb, late.residentKb - early.residentKb);
        m_moreThreads = std::max(m_moreThreads, late.threads - early.threads);
        m_moreDescriptors = std::max(m_moreDescriptors, late.descriptors - early.descriptors);
    }

    void compare(const std::string& what, std::size_t wanted, std::size_t seen)
    {
        m_report.figure(what + " sent or asked for", static_cast<double>(wanted));
        m_report.figure(what + " missing", static_cast<double>(wanted) - static_cast<double>(seen), "",
                        {Goal::AtMost, 0.0});
        m_report.expect(seen <= wanted, what + ": more were published than were sent");
    }

    static constexpr std::int64_t kSlowest = 5'000;

    Report& m_report;
    const DayPlan& m_plan;
    std::int64_t m_rate;
    const bool m_isAccelerated;
    const seconds m_longest;
    const steady_clock::time_point m_machineBegin = steady_clock::now();
    Unit m_unit;
    SentReader m_sent{Unit::kLog};
    JoinLedger m_ledger;
    JoinLedger::Verdict m_verdict;
    double m_secondsWhenSlowed = 0.0;
    double m_seconds = 0.0, m_machineSeconds = 0.0;
    double m_growthKb = 0.0, m_moreThreads = 0.0, m_moreDescriptors = 0.0;
    std::size_t m_request = 0, m_joinsTaken = 0, m_missingInLife = 0, m_lives = 0;
    std::size_t m_asked = 0, m_clearRequests = 0, m_testRequests = 0;
    std::size_t m_threats = 0, m_warnings = 0, m_gpsWarnings = 0, m_cleared = 0, m_tests = 0, m_answers = 0,
                m_refused = 0;
};

struct Options {
    bool isShort = false;
    std::optional<long> realSeconds;
    std::optional<double> rate;
    double seconds = 86400.0;
};

std::optional<Options> optionsOf(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto number = [&] { return i + 1 < argc ? std::strtod(argv[++i], nullptr) : 0.0; };
        if (word == "--short")
            options.isShort = true;
        else if (word == "--real-time")
            options.realSeconds = static_cast<long>(number());
        else if (word == "--acceleration")
            options.rate = number();
        else if (word == "--seconds")
            options.seconds = number();
        else
            return std::nullopt;
    }
    const bool isProper = options.rate.value_or(5.0) >= 5.0 && options.rate.value_or(5.0) <= 1000.0 &&
                          options.seconds >= 600.0 && options.realSeconds.value_or(1) > 0;
    return isProper ? std::optional(options) : std::nullopt;
}

void runDay(Report& report, const DayPlan& plan, double hertz, std::int64_t rate, seconds longest)
{
    report.note("a day of " + textOf(plan.lives.back().end) + " s at " + textOf(hertz) + " Hz");
    Day day(report, plan, hertz, rate, true, longest);
    day.run();
    day.tell();
}

/// The highest of some rates at which no join is missed in an hour, or the lowest.
std::int64_t highestRate(Report& report, double hertz)
{
    const DayPlan plan = DayPlan::random(4, 3600.0, 1);
    std::int64_t rate = 0;
    for (const std::int64_t candidate :
         {800'000, 600'000, 400'000, 300'000, 200'000, 150'000, 100'000, 50'000, 20'000}) {
        rate = candidate;
        Day day(report, plan, hertz, rate, true, minutes(5));
        const JoinLedger::Verdict found = day.run();
        report.note("an hour at " + textOf(hertz) + " Hz, accelerated " + textOf(static_cast<double>(rate) / 1e3) +
                    " times: " + std::to_string(found.missing) + " of " + std::to_string(found.possible) +
                    " joins missing");
        if (found.missing == 0) break;
    }
    report.figure("acceleration at which nothing is missed at " + textOf(hertz) + " Hz",
                  static_cast<double>(rate) / 1e3);
    return rate;
}

/// A whole day, at a pace with something in hand.
void runWholeDay(Report& report, const Options& options, double hertz, std::uint64_t seed)
{
    const std::int64_t rate =
        options.rate ? static_cast<std::int64_t>(*options.rate * 1e3) : highestRate(report, hertz) * 3 / 4;
    runDay(report, DayPlan::random(seed, options.seconds, 4), hertz, rate, hours(6));
}

void run(Report& report, const Options& options)
{
    if (options.realSeconds) {
        report.note("ten times the rate in real time");
        const auto seconds = static_cast<double>(*options.realSeconds);
        const DayPlan plan = DayPlan::random(3, seconds, 1);
        Day day(report, plan, 10.0, Unit::kTrueRate, false, std::chrono::seconds(*options.realSeconds));
        day.run();
        day.tell();
    } else if (options.isShort) {
        const std::int64_t rate = static_cast<std::int64_t>(options.rate.value_or(100.0) * 1e3);
        runDay(report, DayPlan::random(1, 1200.0, 1), 1.0, rate, seconds(14));
        Steps(report).run();
    } else {
        runWholeDay(report, options, 1.0, 1);
        runWholeDay(report, options, 10.0, 2);
        Steps(report).run();
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const auto options = optionsOf(argc, argv);
    if (!options) {
        std::cerr << "usage: reliability_day [--short] [--real-time SECONDS] [--acceleration N] "
                     "[--seconds N]\n";
        return 2;
    }
    Report report("day", std::cout);
    // For all that is started here, since a short wait is a long one of an accelerated clock.
    const sched_param first{1};
    report.note(sched_setscheduler(0, SCHED_FIFO, &first) == 0 ? "runs before what else this machine does"
                                                               : "waits like all else that this machine does");
    try {
        run(report, *options);
    } catch (const std::exception& error) {
        report.broken(error.what());
    }
    return report.status();
}
