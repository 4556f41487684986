#ifndef RELIABILITY_DAY_STALLWATCH_H
#define RELIABILITY_DAY_STALLWATCH_H

#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/// Sees when the machine stands still for what this process is: on each processor a thread sleeps shortly over and over,
/// and tells when it was woken too late. Where the process has real-time priority, the threads have the next higher one.
class StallWatch {
public:
    /// In the time of the unit.
    struct Stall {
        double from;
        double to;
    };

    /// Longer than this, in seconds of the unit, no thread of the unit may be kept waiting.
    static constexpr double kLongest = 0.15;
    static constexpr double kSleep = 0.0005;  // s of the machine

    /// A sleep that lasted too long.
    /// @param before, after  it, in seconds of the unit
    /// @param took           it, in seconds of the machine
    static std::optional<Stall> stallOf(double before, double after, double took);

    /// Makes the clock of each thread, which tells the seconds of the unit.
    using MakeClock = std::function<std::function<double()>()>;

    explicit StallWatch(const MakeClock& makeClock);
    StallWatch(const StallWatch&) = delete;
    StallWatch& operator=(const StallWatch&) = delete;

    /// The stalls since the last call. Any thread.
    std::vector<Stall> take();

private:
    void watch(const std::stop_token& stop, int processor, const std::function<double()>& now);

    std::mutex m_mutex;
    std::vector<Stall> m_stalls;
    std::vector<std::jthread> m_threads;
};

#endif
