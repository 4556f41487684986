#ifndef TESTS_SUPPORT_HARDDEADLINE_H
#define TESTS_SUPPORT_HARDDEADLINE_H

#include <chrono>
#include <unistd.h>

/// Ends the process by SIGALRM unless destroyed in time: what waits for ever fails instead. One a process.
class HardDeadline {
public:
    explicit HardDeadline(std::chrono::seconds limit = std::chrono::seconds(120))
    {
        alarm(static_cast<unsigned>(limit.count()));
    }
    ~HardDeadline() { alarm(0); }
    HardDeadline(const HardDeadline&) = delete;
    HardDeadline& operator=(const HardDeadline&) = delete;
};

#endif
