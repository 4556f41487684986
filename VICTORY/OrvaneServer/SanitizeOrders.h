#ifndef VICTORY_ORVANESERVER_SANITIZEORDERS_H
#define VICTORY_ORVANESERVER_SANITIZEORDERS_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "utilities/Shielded.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>

/// The orders to sanitize the unit, which come on a listener's thread and are carried out, one after the other, on the
/// worker's. At most `kMostWaiting` wait; what comes beyond is merged into them.
///
///     taking --end--> ended --begin--> taking
///
/// What waits at the end is not carried out, and is told: its number, in which those that were merged are not counted.
/// So is what comes after it, until the next begin.
/// Any thread may call; `carryOut` is for one at a time. The lock is a leaf: nothing is called under it.
class SanitizeOrders {
public:
    /// As many as the transport's history keeps in front of a busy listener.
    static constexpr int kMostWaiting = 10;

    /// @param settings  must outlive this
    explicit SanitizeOrders(const ServerSettings& settings) : m_settings(settings) {}

    /// Takes an order.
    void order() EXCLUDES(m_mutex);

    /// An order has come at some time. For good: the unit ends with it.
    bool isRequested() const { return m_sanitizeRequested; }

    /// Calls `body` for each order that waits, and `report`, as `shielded` does, if it throws: an order that fails is
    /// not taken up again. A stop leaves the orders that it finds waiting.
    template <class Body, class Report>
    void carryOut(const std::atomic<bool>& stop, const Body& body, const Report& report) EXCLUDES(m_mutex)
    {
        while (!stop && take()) shielded(body, report);
    }

    /// Lets orders wait from now on, as they do at first.
    void begin() EXCLUDES(m_mutex);

    /// Drops what waits, and tells it by one line; an order that comes later is told at once.
    void end() EXCLUDES(m_mutex);

private:
    /// Takes one that waits; false if none does.
    bool take() EXCLUDES(m_mutex);
    void tellDropped(int count) const;

    const ServerSettings& m_settings;
    std::atomic<bool> m_sanitizeRequested = false;
    RankedMutex<LockRank::Leaf> m_mutex;
    int m_waiting GUARDED_BY(m_mutex) = 0;
    bool m_hasEnded GUARDED_BY(m_mutex) = false;
};

#endif
