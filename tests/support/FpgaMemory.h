#ifndef TESTS_SUPPORT_FPGAMEMORY_H
#define TESTS_SUPPORT_FPGAMEMORY_H

#include "tests/support/RegisterFile.h"

#include <cstdint>
#include <string>
#include <vector>

/// Register memory of an FPGA whose clock has the right rate and which has no UART, PTFE block, pulse or peripheral,
/// until a test says so.
class FpgaMemory : public RegisterFile {
public:
    static constexpr std::uint32_t kProcessor = 0x43C00000;
    static constexpr std::uint32_t kPeripheral = 0x43C10000;
    static constexpr std::uint32_t kTimeStamp = 0x83C20000;  // negative as a 32-bit file offset
    static constexpr std::uint32_t kPpsSlave = 0x43C30000;
    static constexpr std::uint32_t kPtpClock = 0x43C40000;
    static constexpr std::uint32_t kPtfe = 0x43D00000;      // and 0x1000 for each
    static constexpr std::uint32_t kPulseGen = 0x43E00800;  // and 0x1000 for each; within a page

    FpgaMemory() { set64(kTimeStamp, 58982400); }

    void setUarts(std::uint64_t count) const { set64(kTimeStamp + 8, count); }
    void setPtfes(std::uint64_t count) const { set64(kTimeStamp + 16, count); }
    void setPulses(std::uint64_t count) const { set64(kTimeStamp + 24, count); }
    void setPeripherals(std::uint64_t count) const { set64(kTimeStamp + 32, count); }
    void setSystemCount(std::uint64_t ticks) const { set64(kTimeStamp + 128, ticks); }

    /// The connections to all blocks, of which there are PTFE and pulse generator blocks for `ptfes` indices.
    static std::vector<MemoryDevice> devices(std::uint32_t ptfes = 0)
    {
        std::vector<MemoryDevice> devices = {{"Processor_Interface", std::to_string(kProcessor), "32"},
                                             {"Peripheral_Interface", std::to_string(kPeripheral), "0x100"},
                                             {"TimeStamp_Interface", std::to_string(kTimeStamp), "0x1000"},
                                             {"PpsSlave_Interface", std::to_string(kPpsSlave), "0x100"},
                                             {"PtpClock_Interface", std::to_string(kPtpClock), "0x100"}};
        for (std::uint32_t n = 0; n < ptfes; ++n) {
            const std::string index = std::to_string(n) + " interface";
            devices.push_back({"Ptfe_Interface" + index, std::to_string(kPtfe + n * 0x1000), "0x200"});
            devices.push_back({"PulseGen_Interface" + index, std::to_string(kPulseGen + n * 0x1000), "16"});
        }
        return devices;
    }
};

#endif
