#ifndef RELIABILITY_DAY_UNIT_H
#define RELIABILITY_DAY_UNIT_H

#include "lab/clock/ClockFile.h"
#include "reliability/Report.h"
#include "reliability/day/BusTap.h"
#include "reliability/day/DayPlan.h"
#include "tests/support/Desk.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The unit and the service on it, by the lab's clock or, without one, in real time.
class Unit {
public:
    static constexpr std::int64_t kBegin = 1'800'000'000;  // a Friday: no day from then on meets the end of a GPS week
    static constexpr std::int64_t kTrueRate = 1'000;
    static constexpr const char* kLog = "/tmp/sent";

    Unit(Report& report, bool isAccelerated, double rateHz) : m_report(report), m_rateHz(rateHz)
    {
        if (isAccelerated) {
            labclock::ClockFile::create(kClock, kTrueRate, kBegin * labclock::kSecond);
            m_clock.emplace(kClock);
        }
    }

    void play(const DayPlan& plan)
    {
        std::filesystem::remove(kLog);  // of a unit before
        std::ofstream(kScenario) << plan.scenario;
        std::vector<std::string> words = {"/usr/bin/env"};
        if (m_clock) words.insert(words.end(), m_underTheClock.begin(), m_underTheClock.end());
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
        m_realBegin = m_clock ? m_clock->real() : nanosecondsOf(std::chrono::system_clock::now());
        m_sim.emplace(words);
        if (!eventually([] { return std::filesystem::exists(kLog); }))
            throw std::runtime_error("unit-sim does not start: " + m_sim->errors());
    }

    void startService()
    {
        setRate(kTrueRate);
        m_desk.start(m_clock ? m_underTheClock : std::vector<std::string>{});
        if (!m_desk.service().waitUntilHandled(SIGINT))
            throw std::runtime_error("the service does not run: " + m_desk.service().errors());
        m_tap = std::make_unique<BusTap>();
        const bool publishes = eventually([&] { return !m_tap->published().joins.empty(); });
        if (!publishes) throw std::runtime_error("the service publishes nothing");
    }

    /// What it has published stays in the tap until the next one is started.
    void stopService()
    {
        setRate(kTrueRate);
        m_desk.service().send(SIGTERM);
        const ChildProcess::Ending ending = m_desk.service().wait();
        m_report.expect(ending == ChildProcess::Ending{0, 0}, "a life of the service ended with status " +
                                                                  std::to_string(ending.status) + ", signal " +
                                                                  std::to_string(ending.signal));
        m_report.expect(eventually([&] { return m_tap->hasEnded(); }), "the bus has not ended with the service");
    }

    void stopPlaying()
    {
        m_sim->send(SIGTERM);
        m_report.expect(m_sim->wait() == ChildProcess::Ending{0, 0}, "unit-sim failed: " + m_sim->errors());
    }

    /// Seconds since the unit has begun, by its clock.
    double seconds() const { return static_cast<double>(now() - m_begin) / 1e9; }

    /// The same of a time that the bus tells, in a day in which nobody sets the clock.
    double secondsOf(std::int64_t atMs) const { return static_cast<double>(atMs * 1'000'000 - m_realBegin) / 1e9; }

    /// A clock with the same seconds for another thread.
    std::function<double()> makeClock() const
    {
        const auto own = m_clock ? std::make_shared<ClockFile>(kClock) : nullptr;
        return [own, begin = m_begin] {
            const auto time = own ? own->monotonic() : nanosecondsOf(std::chrono::steady_clock::now());
            return static_cast<double>(time - begin) / 1e9;
        };
    }

    void setRate(std::int64_t rate)
    {
        if (m_clock && rate != std::exchange(m_rate, rate)) m_clock->setRate(rate);
    }

    labclock::ClockFile& clock() { return *m_clock; }
    BusTap& tap() { return *m_tap; }
    Desk& desk() { return m_desk; }

private:
    static constexpr const char* kClock = "/tmp/clock";
    static constexpr const char* kScenario = "/tmp/scenario";

    using ClockFile = labclock::ClockFile;

    template <class Time>
    static std::int64_t nanosecondsOf(Time time)
    {
        return std::chrono::nanoseconds(time.time_since_epoch()).count();
    }

    std::int64_t now() const
    {
        return m_clock ? m_clock->monotonic() : nanosecondsOf(std::chrono::steady_clock::now());
    }

    const std::vector<std::string> m_underTheClock = {"LD_PRELOAD=" ORVANE_CLOCK_LIBRARY,
                                                      std::string("ORVANE_LAB_CLOCK=") + kClock};
    Report& m_report;
    const double m_rateHz;
    std::optional<ClockFile> m_clock;
    std::int64_t m_rate = kTrueRate;
    Desk m_desk;
    std::int64_t m_begin = 0;
    std::int64_t m_realBegin = 0;
    std::optional<ChildProcess> m_sim;
    std::unique_ptr<BusTap> m_tap;
};

#endif
