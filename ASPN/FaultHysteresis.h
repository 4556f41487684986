#ifndef ASPN_FAULTHYSTERESIS_H
#define ASPN_FAULTHYSTERESIS_H

#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

/// Puts the place in the source in front of a fault's text, and keeps a sliding record of recent faults by place.
/// Nothing is suppressed: `hysteresis` is the place for such a policy. Disabled until it is initialised. Any thread may
/// call. The lock is a leaf: nothing is called under it but the clock.
class FaultHysteresis {
public:
    using Clock = std::chrono::steady_clock;

    /// One for the process, never destroyed: threads may report faults until the very end.
    static FaultHysteresis& Instance();

    /// @param now  the clock that faults age by
    explicit FaultHysteresis(Clock::time_point (*now)() = &Clock::now) : m_now(now) {}

    /// Sets all three and forgets the record; false, and nothing changes, if one is negative.
    /// @param spanSeconds  age at which a fault is forgotten; 0 for never
    /// @param threshold    0 disables `Check`; no other role
    /// @param limit        most faults that are kept; 0 disables `Check`
    bool OkInitFaultHysteresis(int spanSeconds, int threshold, int limit) EXCLUDES(m_mutex);

    /// Gives the text to send: for types 3, 4 and 5 "<file name>[<line>]:<text>", for others the text itself. Records
    /// a fault of type 3. The type may come back changed, once there is a policy.
    std::string Check(std::int32_t& type, const char* file, int line, const std::string& text) EXCLUDES(m_mutex);

    /// Forgets faults as old as the span, oldest first.
    void service() EXCLUDES(m_mutex);

    /// The type to use for a fault on record under this key. The place for a policy that looks at the record; there is
    /// none, so it is the type itself, and costs nothing.
    std::int32_t hysteresis(std::int32_t type, const std::string& key) const EXCLUDES(m_mutex);

    /// The number of faults on record.
    std::size_t size() const EXCLUDES(m_mutex);

    /// The number of faults on record under a key: the whole path of the file, then the line in decimal.
    std::size_t count(const std::string& key) const EXCLUDES(m_mutex);

private:
    struct fault_entry {
        std::string key;
        Clock::time_point time;
    };

    void serviceLocked(Clock::time_point now) REQUIRES(m_mutex);
    std::int32_t hysteresisLocked(std::int32_t type, const std::string& key) const REQUIRES(m_mutex);

    Clock::time_point (*const m_now)();
    mutable RankedMutex<LockRank::Events> m_mutex;
    std::deque<fault_entry> m_entries GUARDED_BY(m_mutex);  // oldest first
    int m_spanSeconds GUARDED_BY(m_mutex) = 0;
    int m_threshold GUARDED_BY(m_mutex) = 0;  // for a policy
    int m_limit GUARDED_BY(m_mutex) = 0;
    std::atomic<bool> m_isEnabled = false;  // neither threshold nor limit is 0
};

/// What faults are kept for in service.
inline constexpr int kFaultSpanSeconds = 180;

/// Initialises the record as it is kept in service: what is younger than 180 s, and the last 2000 faults. The process
/// ends with status -1 and a line on the standard error if the numbers are refused.
void initFaultHysteresisOrExit(FaultHysteresis& hysteresis, int spanSeconds = kFaultSpanSeconds, int threshold = 16,
                               int limit = 2000);

#endif
