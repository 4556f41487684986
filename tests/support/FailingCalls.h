#ifndef TESTS_SUPPORT_FAILINGCALLS_H
#define TESTS_SUPPORT_FAILINGCALLS_H

#include "lab/faults/FaultPage.h"

#include <cstdint>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

/// The lab's library of failing calls (docs/lab/failing-calls.md), as it is loaded into the service of a `Desk`: its plan,
/// the switch without which no call counts, the counters and the log. Its files are in the /tmp of the unit. The target
/// that includes this says where the library is: ORVANE_LAB_FAULTS_LIBRARY. One at a time; for one thread.
///
///     FailingCalls calls("only caller OrvaneServer\nfail poll 1 on\n");
///     calls.arm();
///     desk.start(calls.environment());
class FailingCalls {
public:
    /// @param plan  more of its lines
    explicit FailingCalls(const std::string& plan)
    {
        std::ofstream(kPlan) << "control by " << kPage << "\nlog to " << kLog << "\n" << plan;
        const int file = open(kPage, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        void* page = MAP_FAILED;
        if (file >= 0 && ftruncate(file, sizeof(faults::FaultPage)) == 0)
            page = mmap(nullptr, sizeof(faults::FaultPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        if (page == MAP_FAILED) throw std::runtime_error("cannot map the page of failing calls");
        m_page = static_cast<faults::FaultPage*>(page);
    }
    ~FailingCalls() { munmap(m_page, sizeof *m_page); }
    FailingCalls(const FailingCalls&) = delete;
    FailingCalls& operator=(const FailingCalls&) = delete;

    /// Of a service that is to have the library: "NAME=value".
    static std::vector<std::string> environment()
    {
        return {"LD_PRELOAD=" ORVANE_LAB_FAULTS_LIBRARY, std::string("ORVANE_LAB_FAULTS=") + kPlan};
    }

    void arm() { m_page->isArmed = 1; }
    void disarm() { m_page->isArmed = 0; }

    std::uint32_t failed() const { return m_page->failed; }
    std::uint64_t calls(faults::Kind kind) const { return m_page->calls[static_cast<std::size_t>(kind)]; }

    /// The lines that the library has noted by now.
    static std::vector<std::string> log()
    {
        std::vector<std::string> lines;
        std::ifstream file(kLog);
        for (std::string line; std::getline(file, line);) lines.push_back(line);
        return lines;
    }

private:
    static constexpr const char* kPlan = "/tmp/plan";
    static constexpr const char* kLog = "/tmp/log";
    static constexpr const char* kPage = "/tmp/page";

    faults::FaultPage* m_page = nullptr;
};

#endif
