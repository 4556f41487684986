#ifndef RELIABILITY_LOAD_BUSWATCH_H
#define RELIABILITY_LOAD_BUSWATCH_H

#include "reliability/load/Joins.h"
#include "reliability/load/Numbered.h"
#include "tests/support/Desk.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A client of the bus that takes what comes at once, and keeps each Blended Navigation that was made of numbered
/// epochs, and the numbers of warnings and threats. Any thread may ask.
class BusWatch {
public:
    BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;

    /// Lets the watch end; `end` then waits for it.
    void askToEnd() { m_thread.request_stop(); }

    /// Ends the watch: it waits for the next line of the bus, of which one comes each second. What has gone wrong
    /// meanwhile is thrown.
    void end();

    std::size_t count() const;
    std::vector<Told> told() const;
    std::vector<NumberedTell> warnings() const;
    std::vector<NumberedTell> threats() const;

    /// Records that were made of no numbered epoch, but for the default of the start.
    std::size_t unreadable() const;

    /// Waits until a record was made of this epoch's time.
    bool awaitEpoch(std::int32_t epoch) const;

private:
    void watch(const std::stop_token& stop);
    void take(const Bus::Json& line);
    void takeBlended(const Bus::Json& line);
    void takeWarnings(const Bus::Json& line);
    void takeThreats(const Bus::Json& line);

    mutable std::mutex m_mutex;  // guards what follows
    std::vector<Told> m_told;
    std::vector<NumberedTell> m_warnings, m_threats;
    std::size_t m_unreadable = 0;
    std::string m_failure;
    std::jthread m_thread;
};

#endif
