// A day of the service in minutes: the shipped binary and unit-sim under one accelerated clock, with all that a day may
// bring at random, checked against what unit-sim has sent. Then steps of the real-time clock, and a limit of two hours.

#include "lab/clock/ClockFile.h"
#include "reliability/Report.h"
#include "reliability/day/BusTap.h"
#include "reliability/day/DayPlan.h"
#include "reliability/day/JoinLedger.h"
#include "tests/support/Desk.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <sched.h>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono;
using labclock::ClockFile;
using labclock::kSecond;

constexpr const char* kClock = "/tmp/clock";
constexpr const char* kLog = "/tmp/sent";
constexpr const char* kScenario = "/tmp/scenario";
constexpr std::int64_t kBegin = 1'800'000'000;  // a Friday: no day from then on meets the end of a GPS week
constexpr std::int64_t kTrueRate = 1'000;

const std::vector<std::string> kUnderTheClock = {"LD_PRELOAD=" ORVANE_CLOCK_LIBRARY,
                                                 std::string("ORVANE_LAB_CLOCK=") + kClock};

/// What a process holds.
struct Holdings {
    double residentKb = 0.0;
    double threads = 0.0;
    double descriptors = 0.0;

    static Holdings of(pid_t process)
    {
        Holdings holdings;
        const std::string directory = "/proc/" + std::to_string(process);
        std::ifstream status(directory + "/status");
        for (std::string key; status >> key;) {
            if (key == "VmRSS:") status >> holdings.residentKb;
            if (key == "Threads:") status >> holdings.threads;
        }
        std::error_code gone;
        using Entries = std::filesystem::directory_iterator;
        holdings.descriptors = static_cast<double>(std::distance(Entries(directory + "/fd", gone), Entries()));
        return holdings;
    }
};

/// The least of some samples: what is held for a moment only doesn't count.
Holdings leastOf(std::vector<Holdings>::const_iterator begin, std::vector<Holdings>::const_iterator end)
{
    Holdings least = *begin;
    for (; begin != end; ++begin) {
        least.residentKb = std::min(least.residentKb, begin->residentKb);
        least.threads = std::min(least.threads, begin->threads);
        least.descriptors = std::min(least.descriptors, begin->descriptors);
    }
    return least;
}

/// What unit-sim has sent, read from its log as far as it has got.
class SentReader {
public:
    double begin = -1.0;  // time of validity of the first epoch
    std::size_t threats = 0;
    std::size_t warnings = 0;

    void readOn(JoinLedger& ledger)
    {
        if (!m_file.is_open()) m_file.open(kLog);
        std::string part;
        m_file.clear();
        while (std::getline(m_file, part)) {
            m_line += part;
            if (m_file.eof()) return;  // the rest of this line is still to come
            take(std::exchange(m_line, {}), ledger);
        }
    }

private:
    void take(const std::string& line, JoinLedger& ledger)
    {
        std::istringstream words(line);
        double sentAt = 0.0, validAt = 0.0;
        std::string what, sent;
        std::size_t all = 0, reported = 0;
        words >> sentAt >> what;
        if (what == "epoch" && words >> validAt >> sent && sent.size() == JoinLedger::kInputs) {
            std::array<bool, JoinLedger::kInputs> inputs{};
            std::transform(sent.begin(), sent.end(), inputs.begin(), [](char c) { return c == '1'; });
            if (begin < 0.0) begin = validAt;
            ledger.addSent(validAt, sentAt, inputs);
        } else if (what == "threats" && words >> all >> reported) {
            threats += reported;
        } else if (what == "warning") {
            ++warnings;
        }
    }

    std::ifstream m_file;
    std::string m_line;
};

/// The unit and the service on it, by the lab's clock or, without one, in real time.
class Unit {
public:
    Unit(Report& report, bool isAccelerated, double rateHz) : m_report(report), m_rateHz(rateHz)
    {
        if (isAccelerated) {
            ClockFile::create(kClock, kTrueRate, kBegin * kSecond);
            m_clock.emplace(kClock);
        }
    }

