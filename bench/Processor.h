#ifndef BENCH_PROCESSOR_H
#define BENCH_PROCESSOR_H

#include <chrono>
#include <ctime>
#include <stdexcept>
#include <sys/types.h>
#include <thread>

/// Seconds that a process has had of the processor. Throws `std::runtime_error` where there is none.
inline double processorSeconds(pid_t process)
{
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
        throw std::runtime_error("no such process");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Percent of a processor that the process has while something is done, which takes some time.
template <class Action>
double processorShare(pid_t process, Action&& action)
{
    const auto begin = std::chrono::steady_clock::now();
    const double before = processorSeconds(process);
    action();
    const double used = processorSeconds(process) - before;
    return 100.0 * used / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Percent of a processor that the process has for so long.
inline double processorShare(pid_t process, std::chrono::seconds duration)
{
    return processorShare(process, [&] { std::this_thread::sleep_for(duration); });
}

#endif
