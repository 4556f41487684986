#ifndef RELIABILITY_RESTART_CYCLES_H
#define RELIABILITY_RESTART_CYCLES_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// What is done to a service over and over.
struct Cycles {
    std::string transport;               ///< of the service, as the connection file has it
    std::chrono::milliseconds pause{0};  ///< from its death to its restart
    int count = 1;
    std::chrono::milliseconds deadline{0};  ///< for the peer to hear it again
    bool isSwept = false;                   ///< whether the shared memory of the dead is removed before the restart
};

/// How they went.
struct CyclesSeen {
    std::vector<double> heard;  ///< s from when the service runs again to the first response that the peer heard
    int failedMeetings = 0;     ///< first starts of both, client first over TCP, that did not find each other
    int deaf = 0;               ///< cycles in which none came in time
    int cured = 0;              ///< deaf peers that heard the service once it was restarted again, after its lease
    std::size_t mostLeft = 0;   ///< files in shared memory behind a death, the peer's own among them
    double running = 0.0;       ///< s from the restart to the service's running, of the slowest

    /// Ports in shared memory whose files are gone, which the peer holds all the same, once it has heard the service,
    /// at most, and while it was deaf, at least and at most.
    std::size_t heldWhenHeard = 0;
    std::optional<std::size_t> heldWhenDeaf;
    std::size_t mostHeldWhenDeaf = 0;
};

/// Kills the service by SIGKILL and starts it anew, on the unit that this process runs on, while a peer stays and pings
/// it. When it was deaf until the deadline, the service is restarted once more, after longer than a participant's
/// lease; if that does not help, both are replaced by new ones.
CyclesSeen runCycles(const Cycles& cycles);

#endif
