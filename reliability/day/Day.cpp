// A day of the service in minutes: the shipped binary and unit-sim under one accelerated clock, with all that a day may
// bring at random, checked against what unit-sim has sent. Then steps of the real-time clock, and a limit of two hours.

#include "reliability/Report.h"
#include "reliability/day/BusTap.h"
#include "reliability/day/DayPlan.h"
#include "reliability/day/Density.h"
#include "reliability/day/Growth.h"
#include "reliability/day/JoinLedger.h"
#include "reliability/day/Pace.h"
#include "reliability/day/SentReader.h"
#include "reliability/day/StallWatch.h"
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

/// What was found in lives of the service.
struct Found {
    Density joins;
    JoinLedger::Strays strays;
    TellLedger::Verdict threats, warnings, clearings, tests;
    GpsLedger::Verdict gps;
    PartNumberLedger::Verdict partNumbers;
    AnswerLedger::Verdict answers;
    std::size_t testsForgotten = 0, refused = 0;
    std::size_t configurations = 0;
    double seconds = 0.0, machineSeconds = 0.0, stalledSeconds = 0.0;
    std::size_t lives = 0;
    Holdings growth, lateGrowth;  // at most
};

/// One day, checked life by life.
class Day {
public:
    /// @param rate        thousandths to begin with; lowered by a fifth each time that something is missed
    /// @param isPromised  whether a missing join is a broken promise, or a goal that is missed
    /// @param longest     seconds of the machine after which it ends, complete or not
    Day(Report& report, const DayPlan& plan, double rateHz, std::int64_t rate, bool isAccelerated, bool isPromised,
        seconds longest)
        : m_report(report), m_plan(plan), m_rate(rate), m_isAccelerated(isAccelerated), m_isPromised(isPromised),
          m_longest(longest),
          m_unit(report, isAccelerated, rateHz), m_ledgers{.joins =
                                                               JoinLedger(isAccelerated ? JoinLedger::kPatience
                                                                                        : JoinLedger::kStrictPatience),
                                                           .gps = {},
                                                           .partNumbers = {},
                                                           .threats = TellLedger(),
                                                           .warnings = TellLedger(),
                                                           .clearings = TellLedger(patienceAt(rate, isAccelerated)),
                                                           .tests = TellLedger(patienceAt(rate, isAccelerated)),
                                                           .answers = {}}
    {}

    /// @return what was found of joins
    JoinLedger::Verdict run()
    {
        m_unit.play(m_plan);
        {
            StallWatch stalls([this] { return m_unit.makeClock(); });
            m_stalls = &stalls;
            for (const DayPlan::Life& life : m_plan.lives)
                if (!isOver()) live(life);
            m_stalls = nullptr;
        }
        m_unit.stopPlaying();
        m_found.strays = m_ledgers.joins.strays();
        m_found.answers = m_ledgers.answers.verdict(m_isCutShort ? m_unit.seconds() - kUnderWay : m_unit.seconds());
        return m_found.joins.all();
    }

    /// Tells figures and broken promises of a day that has been run.
    void tell()
    {
        m_report.figure("lives of the service", number(m_found.lives));
        if (m_found.lives < m_plan.lives.size() || m_isCutShort) m_report.note("the time was over before the day was");
        m_report.figure("time of the service", m_found.seconds, "s");
        m_report.figure("time of the machine", m_found.machineSeconds, "s");
        m_report.figure("acceleration on the average", m_found.seconds / m_found.machineSeconds);
        if (m_isAccelerated) {
            m_report.figure("acceleration at the end", static_cast<double>(m_rate) / 1e3);
            m_report.figure("at which nothing was missed for", m_unit.seconds() - m_secondsWhenSlowed, "s");
        }
        tellJoins();
        tellCounts();
        tellGrowth();
    }

private:
    static constexpr Goal kNone{Goal::AtMost, 0.0};

    static double number(std::size_t count) { return static_cast<double>(count); }

    bool isOver() const { return steady_clock::now() - m_machineBegin > m_longest; }

