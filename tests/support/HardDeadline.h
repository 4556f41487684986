#ifndef TESTS_SUPPORT_HARDDEADLINE_H
#define TESTS_SUPPORT_HARDDEADLINE_H

#include <chrono>
#include <unistd.h>

/// Ends the program, by SIGALRM, if this object lives longer than it should: what hangs fails. One at a time.
class HardDeadline {
public:
    explicit HardDeadline(std::chrono::seconds deadline = std::chrono::seconds(120))
    {
        alarm(static_cast<unsigned>(deadline.count()));
    }
    ~HardDeadline() { alarm(0); }
    HardDeadline(const HardDeadline&) = delete;
    HardDeadline& operator=(const HardDeadline&) = delete;
};

#endif
