#ifndef UTILITIES_STOPFLAG_H
#define UTILITIES_STOPFLAG_H

#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <chrono>
#include <condition_variable>

/// Tells a thread that turns in a loop to stop, and ends the pause between its turns. Any thread may call. The lock is a
/// leaf: nothing is called under it.
class StopFlag {
public:
    /// From now on, until `clear`. A thread that pauses is woken.
    void set() EXCLUDES(m_mutex);

    void clear() EXCLUDES(m_mutex);

    const std::atomic<bool>& isSet() const { return m_isSet; }

    /// Waits for the duration, or until the flag is set; not at all if it is. A signal doesn't shorten the wait.
    void pauseFor(std::chrono::milliseconds duration) EXCLUDES(m_mutex);

private:
    RankedMutex<LockRank::Leaf> m_mutex;
    std::condition_variable_any m_changed;
    std::atomic<bool> m_isSet = false;  // written under the lock, so that no wake falls between look and wait
};

#endif