    void tellJoins()
    {
        const JoinLedger::Verdict& joins = m_found.joins.all();
        const JoinLedger::Strays& strays = m_found.strays;
        m_report.figure("epochs for which a join was due", number(joins.possible));
        m_report.figure("of these without a join in time", number(joins.missing), "", kNone);
        m_report.figure("joins published", number(strays.joins));
        m_report.expect(joins.possible > 0, "no join was judged");
        if (m_isPromised)
            m_report.expect(joins.missing == 0, std::to_string(joins.missing) + " epochs have no join in time");
        m_report.figure("turns that had something to join, at four a second", joins.turns);
        m_report.figure("joins for each of them", Density::shareOf(joins), "", {Goal::AtLeast, 0.9});
        m_report.expect(Density::isDense(joins), "joins are lost though later ones cover their epochs: " +
                                                     textOf(Density::shareOf(joins)) + " for each turn");
        m_report.figure("the same, least over 400 turns", m_found.joins.lowest(), "", {Goal::AtLeast, Density::kLeast});
        if (m_isPromised)
            m_report.expect(m_found.joins.thin() == 0, std::to_string(m_found.joins.thin()) + " of " +
                                                           std::to_string(m_found.joins.stretches()) +
                                                           " stretches of 400 turns have too few joins");
        m_report.figure("epochs that unit-sim sent too late to count", number(joins.overtaken));
        m_report.figure("time in which the machine stood still", m_found.stalledSeconds, "s");
        m_report.figure("joins missing then, which don't count", number(joins.stalled));
        m_report.figure("share of epochs that don't count",
                        100.0 * number(joins.overtaken + joins.stalled) /
                            number(std::max<std::size_t>(joins.possible + joins.overtaken + joins.stalled, 1)),
                        "%", {Goal::AtMost, 1.0});
        m_report.expect(strays.twice == 0, std::to_string(strays.twice) + " joins came twice");
        m_report.expect(strays.backwards == 0, std::to_string(strays.backwards) + " joins came behind later ones");
        m_report.expect(strays.impossible == 0,
                        std::to_string(strays.impossible) + " joins of what was not sent together");
    }

    void tellCounts()
    {
        compareTold("threats", m_found.threats);
        compareTold("warnings of the unit", m_found.warnings);
        compareTold("warnings of GPS lost and back", m_found.gps);
        const PartNumberLedger::Verdict& partNumbers = m_found.partNumbers;
        m_report.figure("requests for part numbers", number(partNumbers.requests));
        m_report.figure("of these not answered by all", number(partNumbers.unanswered));
        m_report.figure("configurations that were whole", number(m_found.configurations));
        m_report.expect(partNumbers.missing == 0, std::to_string(partNumbers.missing) +
                                                      " requests for part numbers, or configurations, are missing");
        m_report.expect(partNumbers.needless == 0, std::to_string(partNumbers.needless) +
                                                       " requests for part numbers, or configurations, are too many");
        compareTold("data cleared", m_found.clearings);
        compareTold("built-in tests", m_found.tests);
        compareTold("answers to requests", m_found.answers);
        compareAsked("results of tests forgotten", m_forgetRequests, m_found.testsForgotten);
        m_report.expect(m_found.refused == 0, std::to_string(m_found.refused) + " requests were refused by the bus");
    }

    void tellGrowth()
    {
        if (!m_report.expect(m_samplesTooFew == 0, "memory was not judged in " + std::to_string(m_samplesTooFew) +
                                                       " lives, which were too short for it"))
            return;
        constexpr double kMostKb = 1024.0;
        // The heap grows by steps of 132 KB, in several arenas: of the first quarter of an hour three may come late.
        const bool hasSettled = std::ranges::all_of(
            m_plan.lives, [](const DayPlan::Life& life) { return life.end - life.begin >= 3600.0; });
        const double flatKb = hasSettled ? 256.0 : 512.0;
        const Holdings &growth = m_found.growth, &late = m_found.lateGrowth;
        m_report.figure("growth of resident memory from the second to the last quarter of a life", growth.residentKb,
                        "KB", {Goal::AtMost, kMostKb});
        m_report.figure("the same from the third quarter", late.residentKb, "KB", {Goal::AtMost, flatKb});
        m_report.figure("more threads at the end of a life", growth.threads, "", kNone);
        m_report.figure("more descriptors at the end of a life", growth.descriptors, "", kNone);
        m_report.expect(growth.residentKb <= kMostKb && late.residentKb <= flatKb, "memory grows");
        m_report.expect(growth.threads <= 0.0, "threads pile up");
        m_report.expect(growth.descriptors <= 0.0, "descriptors pile up");
    }