    void play(const DayPlan& plan)
    {
        std::ofstream(kScenario) << plan.scenario;
        std::vector<std::string> words = {"/usr/bin/env"};
        if (m_clock) words.insert(words.end(), kUnderTheClock.begin(), kUnderTheClock.end());
        std::ostringstream rate;
        rate << m_rateHz;
        words.insert(words.end(), {ORVANE_UNIT_SIM, "--log", kLog, "--scenario", kScenario, "--count-step", "0.02",
                                   "--utc", std::to_string(kBegin), "--quiet", "--rate", rate.str()});
        for (const DayPlan::Mute& mute : plan.mutes) {
            std::ostringstream text;
            text << std::fixed << mute.output << '=' << mute.from << ':' << mute.to;
            words.insert(words.end(), {"--mute", text.str()});
        }
        m_begin = now();
        m_sim.emplace(words);
        if (!eventually([] { return std::filesystem::exists(kLog); }))
            throw std::runtime_error("unit-sim does not start: " + m_sim->errors());
    }

    void startService()
    {
        setRate(kTrueRate);
        m_desk.start(m_clock ? kUnderTheClock : std::vector<std::string>{});
        if (!m_desk.service().waitUntilHandled(SIGINT))
            throw std::runtime_error("the service does not run: " + m_desk.service().errors());
        m_tap = std::make_unique<BusTap>();
        const bool publishes = eventually([&] { return !m_tap->published().joins.empty(); });
        if (!publishes) throw std::runtime_error("the service publishes nothing");
    }

    void stopService()
    {
        setRate(kTrueRate);
        m_desk.service().send(SIGTERM);
        const ChildProcess::Ending ending = m_desk.service().wait();
        m_report.expect(ending == ChildProcess::Ending{0, 0}, "a life of the service ended with status " +
                                                                  std::to_string(ending.status) + ", signal " +
                                                                  std::to_string(ending.signal));
        m_tap.reset();
    }

    void stopPlaying()
    {
        m_sim->send(SIGTERM);
        m_report.expect(m_sim->wait() == ChildProcess::Ending{0, 0}, "unit-sim failed: " + m_sim->errors());
    }

    /// Seconds since the unit has begun, by its clock.
    double seconds() const { return static_cast<double>(now() - m_begin) / 1e9; }

    void setRate(std::int64_t rate)
    {
        if (m_clock && rate != std::exchange(m_rate, rate)) m_clock->setRate(rate);
    }

    ClockFile& clock() { return *m_clock; }
    BusTap& tap() { return *m_tap; }
    Desk& desk() { return m_desk; }

private:
    std::int64_t now() const
    {
        return m_clock ? m_clock->monotonic()
                       : duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
    }

    Report& m_report;
    const double m_rateHz;
    std::optional<ClockFile> m_clock;
    std::int64_t m_rate = kTrueRate;
    Desk m_desk;
    std::int64_t m_begin = 0;
    std::optional<ChildProcess> m_sim;
    std::unique_ptr<BusTap> m_tap;
};

std::string textOf(double value)
{
    std::ostringstream text;
    text << value;
    return text.str();
}

/// One day, checked life by life.
class Day {
public:
    /// @param rate     thousandths to begin with; halved each time that something is missed
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
        m_unit.setRate(kTrueRate);
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
        m_sent.readOn(m_ledger);
        const Published published = m_unit.tap().published();
        for (; m_joinsTaken < published.joins.size(); ++m_joinsTaken) m_ledger.addJoin(published.joins[m_joinsTaken]);
        return m_ledger.verdict(from, published.joins.back());
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
    SentReader m_sent;
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

/// Steps of the real-time clock while the service runs, and then the longest limit that there is.
class Steps {
public:
    explicit Steps(Report& report) : m_report(report), m_unit(report, true, 1.0) {}

