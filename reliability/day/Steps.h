#ifndef RELIABILITY_DAY_STEPS_H
#define RELIABILITY_DAY_STEPS_H

#include "reliability/Report.h"
#include "reliability/day/Unit.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

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
        watch("5 hours ahead", [](ClockFile& clock) { clock.step(5 * 3600 * labclock::kSecond); });
        watch("5 hours back", [](ClockFile& clock) { clock.step(-5 * 3600 * labclock::kSecond); });
        watch("over 19 January 2038", [](ClockFile& clock) { clock.stepTo((k2038 - 10) * labclock::kSecond); });
        m_report.expect(m_unit.tap().published().atMs > k2038 * 1000, "the service has not passed into 2038");
        watch("to the year 2106", [](ClockFile& clock) { clock.stepTo((k2106 - 10) * labclock::kSecond); });
        watch("back to 1970", [](ClockFile& clock) { clock.stepTo(labclock::kSecond); });
        watch("back to 2027", [](ClockFile& clock) { clock.stepTo(Unit::kBegin * labclock::kSecond); });
        watch("over a leap second", [](ClockFile& clock) { clock.leapAt(clock.real() + 10 * labclock::kSecond); });
        watch("a slew of 20 s", [](ClockFile& clock) { clock.slew(20 * labclock::kSecond, 40 * labclock::kSecond); });
        limit();
        m_unit.stopService();
        m_unit.stopPlaying();
    }

private:
    using ClockFile = labclock::ClockFile;
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
        m_unit.setRate(Unit::kTrueRate);
        const double begin = m_unit.seconds();
        m_unit.tap().request("clear-data", 1);
        if (!m_report.expect(eventually([&] { return !m_unit.tap().published().answers.empty(); }),
                             "clear-data has no answer"))
            return;
        const auto machineBegin = std::chrono::steady_clock::now();
        m_unit.setRate(1'000'000);
        const bool isOver = eventually([&] { return m_unit.tap().published().timedOut > 0; });
        const double passed = m_unit.seconds() - begin;
        m_unit.setRate(Unit::kTrueRate);
        m_report.expect(isOver, "a clearing that never ended did not time out");
        m_report.figure("clearing that never ends, until its warning", passed, "s", {Goal::AtMost, 7300.0});
        m_report.expect(passed >= 7200.0, "a clearing that never ended timed out early");
        m_report.figure("the same by the machine",
                        std::chrono::duration<double>(std::chrono::steady_clock::now() - machineBegin).count(), "s");
    }

    Report& m_report;
    Unit m_unit;
};

#endif