    void compare(const std::string& what, std::size_t wanted, std::size_t missing)
    {
        m_report.figure(what + ", due", number(wanted));
        m_report.figure(what + ", missing", number(missing), "", kNone);
    }

    template <class Verdict>
    void compareTold(const std::string& what, const Verdict& verdict)
    {
        compare(what, verdict.due, verdict.missing);
        m_report.expect(verdict.missing == 0, what + ": " + std::to_string(verdict.missing) + " are missing");
        m_report.expect(verdict.unexpected == 0,
                        what + ": " + std::to_string(verdict.unexpected) + " came late, twice, or for nothing");
    }

    void compareAsked(const std::string& what, std::size_t wanted, std::size_t seen)
    {
        compare(what, wanted, wanted - std::min(seen, wanted));
        m_report.expect(seen >= wanted || m_isCutShort, what + ": some are missing");
        m_report.expect(seen <= wanted, what + ": more were published than were asked for");
    }

    void live(const DayPlan::Life& life)
    {
        const double started = m_unit.seconds();
        m_unit.startService();
        const double begin = m_unit.seconds();
        const auto machineBegin = steady_clock::now();
        std::vector<Holdings> samples;
        auto nextLook = steady_clock::now() + seconds(1);
        m_taken = {};
        m_sent.readOn(m_ledgers);
        m_threatsBefore = m_sent.threats;
        m_warningsBefore = m_sent.warnings;
        m_judged = m_unit.tap().published().joins.front();
        m_judgeNext = m_sent.last;
        // The worker, which joins, restarts the bus service meanwhile.
        m_ledgers.joins.excuse(m_sent.begin + life.sanitize - 2.0, m_sent.begin + life.sanitize + 5.0);
        m_unit.setRate(m_rate);
        while (m_unit.seconds() < life.end && !isOver() && !m_unit.tap().hasEnded()) {
            ask();
            if (steady_clock::now() >= nextLook) {
                nextLook = steady_clock::now() + seconds(1);
                samples.push_back(Holdings::of(m_unit.desk().service().id()));
                look();
            }
            std::this_thread::sleep_for(milliseconds(2));
        }
        m_isCutShort = m_isCutShort || m_unit.seconds() < life.end;
        m_unit.setRate(Unit::kTrueRate);
        m_found.seconds += m_unit.seconds() - begin;
        m_found.machineSeconds += duration<double>(steady_clock::now() - machineBegin).count();
        finish(started, begin);
        judgeGrowth(samples);
        m_unit.stopService();
        enter();  // what came behind all that has been judged
    }

    /// What clients ask for comes from outside the unit's time: two seconds of the machine pass for it, too.
    static double patienceAt(std::int64_t rate, bool isAccelerated)
    {
        return isAccelerated ? std::max(TellLedger::kPatience, 2.0 * static_cast<double>(rate) / 1e3)
                             : TellLedger::kPatience;
    }

    /// What clients ask for when its time has come; what a pause has left behind is left out.
    void ask()
    {
        while (m_request < m_plan.requests.size() && m_plan.requests[m_request].at <= m_unit.seconds()) {
            const DayPlan::Request& request = m_plan.requests[m_request++];
            if (m_unit.seconds() - request.at > 20.0) continue;
            const double at = m_unit.seconds();
            m_ledgers.answers.addAsked(++m_asked, at);
            if (request.name == "clear-data") m_ledgers.clearings.addSent(at);
            if (request.name == "bit-run") m_ledgers.tests.addSent(at);
            m_unit.tap().request(request.name, m_asked);
            m_forgetRequests += request.name == "bit-clear";
        }
    }

