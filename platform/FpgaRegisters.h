#ifndef PLATFORM_FPGAREGISTERS_H
#define PLATFORM_FPGAREGISTERS_H

#include <cstdint>

/// The register map of the FPGA.
namespace FpgaRegisters {

/// A range of registers, one connection of the memory device service each; the last two are one for each index.
enum class Block { Processor, Peripheral, TimeStamp, PpsSlave, PtpClock, Ptfe, PulseGen };

/// What limits the index of a register.
enum class Count { One, Uarts, Ptfes, Pulses, Peripherals, PpsSlaves, PtpClocks };

struct Register {
    Block block;
    Count count;
    std::uint32_t offset;                    // bytes, of index 0
    std::uint32_t stride;                    // bytes from one index to the next; 0 where each has a block of its own
    std::uint32_t width;                     // bits
    std::uint64_t used = ~std::uint64_t{0};  // the bits of a value read that mean something
};

inline constexpr Register kFirmwareName[] = {{Block::Processor, Count::One, 0, 0, 32},
                                             {Block::Processor, Count::One, 4, 0, 32}};
inline constexpr Register kBuildDate{Block::Processor, Count::One, 8, 0, 32};   // BCD, YYYYMMDD
inline constexpr Register kBuildTime{Block::Processor, Count::One, 12, 0, 32};  // BCD, HHMM in the low 16 bits
inline constexpr Register kPartNumber[] = {{Block::Processor, Count::One, 16, 0, 32},
                                           {Block::Processor, Count::One, 20, 0, 32},
                                           {Block::Processor, Count::One, 24, 0, 32}};
inline constexpr Register kRevision{Block::Processor, Count::One, 28, 0, 32};

inline constexpr Register kPeriphControl{Block::Peripheral, Count::Peripherals, 0, 4, 32};
inline constexpr Register kPpsSlaveControl{Block::PpsSlave, Count::PpsSlaves, 0, 4, 32};
inline constexpr Register kPtpClockControl{Block::PtpClock, Count::PtpClocks, 0, 4, 32};

inline constexpr Register kClockRate{Block::TimeStamp, Count::One, 0, 0, 64};  // ticks a second
inline constexpr Register kUarts{Block::TimeStamp, Count::One, 8, 0, 64};
inline constexpr Register kPtfes{Block::TimeStamp, Count::One, 16, 0, 64};
inline constexpr Register kPulses{Block::TimeStamp, Count::One, 24, 0, 64};
inline constexpr Register kPeriphs{Block::TimeStamp, Count::One, 32, 0, 64};
inline constexpr Register kSystemCount{Block::TimeStamp, Count::One, 128, 0, 64};        // ticks
inline constexpr Register kPulseTimestamp{Block::TimeStamp, Count::Pulses, 136, 8, 64};  // ticks
inline constexpr Register kUartDelay{Block::TimeStamp, Count::Uarts, 384, 8, 32};        // ticks
inline constexpr Register kUartTimestamp{Block::TimeStamp, Count::Uarts, 512, 8, 64};    // ticks

inline constexpr Register kPtfeControl{Block::Ptfe, Count::Ptfes, 0, 0, 32};  // written; reads as the identity
inline constexpr Register kPtfeFirmwareId{Block::Ptfe, Count::Ptfes, 0, 0, 64};
inline constexpr Register kPtfeMeasuredFreq{Block::Ptfe, Count::Ptfes, 16, 0, 32};
inline constexpr Register kPtfeStatus{Block::Ptfe, Count::Ptfes, 24, 0, 32};
inline constexpr Register kDfNcoRate{Block::Ptfe, Count::Ptfes, 32, 0, 64, (std::uint64_t{1} << 44) - 1};
inline constexpr Register kDtNcoPhase{Block::Ptfe, Count::Ptfes, 48, 0, 64, (std::uint64_t{1} << 40) - 1};
inline constexpr Register kDtCycles{Block::Ptfe, Count::Ptfes, 56, 0, 32};
inline constexpr Register kPtfeSetup64{Block::Ptfe, Count::Ptfes, 64, 0, 32};
inline constexpr Register kPtfeSetup144{Block::Ptfe, Count::Ptfes, 144, 0, 32};
inline constexpr Register kPtfeSetup152{Block::Ptfe, Count::Ptfes, 152, 0, 32};
inline constexpr Register kDefaultNcoRate{Block::Ptfe, Count::Ptfes, 200, 0, 64};
inline constexpr Register kPtfeSetup288{Block::Ptfe, Count::Ptfes, 288, 0, 32};

inline constexpr Register kPulseIntPhase{Block::PulseGen, Count::Ptfes, 4, 0, 32};
inline constexpr Register kPulseExtPhase{Block::PulseGen, Count::Ptfes, 8, 0, 32};

}  // namespace FpgaRegisters

#endif
