#ifndef LAB_CTL_UNITCLOCK_H
#define LAB_CTL_UNITCLOCK_H

#include "face/HX_Devmem.h"

#include <cstdint>
#include <string>

namespace orvanectl {

/// The unit's system count, read from the time stamp registers as the service reads it. One thread at a time.
class UnitClock {
public:
    /// Throws `std::runtime_error` that names the file, or the registers, if they can't be had.
    /// @param devices  the file that tells where the registers are
    explicit UnitClock(const std::string& devices);

    /// Throws the same when the registers can't be read.
    std::uint64_t ticks();

private:
    std::string m_file;
    FACE::IOSS::HX_Devmem m_memory;
    long long m_handle = -1;
};

}  // namespace orvanectl

#endif