    /// How much of what was published in a life has been entered.
    struct Taken {
        std::size_t joins = 0, threatTells = 0, warnings = 0, gpsWarnings = 0, configurations = 0;
        std::size_t clearings = 0, tests = 0, answers = 0;
    };

    /// Enters what has come since the last time, in this order, so that whatever was published is known to have been sent.
    Published enter()
    {
        const Published published = m_unit.tap().published();
        m_sent.readOn(m_ledgers);
        for (; m_taken.joins < published.joins.size(); ++m_taken.joins)
            m_ledgers.joins.addJoin(published.joins[m_taken.joins]);
        for (; m_taken.threatTells < published.threatTells.size(); ++m_taken.threatTells) {
            const auto& tell = published.threatTells[m_taken.threatTells];
            m_ledgers.threats.addTold(m_unit.secondsOf(tell.atMs), tell.count);
        }
        for (; m_taken.warnings < published.otherWarnings.size(); ++m_taken.warnings)
            m_ledgers.warnings.addTold(m_unit.secondsOf(published.otherWarnings[m_taken.warnings]));
        for (; m_taken.gpsWarnings < published.gpsWarnings.size(); ++m_taken.gpsWarnings) {
            const auto& warning = published.gpsWarnings[m_taken.gpsWarnings];
            m_ledgers.gps.addWarning(m_unit.secondsOf(warning.atMs), warning.isLost);
        }
        for (; m_taken.configurations < published.configurations.size(); ++m_taken.configurations)
            m_ledgers.partNumbers.addConfiguration(m_unit.secondsOf(published.configurations[m_taken.configurations]));
        for (; m_taken.clearings < published.clearings.size(); ++m_taken.clearings)
            m_ledgers.clearings.addTold(m_unit.secondsOf(published.clearings[m_taken.clearings]));
        for (; m_taken.tests < published.tests.size(); ++m_taken.tests)
            m_ledgers.tests.addTold(m_unit.secondsOf(published.tests[m_taken.tests]));
        for (; m_taken.answers < published.answers.size(); ++m_taken.answers)
            m_ledgers.answers.addAnswer(published.answers[m_taken.answers]);
        for (const StallWatch::Stall& stall : m_stalls->take()) {
            m_found.stalledSeconds += stall.to - stall.from;
            m_ledgers.joins.stall(m_sent.begin + stall.from - JoinLedger::kPatience,
                                  m_sent.begin + stall.to + JoinLedger::kPatience / 2.0);
        }
        return published;
    }

    /// Judges joins up to what had been sent when it looked last, a second of the machine ago.
    void look()
    {
        const double stalledBefore = m_found.stalledSeconds, before = m_judgeNext;
        enter();
        const JoinLedger::Verdict verdict = m_ledgers.joins.verdict(m_judged, m_judgeNext);
        m_judged = m_judgeNext;
        m_judgeNext = m_sent.last;
        m_found.joins.add(verdict);
        if (verdict.missing > 0)
            m_report.note(std::to_string(verdict.missing) + " epochs have no join in time, the first at " +
                          textOf(verdict.firstMissing - m_sent.begin) + " s, at an acceleration of " +
                          textOf(static_cast<double>(m_rate) / 1e3));
        const bool isStalled = m_found.stalledSeconds - stalledBefore > kMostStalled * (m_judgeNext - before);
        if (verdict.missing > 0 || isStalled) slowDown();
    }

    void slowDown()
    {
        if (!m_isAccelerated || m_rate <= kSlowest) return;
        m_rate = std::max(m_rate * 4 / 5, kSlowest);
        m_unit.setRate(m_rate);
        m_secondsWhenSlowed = m_unit.seconds();
    }

