#ifndef LAB_CTL_PLAY_UNITREGISTERS_H
#define LAB_CTL_PLAY_UNITREGISTERS_H

#include "lab/ctl/play/Timeline.h"
#include "lab/unit/RegisterFile.h"
#include "utilities/ThreadAnnotations.h"

#include <chrono>
#include <condition_variable>
#include <string>
#include <thread>

namespace orvanectl {

/// The count that the registers of the unit have when the time stamps made of it are that time.
std::uint64_t ticksOfStamp(std::chrono::nanoseconds stamp);
std::chrono::nanoseconds stampOfTicks(std::uint64_t ticks);

/// The FPGA's registers of a unit of the lab, whose system count goes with what is played. Has them as long as it lives,
/// and tells what the FPGA of `unit-sim` does of itself. Any thread.
class UnitRegisters {
public:
    /// Throws `std::runtime_error` if something else plays this unit, and for a memory that is no regular file.
    UnitRegisters(const std::string& memory, const std::string& devices);
    ~UnitRegisters();
    UnitRegisters(const UnitRegisters&) = delete;
    UnitRegisters& operator=(const UnitRegisters&) = delete;

    /// From now on the count is that of `atBegin`, a time of stamps, when the timeline is at its begin, and moves with it.
    /// Before it stands.
    void follow(const Timeline& timeline, std::chrono::nanoseconds atBegin) EXCLUDES(m_mutex);

    /// The time of stamps.
    std::chrono::nanoseconds now() const EXCLUDES(m_mutex);

private:
    void run() EXCLUDES(m_mutex);
    std::chrono::nanoseconds nowHeld() const REQUIRES(m_mutex);

    unitsim::RegisterFile m_registers;
    mutable Mutex m_mutex;  // a leaf
    Timeline m_timeline GUARDED_BY(m_mutex);
    std::chrono::nanoseconds m_atBegin GUARDED_BY(m_mutex);
    bool m_stop GUARDED_BY(m_mutex) = false;
    std::condition_variable_any m_wake;
    std::thread m_thread;  // last: it uses all of the above
};

}  // namespace orvanectl

#endif