    void run()
    {
        DayPlan plan;
        plan.scenario = "at 1 answers ack-only\n";
        m_unit.play(plan);
        m_unit.startService();
        m_unit.setRate(kRate);
        watch("no step", [](ClockFile&) {});
        watch("5 hours ahead", [](ClockFile& clock) { clock.step(5 * 3600 * kSecond); });
        watch("5 hours back", [](ClockFile& clock) { clock.step(-5 * 3600 * kSecond); });
        watch("over 19 January 2038", [](ClockFile& clock) { clock.stepTo((k2038 - 10) * kSecond); });
        m_report.expect(m_unit.tap().published().atMs > k2038 * 1000, "the service has not passed into 2038");
        watch("to the year 2106", [](ClockFile& clock) { clock.stepTo((k2106 - 10) * kSecond); });
        watch("back to 1970", [](ClockFile& clock) { clock.stepTo(kSecond); });
        watch("back to 2027", [](ClockFile& clock) { clock.stepTo(kBegin * kSecond); });
        watch("over a leap second", [](ClockFile& clock) { clock.leapAt(clock.real() + 10 * kSecond); });
        watch("a slew of 20 s", [](ClockFile& clock) { clock.slew(20 * kSecond, 40 * kSecond); });
        limit();
        m_unit.stopService();
        m_unit.stopPlaying();
    }

private:
    static constexpr std::int64_t kRate = 80'000;
    static constexpr std::int64_t k2038 = 2'147'483'648;
    static constexpr std::int64_t k2106 = 4'294'967'296;
    static constexpr std::size_t kWatched = 30;  // publications

    template <class Change>
    void watch(const std::string& what, Change change)
    {
        const auto lines = [&] {
            const std::string text = m_unit.desk().service().output() + m_unit.desk().service().errors();
            return std::count(text.begin(), text.end(), '\n');
        };
        const auto linesBefore = lines();
        const Published before = m_unit.tap().published();
        change(m_unit.clock());
        const double begin = m_unit.seconds();
        const auto goesOn = [&] {
            const Published after = m_unit.tap().published();
            return after.joins.size() >= before.joins.size() + kWatched &&
                   after.awareness >= before.awareness + kWatched;
        };
        m_report.expect(eventually(goesOn), what + ": the service does not go on publishing");
        m_report.figure(what + ": 30 joins and publications of NavWar awareness took", m_unit.seconds() - begin, "s",
                        {Goal::AtMost, 2.0 * kWatched});
        // What comes late is no flood, whenever it comes.
        const Published after = m_unit.tap().published();
        const auto most = static_cast<std::size_t>(m_unit.seconds()) + 5;
        m_report.expect(after.joins.size() <= most && after.awareness <= most,
                        what + ": more is published than is due");
        m_report.figure(what + ": lines on the console", static_cast<double>(lines() - linesBefore), "",
                        {Goal::AtMost, 5.0});
        m_report.expect(lines() - linesBefore <= 50, what + ": the console is flooded");
    }

    /// A clearing of data that is accepted and never ends.
    void limit()
    {
        m_unit.setRate(kTrueRate);
        const double begin = m_unit.seconds();
        m_unit.tap().request("clear-data");
        if (!m_report.expect(eventually([&] { return m_unit.tap().published().answers > 0; }),
                             "clear-data has no answer"))
            return;
        const auto machineBegin = steady_clock::now();
        m_unit.setRate(1'000'000);
        const bool isOver = eventually([&] { return m_unit.tap().published().timedOut > 0; });
        const double passed = m_unit.seconds() - begin;
        m_unit.setRate(kTrueRate);
        m_report.expect(isOver, "a clearing that never ended did not time out");
        m_report.figure("clearing that never ends, until its warning", passed, "s", {Goal::AtLeast, 7200.0});
        m_report.expect(passed < 8000.0, "a clearing that never ended timed out late");
        m_report.figure("the same by the machine", duration<double>(steady_clock::now() - machineBegin).count(), "s");
    }

    Report& m_report;
    Unit m_unit;
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
        Day day(report, plan, 10.0, kTrueRate, false, std::chrono::seconds(*options.realSeconds));
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