    /// Judges the rest of a life, once what was sent in it has had its time to be published.
    void finish(double started, double begin)
    {
        m_sent.readOn(m_ledgers);
        const double last = m_sent.last;
        const double end = m_unit.seconds();
        const std::size_t threats = m_sent.threats, warnings = m_sent.warnings;
        eventually(
            [&] {
                const Published published = m_unit.tap().published();
                return published.joins.back() >= last && m_threatsBefore + published.threats >= threats &&
                       m_warningsBefore + published.otherWarnings.size() >= warnings;
            },
            seconds(10));
        const Published published = enter();
        m_found.joins.add(m_ledgers.joins.verdict(m_judged, last + 0.005));
        m_found.threats += m_ledgers.threats.verdict(begin, end);
        m_found.warnings += m_ledgers.warnings.verdict(begin, end);
        add(m_found.gps, m_ledgers.gps.verdict(begin, end - GpsLedger::kPatience));
        add(m_found.partNumbers, m_ledgers.partNumbers.verdict(started, end - PartNumberLedger::kLongest));
        m_found.configurations += published.configurations.size();
        // A life that was cut short may have ended between a request and what it leads to.
        const double asked = m_isCutShort ? end - kUnderWay : end;
        m_found.clearings += m_ledgers.clearings.verdict(begin, asked);
        m_found.tests += m_ledgers.tests.verdict(begin, asked);
        m_found.testsForgotten += published.testsForgotten;
        m_found.refused += published.refused;
        m_report.expect(published.dropped == 0, "this program read the bus too slowly");
        m_report.expect(!m_unit.tap().hasEnded(), "the bus ended in the middle of a life");
        ++m_found.lives;
    }

    static void add(GpsLedger::Verdict& all, const GpsLedger::Verdict& one)
    {
        all.due += one.due;
        all.missing += one.missing;
        all.unexpected += one.unexpected;
    }

    static void add(PartNumberLedger::Verdict& all, const PartNumberLedger::Verdict& one)
    {
        all.requests += one.requests;
        all.unanswered += one.unanswered;
        all.missing += one.missing;
        all.needless += one.needless;
    }

    void judgeGrowth(const std::vector<Holdings>& samples)
    {
        const auto growth = growthOf(samples, Quarter::Second), late = growthOf(samples, Quarter::Third);
        m_samplesTooFew += !growth;
        if (!growth || !late) return;
        m_found.growth = mostOf(m_found.growth, *growth);
        m_found.lateGrowth = mostOf(m_found.lateGrowth, *late);
        std::string course;
        for (const double resident : eighthsOf(samples)) course += ' ' + textOf(resident);
        m_report.note("resident memory in the eighths of a life, KB:" + course);
    }

    static constexpr std::int64_t kSlowest = 5'000;
    static constexpr double kUnderWay = TellLedger::kPatience;
    static constexpr double kMostStalled = 0.1;  // of the time, before the pace is lowered

    Report& m_report;
    const DayPlan& m_plan;
    std::int64_t m_rate;
    const bool m_isAccelerated;
    const bool m_isPromised;
    const seconds m_longest;
    const steady_clock::time_point m_machineBegin = steady_clock::now();
    Unit m_unit;
    StallWatch* m_stalls = nullptr;
    SentReader m_sent{Unit::kLog};
    Ledgers m_ledgers;
    Found m_found;
    Taken m_taken;
    bool m_isCutShort = false;
    double m_secondsWhenSlowed = 0.0;
    double m_judged = 0.0;                                  // joins up to here are
    double m_judgeNext = 0.0;                               // what is next
    std::size_t m_threatsBefore = 0, m_warningsBefore = 0;  // this life, sent
    std::size_t m_request = 0, m_samplesTooFew = 0;
    int m_asked = 0;
    std::size_t m_forgetRequests = 0;
};

