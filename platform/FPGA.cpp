#include "platform/FPGA.h"

#include "platform/FpgaRegisters.h"
#include "utilities/Saturate.h"

#include <cmath>
#include <initializer_list>
#include <limits>
#include <stdexcept>
#include <utility>

using FACE::RETURN_CODE_TYPE;
using FpgaRegisters::Block;
using FpgaRegisters::Count;

namespace {

constexpr long long kNoTimeout = -1;
constexpr std::uint64_t kPpsSlaves = 9;
constexpr std::uint64_t kPtpClocks = 30;

/// A count of binary-coded decimal digits, the highest of which ends at bit `top`.
std::string digits(std::uint32_t word, unsigned top, unsigned count)
{
    std::string text;
    for (unsigned i = 1; i <= count; ++i) text += std::to_string((word >> (top - 4 * i)) & 0xF);
    return text;
}

/// The four characters of a word, the first in the top byte.
std::string characters(std::uint32_t word)
{
    std::string text;
    for (const unsigned shift : {24u, 16u, 8u, 0u}) text += static_cast<char>((word >> shift) & 0xFF);
    return text;
}

}  // namespace

FpgaFace& FpgaFace::Instance()
{
    static FpgaFace& instance = *new FpgaFace;
    return instance;
}

void FpgaFace::InitFpga(const std::shared_ptr<FACE::IOSS::Devmem::IO_Service>& service)
{
    m_isReady = false;  // before the lock, as in `DoneFpga`
    const ExclusiveLock lock(m_mutex);
    closeAll();
    m_service = service;

    openConnection("Processor_Interface", "FpgaFace() FAILED to open processor interface", m_processor);
    openConnection("Peripheral_Interface", "FpgaFace() FAILED to open peripheral interface", m_peripheral);
    openConnection("TimeStamp_Interface", "FpgaFace() FAILED to open timestamp interface", m_timeStamp);
    openConnection("PpsSlave_Interface", "FpgaFace() FAILED to open PPS Slave interface", m_ppsSlave);
    openConnection("PtpClock_Interface", "FpgaFace() FAILED to open PTP Clock interface", m_ptpClock);

    m_uartCount = readAtInit(FpgaRegisters::kUarts, "FpgaFace() FAILED to read FPGA number of UARTs");
    m_ptfeCount = readAtInit(FpgaRegisters::kPtfes, "FpgaFace() FAILED to read FPGA number of PTFEs");
    m_pulseCount = readAtInit(FpgaRegisters::kPulses, "FpgaFace() FAILED to read FPGA number of Pulses");
    m_periphCount = readAtInit(FpgaRegisters::kPeriphs, "FpgaFace() FAILED to read FPGA number of Periphs");
    m_ppsSlaveCount = kPpsSlaves;
    m_ptpClockCount = kPtpClocks;

    // The number is the hardware's, and all ones if there is none: the lists grow only by what the configuration has.
    for (std::uint64_t n = 0; n < m_ptfeCount; ++n) {
        const std::string number = std::to_string(n);
        openConnection("Ptfe_Interface" + number + " interface",
                       "FpgaFace() FAILED to open PTFE " + number + " interface", m_ptfes.emplace_back(kUnset));
        m_ptfeControls.push_back(0);
        openConnection("PulseGen_Interface" + number + " interface",
                       "FpgaFace() FAILED to open PulseGen " + number + " interface", m_pulseGens.emplace_back(kUnset));
    }

    const std::uint64_t rate = readAtInit(FpgaRegisters::kClockRate, "FpgaFace() FAILED to read FPGA clock rate");
    if (rate != fpga_timestamp_get_ticks_per_sec())
        throw std::runtime_error("FpgaFace() FPGA clock rate mismatch, got " + std::to_string(rate) + ", expected " +
                                 std::to_string(fpga_timestamp_get_ticks_per_sec()));
    m_isReady = true;
}

void FpgaFace::DoneFpga()
{
    m_isReady = false;  // before the lock, so that accesses in a row don't keep it from being taken
    std::shared_ptr<FACE::IOSS::Devmem::IO_Service> released;
    const ExclusiveLock lock(m_mutex);
    closeAll();
    released.swap(m_service);
}

std::uint64_t FpgaFace::fpga_get_SystemCount() const
{
    return get(FpgaRegisters::kSystemCount);
}

