#ifndef RELIABILITY_DAY_BUSTAP_H
#define RELIABILITY_DAY_BUSTAP_H

#include "tests/support/BusSocket.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What a service publishes on the bus, kept short, since there may be days of it.
struct Published {
    /// One of the new warnings that tells of GPS lost or back.
    struct GpsWarning {
        std::int64_t atMs;  ///< wall clock
        bool isLost;
    };

    /// Threats of one publication.
    struct Threats {
        std::int64_t atMs;  ///< wall clock
        std::size_t count;
    };

    std::vector<double> joins;  ///< GPS time of week of each, seconds
    std::size_t awareness = 0;  ///< publications of NavWar awareness
    std::size_t threats = 0;    ///< in all of them
    std::vector<Threats> threatTells;
    std::size_t warnings = 0;  ///< that were new in a list of warnings
    std::vector<GpsWarning> gpsWarnings;
    std::vector<std::int64_t> clearings;      ///< wall clock, ms, of those of them that tell of data cleared
    std::size_t timedOut = 0;                 ///< those of them that tell of a clearing that timed out
    std::vector<std::int64_t> otherWarnings;  ///< wall clock, ms, of those that tell neither of GPS nor of data cleared
    std::vector<std::int64_t> tests;          ///< wall clock, ms, of built-in tests that have begun
    std::size_t testsForgotten = 0;           ///< times that their results were
    std::vector<int> answers;                 ///< the ids of their requests
    std::size_t refused = 0;                  ///< answers that are not `ok`
    std::size_t dropped = 0;                  ///< lines that came too fast
    std::int64_t atMs = 0;                    ///< wall clock of the last publication
    std::vector<std::int64_t> configurations;  ///< wall clock, ms, of those that are whole
};

/// Reads the lines of the bus.  Pure, but for the list of warnings before; one thread at a time.
class BusLines {
public:
    void take(const std::string& line, Published& published);

private:
    void takeWarnings(const std::string& line, Published& published);

    bool m_isFirst = true;
    std::string m_lastWarnings;
    std::vector<std::string> m_rows;
};

/// A client of the lab's bus for long runs, which reads on a thread of its own. Any thread may call.
class BusTap {
public:
    /// Waits until the bus is there; throws `std::runtime_error` if it doesn't come.
    explicit BusTap(const std::string& path = BusSocket::kPath);
    ~BusTap();
    BusTap(const BusTap&) = delete;
    BusTap& operator=(const BusTap&) = delete;

    void request(const std::string& name, int id);
    Published published() const;
    bool hasEnded() const { return m_hasEnded; }

private:
    void run();

    BusSocket m_socket;
    mutable std::mutex m_mutex;
    Published m_published;
    std::atomic<bool> m_hasEnded = false;
    std::thread m_thread;
};

#endif
