#ifndef RELIABILITY_PROCESSWATCH_H
#define RELIABILITY_PROCESSWATCH_H

#include "reliability/Report.h"

#include <chrono>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

/// Looks at another process every tenth of a second, from now on until it is asked: its memory, descriptors and threads,
/// and its time on the processor.
class ProcessWatch {
public:
    explicit ProcessWatch(pid_t process);
    ProcessWatch(const ProcessWatch&) = delete;
    ProcessWatch& operator=(const ProcessWatch&) = delete;

    /// Ends the watch, and tells what was seen, each line with `what` in front. Memory is to be flat once it is warm.
    void tell(Report& report, const std::string& what);

private:
    void look();

    const pid_t m_process;
    const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    const double m_processorBefore;
    std::mutex m_mutex;              // guards the samples
    std::vector<double> m_resident;  // KiB
    std::vector<double> m_descriptors, m_threads;
    std::jthread m_thread;
};

#endif