std::uint64_t FpgaFace::getPulseTimestampRaw(std::uint32_t pulse) const
{
    return get(FpgaRegisters::kPulseTimestamp, pulse);
}

std::uint64_t FpgaFace::getUARTDataTimestampRaw(std::uint32_t uart) const
{
    return get(FpgaRegisters::kUartTimestamp, uart);
}

std::uint32_t FpgaFace::getUartDelay(std::uint32_t uart) const
{
    return get32(FpgaRegisters::kUartDelay, uart);
}

void FpgaFace::setUartDelay(std::uint32_t uart, std::uint32_t delay) const
{
    set(FpgaRegisters::kUartDelay, uart, delay);
}

void FpgaFace::setUartDelay(std::uint32_t uart, double a, double b, double c) const
{
    setUartDelay(uart, uartDelayTicks(a, b, c));
}

// Nothing uses this form so far: the three are taken as seconds and added.
std::uint32_t FpgaFace::uartDelayTicks(double a, double b, double c)
{
    return saturate<std::uint32_t>(std::round((a + b + c) * fpga_timestamp_get_ticks_per_sec()));
}

std::string FpgaFace::getFirmwareBuildStamp() const
{
    const std::uint32_t date = get32(FpgaRegisters::kBuildDate);
    const std::uint32_t time = get32(FpgaRegisters::kBuildTime);
    return digits(date, 32, 4) + digits(date, 16, 2) + "-" + digits(date, 8, 2) + digits(time, 16, 2) + ":" +
           digits(time, 8, 2) + ":00";
}

std::string FpgaFace::getFirmwareConfiguration() const
{
    const std::uint32_t date = get32(FpgaRegisters::kBuildDate);
    const std::uint32_t time = get32(FpgaRegisters::kBuildTime);
    const auto text = [this](const Register& entry) { return characters(get32(entry)); };
    return "Sarvent FPGA Firmware:, " + text(FpgaRegisters::kFirmwareName[0]) + text(FpgaRegisters::kFirmwareName[1]) +
           ",Date YMD:," + digits(date, 32, 4) + "-" + digits(date, 16, 2) + "-" + digits(date, 8, 2) +
           ",Time  HHMM:," + digits(time, 16, 2) + ":" + digits(time, 8, 2) + ",KPN:," +
           text(FpgaRegisters::kPartNumber[0]) + "-" + text(FpgaRegisters::kPartNumber[1]) + "-" +
           text(FpgaRegisters::kPartNumber[2]) + "Rev:" + text(FpgaRegisters::kRevision);
}

void FpgaFace::fpga_set_periph_control(std::uint32_t peripheral, std::uint32_t control) const
{
    set(FpgaRegisters::kPeriphControl, peripheral, control);
}

std::uint32_t FpgaFace::fpga_get_periph_control(std::uint32_t peripheral) const
{
    return get32(FpgaRegisters::kPeriphControl, peripheral);
}

void FpgaFace::fpga_reset_periph_control(std::uint32_t peripheral) const
{
    set(FpgaRegisters::kPeriphControl, peripheral, 0);
}

void FpgaFace::fpga_set_ppsSlave_control(std::uint32_t index, std::uint32_t control) const
{
    set(FpgaRegisters::kPpsSlaveControl, index, control);
}

std::uint32_t FpgaFace::fpga_get_ppsSlave_control(std::uint32_t index) const
{
    return get32(FpgaRegisters::kPpsSlaveControl, index);
}

void FpgaFace::fpga_set_ptpClock_control(std::uint32_t index, std::uint32_t control) const
{
    set(FpgaRegisters::kPtpClockControl, index, control);
}

std::uint32_t FpgaFace::fpga_get_ptpClock_control(std::uint32_t index) const
{
    return get32(FpgaRegisters::kPtpClockControl, index);
}

void FpgaFace::fpga_ptfe_init(std::uint32_t ptfe, const PtfeSetup& setup)
{
    const ExclusiveLock lock(m_mutex);
    if (!isAccessible(FpgaRegisters::kPtfeControl, ptfe)) return;
    m_ptfeControls[ptfe] = setup.control;
    write(FpgaRegisters::kPtfeControl, ptfe, setup.control);
    write(FpgaRegisters::kPtfeSetup64, ptfe, setup.register64);
    write(FpgaRegisters::kPtfeSetup144, ptfe, setup.register144);
    write(FpgaRegisters::kPtfeSetup152, ptfe, setup.register152);
    write(FpgaRegisters::kPtfeSetup288, ptfe, setup.register288);
}

