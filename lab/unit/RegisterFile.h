#ifndef LAB_UNIT_REGISTERFILE_H
#define LAB_UNIT_REGISTERFILE_H

#include "lab/unit/DeviceMap.h"
#include "platform/FpgaRegisters.h"
#include "utilities/MemoryMap.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace unitsim {

/// What the FPGA tells of itself.
struct FpgaIdentity {
    std::string firmware = "ORVANLAB";        ///< 8 characters
    std::uint32_t buildDate = 0x20260301;     ///< BCD, YYYYMMDD
    std::uint32_t buildTime = 0x1230;         ///< BCD, HHMM
    std::string partNumber = "345129000001";  ///< 12 characters
    std::string revision = "A001";            ///< 4 characters
    std::uint64_t clockRate = 58982400;       ///< ticks a second
    std::uint64_t uarts = 4;
    std::uint64_t pulses = 8;
    std::uint64_t peripherals = 8;
};

/// The FPGA's registers in a file that stands in for physical memory. Only a regular file is taken, so that no real
/// memory is ever written, and only one `unit-sim` at a time has it. Throws `std::runtime_error` that names the file
/// and the block. One thread at a time, but for the system count, which any number of threads may read.
class RegisterFile {
public:
    RegisterFile(const std::string& memory, const DeviceMap& devices);
    ~RegisterFile();
    RegisterFile(const RegisterFile&) = delete;
    RegisterFile& operator=(const RegisterFile&) = delete;

    /// Writes identity, build stamp, clock rate and the numbers of blocks; those of the PTFEs are what the IO devices
    /// file has.
    void identify(const FpgaIdentity& identity);

    /// The running clock, in ticks, in one access each.
    void setSystemCount(std::uint64_t ticks);
    std::uint64_t systemCount() const;

private:
    struct Mapped {
        RegisterBlock block;
        std::unique_ptr<MemoryMap> map;
    };

    Mapped mapped(const RegisterBlock& block) const;
    void store(const Mapped& target, const FpgaRegisters::Register& entry, std::uint64_t value) const;
    std::uint8_t* placeOf(const Mapped& target, const FpgaRegisters::Register& entry) const;

    std::string m_path;
    MemoryDeviceFileDescriptor m_memory;
    std::uint64_t m_fileSize = 0;
    Mapped m_processor;
    Mapped m_timeStamp;
    std::uint64_t m_ptfes = 0;
    std::vector<Mapped> m_ptfeBlocks;
    std::uint8_t* m_systemCount = nullptr;
};

}  // namespace unitsim

#endif
