#ifndef RELIABILITY_HOSTILE_SCENE_H
#define RELIABILITY_HOSTILE_SCENE_H

#include "reliability/Report.h"
#include "tests/support/Desk.h"
#include "tests/support/Inputs.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <thread>

/// The configuration as it is found, which is put back at the end.
class KeptConfiguration {
public:
    KeptConfiguration();
    ~KeptConfiguration();
    KeptConfiguration(const KeptConfiguration&) = delete;
    KeptConfiguration& operator=(const KeptConfiguration&) = delete;

private:
    std::map<std::string, std::string> m_files;
};

/// Six inputs that belong together, ten times a second, and how many joins the bus is told of them meanwhile.
class Traffic {
public:
    /// Needs a service that runs, and hears these inputs.
    explicit Traffic(Inputs& inputs);

    /// Waits for one more join, or the end of the service.
    ~Traffic() = default;
    Traffic(const Traffic&) = delete;
    Traffic& operator=(const Traffic&) = delete;

    /// Those that have a time, and all.
    std::uint64_t joins() const { return m_joins; }
    std::uint64_t tells() const { return m_tells; }

    /// Waits for one more; false if none comes within the time.
    bool awaitJoin(std::chrono::seconds within = std::chrono::seconds(30)) const;

    /// How many there are a second.
    struct Rate {
        double joins = 0;
        double tells = 0;
        double seconds = 0;  ///< that it lasted
    };

    /// While `body` runs.
    template <class Body>
    Rate rateWhile(Body&& body) const
    {
        const auto joinsBefore = joins(), tellsBefore = tells();
        const auto start = std::chrono::steady_clock::now();
        body();
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        return {static_cast<double>(joins() - joinsBefore) / passed.count(),
                static_cast<double>(tells() - tellsBefore) / passed.count(), passed.count()};
    }

    /// Joins a second of so many behind the next one; 0 if they don't come within half a minute.
    double rateOfNext(std::uint64_t count) const;

    /// The worker looks so often, and joins at most once each time.
    static constexpr double kMostASecond = 4.0;
    static constexpr std::int64_t kSeconds = 5000;  // time of validity of all

private:
    std::atomic<std::uint64_t> m_joins = 0;
    std::atomic<std::uint64_t> m_tells = 0;
    std::jthread m_sender;
    std::jthread m_listener;  // ends before the sender does: it waits for a join
};

/// A unit with its service, for one step. What differs from the sample configuration is set before `run`.
class Scene {
public:
    explicit Scene(Report& report) : m_report(report) {}

    Desk& desk() { return m_desk; }
    Report& report() { return m_report; }
    void run() { m_desk.run(); }

    /// Ends the service by SIGTERM; a broken promise unless that ends in order.
    void expectEndInOrder(const std::string& where);

    /// Bytes that are resident.
    double resident();

private:
    Report& m_report;
    KeptConfiguration m_configuration;
    Desk m_desk;
};

/// A step of the driver.
using Step = void (*)(Report& report, bool isShort);

void endedQueue(Report& report, bool isShort);
void fullQueues(Report& report, bool isShort);
void blockedTell(Report& report, bool isShort);
void strayCalls(Report& report, bool isShort);
void killedPeers(Report& report, bool isShort);
void wrongTypes(Report& report, bool isShort);
void duplicates(Report& report, bool isShort);
void poison(Report& report, bool isShort);
void signalsTwice(Report& report, bool isShort);
void stopAndContinue(Report& report, bool isShort);
void memoryLimit(Report& report, bool isShort);

#endif
