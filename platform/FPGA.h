#ifndef PLATFORM_FPGA_H
#define PLATFORM_FPGA_H

#include "face/FACE_Common.h"
#include "face/FACE_IOSS.h"
#include "utilities/SharedMutex.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace FpgaRegisters {

enum class Block;
enum class Count;
struct Register;

}  // namespace FpgaRegisters

/// What `fpga_ptfe_init` writes to a PTFE block: the control word, and four registers named by their offset.
struct PtfeSetup {
    std::uint32_t control = 0;
    std::uint32_t register64 = 0;
    std::uint32_t register144 = 0;
    std::uint32_t register152 = 0;
    std::uint32_t register288 = 0;
};

/// The registers of the platform's FPGA, through the memory device service. An operation is one access to a register
/// where it does not say more; several accesses of one operation are not one step to others.
///
/// A read answers 0 and a write does nothing when the index is at or beyond the number of its kind, when the service
/// refuses the access, and at any time but from the end of `InitFpga` to the beginning of `DoneFpga`.
///
/// `InitFpga` and `DoneFpga` are for one thread at a time; all else is for any thread, also while these two run, and
/// costs no system call and no allocation where it answers a number. The lock comes before that of the service.
class FpgaFace {
public:
    /// One for the process, never destroyed: threads may stamp records until the very end.
    static FpgaFace& Instance();

    FpgaFace() = default;
    FpgaFace(const FpgaFace&) = delete;
    FpgaFace& operator=(const FpgaFace&) = delete;

    /// Opens all blocks and checks the clock, so that nothing runs with wrong time stamps. Closes first what an earlier
    /// call has opened. Throws `std::runtime_error` that tells the step that failed; what is open by then stays so
    /// until `DoneFpga`, and isn't accessed.
    void InitFpga(const std::shared_ptr<FACE::IOSS::Devmem::IO_Service>& service) EXCLUDES(m_mutex);

    /// Waits for accesses that are under way, closes all blocks and lets go of the service. Harmless if there is none.
    void DoneFpga() EXCLUDES(m_mutex);

    /// The system clock, in ticks from the counter's zero, which is the epoch of time stamps.
    std::uint64_t fpga_get_SystemCount() const;
    static constexpr std::uint32_t fpga_timestamp_get_ticks_per_sec() { return 58982400; }

    /// The system count at which a pulse, or data at a UART, came; ticks.
    std::uint64_t getPulseTimestampRaw(std::uint32_t pulse) const;
    std::uint64_t getUARTDataTimestampRaw(std::uint32_t uart) const;

    /// The delay of a UART, in ticks.
    std::uint32_t getUartDelay(std::uint32_t uart) const;
    void setUartDelay(std::uint32_t uart, std::uint32_t delay) const;

    /// Sets the sum of three delays, each in seconds.
    void setUartDelay(std::uint32_t uart, double a, double b, double c) const;

    /// The sum of three delays, each in seconds, in ticks to the nearest. Beyond 32 bits it is the nearest limit; 0 for
    /// NaN.
    static std::uint32_t uartDelayTicks(double a, double b, double c);

    /// "YYYYMM-DDHH:MM:00": there is nothing between date and time.
    std::string getFirmwareBuildStamp() const;

    /// Name, build date and time, part number and revision as labels and values.
    std::string getFirmwareConfiguration() const;

    /// Control words, as the blocks define them: of a peripheral, of the registers 0 to 8 of the PPS slave, and of the
    /// registers 0 to 29 of the PTP clock.
    void fpga_set_periph_control(std::uint32_t peripheral, std::uint32_t control) const;
    std::uint32_t fpga_get_periph_control(std::uint32_t peripheral) const;
    void fpga_reset_periph_control(std::uint32_t peripheral) const;  // to 0

    void fpga_set_ppsSlave_control(std::uint32_t index, std::uint32_t control) const;
    std::uint32_t fpga_get_ppsSlave_control(std::uint32_t index) const;
    void fpga_set_ptpClock_control(std::uint32_t index, std::uint32_t control) const;
    std::uint32_t fpga_get_ptpClock_control(std::uint32_t index) const;

    /// Writes the registers of the setup, lowest offset first. This and `fpga_ptfe_soft_reset` wait until no access is
    /// under way, which others that read in a row may put off.
    void fpga_ptfe_init(std::uint32_t ptfe, const PtfeSetup& setup) EXCLUDES(m_mutex);

    /// Inverts bit 0 of the control word that was written last, 0 at first: the register reads as something else.
    void fpga_ptfe_soft_reset(std::uint32_t ptfe) EXCLUDES(m_mutex);

