#ifndef LAB_LIBVICTORY_TELLHOLDS_H
#define LAB_LIBVICTORY_TELLHOLDS_H

#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <string>

namespace labvictory {

/// Tells, and deletions of a service, that are to take their time, for tests of what the service does meanwhile. Any
/// thread.
/// The lock is a leaf.
class TellHolds {
public:
    static constexpr std::chrono::milliseconds kLongest{60000};

    /// What a deletion is called in place of a tell.
    static constexpr const char* kDeletion = "vapntsDeleteService";

    /// From now on, each tell of this name takes that long, 0 for none; those that wait now are not changed.
    void hold(const std::string& tell, std::chrono::milliseconds duration) EXCLUDES(m_mutex);

    /// Lets the tell go, and whoever waits in it; all tells for an empty name.
    void release(const std::string& tell) EXCLUDES(m_mutex);

    std::chrono::milliseconds durationOf(const std::string& tell) EXCLUDES(m_mutex);

    /// Waits as long as the tell is held.
    void wait(const std::string& tell) EXCLUDES(m_mutex);

private:
    struct Hold {
        std::chrono::milliseconds duration{0};
        unsigned releases = 0;
    };

    Mutex m_mutex;
    std::condition_variable_any m_released;
    std::map<std::string, Hold> m_holds GUARDED_BY(m_mutex);
};

}  // namespace labvictory

#endif
