#ifndef VICTORY_ORVANESERVER_LATESTTIME_H
#define VICTORY_ORVANESERVER_LATESTTIME_H

#include "VICTORY/libvictory/victory.h"
#include "aspn2_msgs/UTCTime.h"
#include "utilities/ThreadAnnotations.h"

/// The time for what is told at other moments than that of a time message: the latest one, which is never cleared.
/// Before the first it is that of a message of zeros.
///
/// Any thread. A message and its seconds are replaced together, and not while the message is read: the lock is held
/// over the reader, and over the console for a time that is to be printed. Nothing else is called under it.
class LatestTime {
public:
    void store(const aspn2_msgs::idl::UTCTime& message) EXCLUDES(m_timeMutex);

    /// Seconds of the GPS week.
    double gpsSeconds() const EXCLUDES(m_timeMutex);

    /// Calls `body` with the message.
    template <class Body>
    void read(Body&& body) const EXCLUDES(m_timeMutex)
    {
        const MutexLock lock(m_timeMutex);
        body(m_latestTime);
    }

    /// UTC date and time of day, as `BlendedNavigation::set_VictoryTime` makes them.
    /// @param print  shows it on the console too
    VapntcTime victoryTime(bool print) const EXCLUDES(m_timeMutex);

private:
    mutable RankedMutex<LockRank::Time> m_timeMutex;
    aspn2_msgs::idl::UTCTime m_latestTime GUARDED_BY(m_timeMutex);
    double m_gpsSeconds GUARDED_BY(m_timeMutex) = 0.0;  // of the GPS week
};

#endif