void FpgaFace::fpga_ptfe_soft_reset(std::uint32_t ptfe)
{
    const ExclusiveLock lock(m_mutex);
    if (!isAccessible(FpgaRegisters::kPtfeControl, ptfe)) return;
    m_ptfeControls[ptfe] ^= 1;
    write(FpgaRegisters::kPtfeControl, ptfe, m_ptfeControls[ptfe]);
}

std::uint64_t FpgaFace::getPtfeFirmwareId(std::uint32_t ptfe) const
{
    return get(FpgaRegisters::kPtfeFirmwareId, ptfe);
}

std::uint32_t FpgaFace::getPtfeMeasuredFreqEstimate(std::uint32_t ptfe) const
{
    return get32(FpgaRegisters::kPtfeMeasuredFreq, ptfe);
}

std::uint32_t FpgaFace::getPtfeStatus(std::uint32_t ptfe) const
{
    return get32(FpgaRegisters::kPtfeStatus, ptfe);
}

std::uint32_t FpgaFace::getAndClearPtfeStatus(std::uint32_t ptfe) const
{
    if (!m_isReady) return 0;
    const SharedLock lock(m_mutex);
    std::uint64_t status = 0;
    if (!read(FpgaRegisters::kPtfeStatus, ptfe, status)) return 0;
    write(FpgaRegisters::kPtfeStatus, ptfe, 0);
    return static_cast<std::uint32_t>(status);
}

std::uint64_t FpgaFace::getDfNcoRate(std::uint32_t ptfe) const
{
    return get(FpgaRegisters::kDfNcoRate, ptfe);
}

std::uint64_t FpgaFace::getDtNcoPhase(std::uint32_t ptfe) const
{
    return get(FpgaRegisters::kDtNcoPhase, ptfe);
}

std::uint32_t FpgaFace::getDtCycles(std::uint32_t ptfe) const
{
    return get32(FpgaRegisters::kDtCycles, ptfe);
}

void FpgaFace::setPtfeDefaultNcoRate(std::uint32_t ptfe, std::uint64_t rate) const
{
    set(FpgaRegisters::kDefaultNcoRate, ptfe, rate);
}

std::uint32_t FpgaFace::fpga_pulsegen_get_Int_phase(std::uint32_t generator) const
{
    return get32(FpgaRegisters::kPulseIntPhase, generator);
}

std::uint32_t FpgaFace::fpga_pulsegen_get_Ext_phase(std::uint32_t generator) const
{
    return get32(FpgaRegisters::kPulseExtPhase, generator);
}

void FpgaFace::fpga_pulsegen_set_Int_phase(std::uint32_t generator, std::uint32_t phase) const
{
    set(FpgaRegisters::kPulseIntPhase, generator, phase);
}

void FpgaFace::fpga_pulsegen_set_Ext_phase(std::uint32_t generator, std::uint32_t phase) const
{
    set(FpgaRegisters::kPulseExtPhase, generator, phase);
}

void FpgaFace::fpga_pulsegen_adjust_Int_phase(std::uint32_t generator, std::int32_t amount) const
{
    adjust(FpgaRegisters::kPulseIntPhase, generator, amount);
}

void FpgaFace::fpga_pulsegen_adjust_Ext_phase(std::uint32_t generator, std::int32_t amount) const
{
    adjust(FpgaRegisters::kPulseExtPhase, generator, amount);
}

void FpgaFace::openConnection(const std::string& name, const std::string& failure, long long& handle)
{
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (m_service) m_service->Open_Connection(name.c_str(), kNoTimeout, handle, code);
    FACE::Return_Code_Value_No_Error(__FILE__, __LINE__, failure.c_str(), code);
}

std::uint64_t FpgaFace::readAtInit(const Register& entry, const char* failure) const
{
    FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, entry.offset, entry.width, 0};
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    m_service->Read(handleOf(entry.block, 0), kNoTimeout, payload, code);
    FACE::Return_Code_Value_No_Error(__FILE__, __LINE__, failure, code);
    return payload.value;
}