struct Options {
    bool isShort = false;
    std::optional<long> realSeconds;
    std::optional<double> rate;
    std::optional<double> hertz;
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
        else if (word == "--hertz")
            options.hertz = number();
        else if (word == "--seconds")
            options.seconds = number();
        else
            return std::nullopt;
    }
    const bool isProper = options.rate.value_or(5.0) >= 5.0 && options.rate.value_or(5.0) <= 1000.0 &&
                          (!options.hertz || *options.hertz == 1.0 || *options.hertz == 10.0) &&
                          options.seconds >= 600.0 && options.realSeconds.value_or(1) > 0;
    return isProper ? std::optional(options) : std::nullopt;
}

/// A miss at the normal rate breaks a promise; one at ten times the rate misses a goal.
void runDay(Report& report, const DayPlan& plan, double hertz, std::int64_t rate, seconds longest)
{
    report.note("a day of " + textOf(plan.lives.back().end) + " s at " + textOf(hertz) + " Hz, accelerated " +
                textOf(static_cast<double>(rate) / 1e3) + " times");
    Day day(report, plan, hertz, rate, true, hertz == 1.0, longest);
    day.run();
    day.tell();
}

/// The highest of some paces at which no join is missed in an hour.
std::optional<std::int64_t> highestPace(Report& report, double hertz)
{
    const DayPlan plan = DayPlan::random(4, 3600.0, 1);
    const auto pace = firstPace(
        {800'000, 600'000, 400'000, 300'000, 200'000, 150'000, 100'000, 50'000, 20'000}, [&](std::int64_t candidate) {
            Day day(report, plan, hertz, candidate, true, false, minutes(5));
            const JoinLedger::Verdict found = day.run();
            report.note("an hour at " + textOf(hertz) + " Hz, accelerated " +
                        textOf(static_cast<double>(candidate) / 1e3) + " times: " + std::to_string(found.missing) +
                        " of " + std::to_string(found.possible) + " epochs without a join, " +
                        std::to_string(found.stalled + found.overtaken) + " not counted, " +
                        textOf(Density::shareOf(found)) + " joins for each turn");
            return found.possible > 0 && found.missing == 0 && Density::isDense(found) &&
                   (found.stalled + found.overtaken) * 100 <= found.possible;
        });
    if (report.expect(pace.has_value(), "at " + textOf(hertz) + " Hz joins are missed at every acceleration"))
        report.figure("acceleration at which nothing is missed at " + textOf(hertz) + " Hz",
                      static_cast<double>(*pace) / 1e3);
    return pace;
}

/// A whole day, at a pace that is given, or with something in hand.
void runWholeDay(Report& report, const Options& options, double hertz, std::uint64_t seed)
{
    if (options.hertz && *options.hertz != hertz) return;
    std::optional<std::int64_t> rate;
    if (options.rate)
        rate = static_cast<std::int64_t>(*options.rate * 1e3);
    else if (const auto highest = highestPace(report, hertz))
        rate = *highest * 3 / 4;
    if (rate) runDay(report, DayPlan::random(seed, options.seconds, 4), hertz, *rate, hours(6));
}

void run(Report& report, const Options& options)
{
    if (options.realSeconds) {
        report.note("ten times the rate in real time");
        constexpr long kEnding = 60;
        const auto wanted = static_cast<double>(*options.realSeconds);
        const DayPlan plan = DayPlan::random(3, wanted, 1);
        const seconds longest(*options.realSeconds + (plan.lives.back().end > wanted ? 0 : kEnding));
        Day day(report, plan, 10.0, Unit::kTrueRate, false, true, longest);
        day.run();
        day.tell();
    } else if (options.isShort) {
        const std::int64_t rate = static_cast<std::int64_t>(options.rate.value_or(60.0) * 1e3);
        runDay(report, DayPlan::random(1, 900.0, 1), 1.0, rate, seconds(20));
        Steps(report).run();
    } else {
        runWholeDay(report, options, 1.0, 1);
        runWholeDay(report, options, 10.0, 2);
        if (!options.hertz) Steps(report).run();
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const auto options = optionsOf(argc, argv);
    if (!options) {
        std::cerr << "usage: reliability_day [--short] [--real-time SECONDS] [--acceleration N] "
                     "[--hertz 1|10] [--seconds N]\n";
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
