#include "reliability/day/StallWatch.h"

#include <chrono>
#include <pthread.h>
#include <sched.h>
#include <utility>

std::optional<StallWatch::Stall> StallWatch::stallOf(double before, double after, double took)
{
    if (took <= kSleep || after <= before) return std::nullopt;
    const double late = (after - before) * (took - kSleep) / took;
    return late > kLongest ? std::optional(Stall{before, after}) : std::nullopt;
}

StallWatch::StallWatch(const MakeClock& makeClock)
{
    cpu_set_t all;
    CPU_ZERO(&all);
    if (sched_getaffinity(0, sizeof all, &all) != 0) return;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor)
        if (CPU_ISSET(static_cast<std::size_t>(processor), &all))
            m_threads.emplace_back(
                [this, processor, now = makeClock()](const std::stop_token& stop) { watch(stop, processor, now); });
}

namespace {

/// Has this thread wait for no thread that inherits the scheduling of its process, as the service does: what the
/// service keeps a processor busy with is no standstill of the machine.
void goBeforeTheUnit()
{
    int policy = SCHED_OTHER;
    sched_param own{};
    if (pthread_getschedparam(pthread_self(), &policy, &own) != 0 || policy == SCHED_OTHER) return;
    ++own.sched_priority;
    pthread_setschedparam(pthread_self(), policy, &own);
}

}  // namespace

std::vector<StallWatch::Stall> StallWatch::take()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_stalls, {});
}

void StallWatch::watch(const std::stop_token& stop, int processor, const std::function<double()>& now)
{
    using Clock = std::chrono::steady_clock;
    cpu_set_t own;
    CPU_ZERO(&own);
    CPU_SET(static_cast<std::size_t>(processor), &own);
    pthread_setaffinity_np(pthread_self(), sizeof own, &own);
    goBeforeTheUnit();
    while (!stop.stop_requested()) {
        const auto begin = Clock::now();
        const double before = now();
        std::this_thread::sleep_for(std::chrono::duration<double>(kSleep));
        const double after = now();
        const auto stall = stallOf(before, after, std::chrono::duration<double>(Clock::now() - begin).count());
        if (!stall) continue;
        const std::lock_guard lock(m_mutex);
        m_stalls.push_back(*stall);
    }
}