void FpgaFace::closeConnection(long long& handle)
{
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    if (m_service && handle != kUnset) m_service->Close_Connection(handle, ignored);
    handle = kUnset;
}

void FpgaFace::closeAll()
{
    m_isReady = false;
    for (long long* handle : {&m_processor, &m_peripheral, &m_timeStamp, &m_ppsSlave, &m_ptpClock})
        closeConnection(*handle);
    for (long long& handle : m_ptfes) closeConnection(handle);
    for (long long& handle : m_pulseGens) closeConnection(handle);
    m_ptfes.clear();
    m_pulseGens.clear();
    m_ptfeControls.clear();
    m_uartCount = 0;
    m_ptfeCount = 0;
    m_pulseCount = 0;
    m_periphCount = 0;
    m_ppsSlaveCount = 0;
    m_ptpClockCount = 0;
}

std::uint64_t FpgaFace::get(const Register& entry, std::uint32_t index) const
{
    if (!m_isReady) return 0;
    const SharedLock lock(m_mutex);
    std::uint64_t value = 0;
    return read(entry, index, value) ? value : 0;
}

std::uint32_t FpgaFace::get32(const Register& entry, std::uint32_t index) const
{
    return static_cast<std::uint32_t>(get(entry, index));
}

void FpgaFace::set(const Register& entry, std::uint32_t index, std::uint64_t value) const
{
    if (!m_isReady) return;
    const SharedLock lock(m_mutex);
    write(entry, index, value);
}

void FpgaFace::adjust(const Register& entry, std::uint32_t index, std::int32_t amount) const
{
    if (!m_isReady) return;
    const SharedLock lock(m_mutex);
    std::uint64_t value = 0;
    if (!read(entry, index, value)) return;
    write(entry, index, static_cast<std::uint32_t>(value) + static_cast<std::uint32_t>(amount));
}

bool FpgaFace::read(const Register& entry, std::uint32_t index, std::uint64_t& value) const
{
    if (!isAccessible(entry, index)) return false;
    FACE::IOSS::Devmem::READ_PAYLOAD_TYPE payload{0, entry.offset + entry.stride * index, entry.width, 0};
    RETURN_CODE_TYPE::Value code = RETURN_CODE_TYPE::NOT_AVAILABLE;
    m_service->Read(handleOf(entry.block, index), kNoTimeout, payload, code);
    value = payload.value & entry.used;
    return code == RETURN_CODE_TYPE::NO_ERROR;
}

void FpgaFace::write(const Register& entry, std::uint32_t index, std::uint64_t value) const
{
    if (!isAccessible(entry, index)) return;
    const FACE::IOSS::Devmem::WRITE_PAYLOAD_TYPE payload{entry.offset + entry.stride * index, entry.width, value};
    RETURN_CODE_TYPE::Value ignored = RETURN_CODE_TYPE::NO_ERROR;
    m_service->Write(handleOf(entry.block, index), kNoTimeout, payload, ignored);
}

/// True if there is a register of that index, and its offset fits an access: counts are the hardware's word.
bool FpgaFace::isAccessible(const Register& entry, std::uint32_t index) const
{
    return m_isReady && index < countOf(entry.count) &&
           entry.offset + std::uint64_t{entry.stride} * index <= std::numeric_limits<std::uint32_t>::max();
}

std::uint64_t FpgaFace::countOf(Count count) const
{
    switch (count) {
    case Count::One:
        return 1;
    case Count::Uarts:
        return m_uartCount;
    case Count::Ptfes:
        return m_ptfeCount;
    case Count::Pulses:
        return m_pulseCount;
    case Count::Peripherals:
        return m_periphCount;
    case Count::PpsSlaves:
        return m_ppsSlaveCount;
    case Count::PtpClocks:
        return m_ptpClockCount;
    }
    return 0;
}

long long FpgaFace::handleOf(Block block, std::size_t index) const
{
    switch (block) {
    case Block::Processor:
        return m_processor;
    case Block::Peripheral:
        return m_peripheral;
    case Block::TimeStamp:
        return m_timeStamp;
    case Block::PpsSlave:
        return m_ppsSlave;
    case Block::PtpClock:
        return m_ptpClock;
    case Block::Ptfe:
        return m_ptfes.at(index);
    case Block::PulseGen:
        return m_pulseGens.at(index);
    }
    return kUnset;
}