    /// What follows is in the hardware's own scales, not converted; these are for whoever knows the block.
    std::uint64_t getPtfeFirmwareId(std::uint32_t ptfe) const;
    std::uint32_t getPtfeMeasuredFreqEstimate(std::uint32_t ptfe) const;
    std::uint32_t getPtfeStatus(std::uint32_t ptfe) const;

    /// Answers what stood there before; clears nothing if it can't be read.
    std::uint32_t getAndClearPtfeStatus(std::uint32_t ptfe) const;

    std::uint64_t getDfNcoRate(std::uint32_t ptfe) const;   // 44 bits
    std::uint64_t getDtNcoPhase(std::uint32_t ptfe) const;  // 40 bits
    std::uint32_t getDtCycles(std::uint32_t ptfe) const;
    void setPtfeDefaultNcoRate(std::uint32_t ptfe, std::uint64_t rate) const;

    /// There is one pulse generator for each PTFE block. A full 32 bits of a phase count, in its own scale too.
    std::uint32_t fpga_pulsegen_get_Int_phase(std::uint32_t generator) const;
    std::uint32_t fpga_pulsegen_get_Ext_phase(std::uint32_t generator) const;
    void fpga_pulsegen_set_Int_phase(std::uint32_t generator, std::uint32_t phase) const;
    void fpga_pulsegen_set_Ext_phase(std::uint32_t generator, std::uint32_t phase) const;

    /// Adds to the phase, modulo 2^32; writes nothing if the phase can't be read.
    void fpga_pulsegen_adjust_Int_phase(std::uint32_t generator, std::int32_t amount) const;
    void fpga_pulsegen_adjust_Ext_phase(std::uint32_t generator, std::int32_t amount) const;

private:
    using Register = FpgaRegisters::Register;

    void openConnection(const std::string& name, const std::string& failure, long long& handle) REQUIRES(m_mutex);
    std::uint64_t readAtInit(const Register& entry, const char* failure) const REQUIRES_SHARED(m_mutex);
    void closeConnection(long long& handle) REQUIRES(m_mutex);
    void closeAll() REQUIRES(m_mutex);

    std::uint64_t get(const Register& entry, std::uint32_t index = 0) const EXCLUDES(m_mutex);
    std::uint32_t get32(const Register& entry, std::uint32_t index = 0) const EXCLUDES(m_mutex);
    void set(const Register& entry, std::uint32_t index, std::uint64_t value) const EXCLUDES(m_mutex);
    void adjust(const Register& entry, std::uint32_t index, std::int32_t amount) const EXCLUDES(m_mutex);

    /// Made where there is such a register; `read` answers whether it was.
    bool read(const Register& entry, std::uint32_t index, std::uint64_t& value) const REQUIRES_SHARED(m_mutex);
    void write(const Register& entry, std::uint32_t index, std::uint64_t value) const REQUIRES_SHARED(m_mutex);
    bool isAccessible(const Register& entry, std::uint32_t index) const REQUIRES_SHARED(m_mutex);
    std::uint64_t countOf(FpgaRegisters::Count count) const REQUIRES_SHARED(m_mutex);
    long long handleOf(FpgaRegisters::Block block, std::size_t index) const REQUIRES_SHARED(m_mutex);

    static constexpr long long kUnset = -1;

    mutable SharedMutex<LockRank::Fpga> m_mutex;  // shared for an access; exclusive where all others must have ended
    std::atomic<bool> m_isReady = false;          // turns accesses away before they take the lock; true under it only
    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> m_service GUARDED_BY(m_mutex);
    long long m_processor GUARDED_BY(m_mutex) = kUnset;
    long long m_peripheral GUARDED_BY(m_mutex) = kUnset;
    long long m_timeStamp GUARDED_BY(m_mutex) = kUnset;
    long long m_ppsSlave GUARDED_BY(m_mutex) = kUnset;
    long long m_ptpClock GUARDED_BY(m_mutex) = kUnset;
    std::vector<long long> m_ptfes GUARDED_BY(m_mutex);
    std::vector<long long> m_pulseGens GUARDED_BY(m_mutex);
    std::vector<std::uint32_t> m_ptfeControls GUARDED_BY(m_mutex);  // as written last
    std::uint64_t m_uartCount GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_ptfeCount GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_pulseCount GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_periphCount GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_ppsSlaveCount GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_ptpClockCount GUARDED_BY(m_mutex) = 0;
};

#endif
