#include "lab/unit/RegisterFile.h"

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>

namespace unitsim {

using FpgaRegisters::Register;

namespace {

/// A regular file's path; anything else, real memory above all, is refused before it is opened for writing.
const std::string& regular(const std::string& path)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw std::runtime_error(path + ": there is no such file");
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error(path + ": is no regular file, and real memory is not written: run in lab/sandbox");
    return path;
}

/// Characters `first` to `first + 3` of a text, the first in the top byte; blanks behind its end.
std::uint32_t word(const std::string& text, std::size_t first)
{
    std::uint32_t value = 0;
    for (std::size_t i = first; i < first + 4; ++i)
        value = value << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : std::uint32_t{' '});
    return value;
}

}  // namespace

RegisterFile::RegisterFile(const std::string& memory, const DeviceMap& devices)
    : m_path(memory), m_memory(regular(memory).c_str())
{
    struct stat status {};
    if (fstat(m_memory.fileDescriptor(), &status) != 0 || !S_ISREG(status.st_mode))
        throw std::runtime_error(m_path + ": is no regular file");
    if (flock(m_memory.fileDescriptor(), LOCK_EX | LOCK_NB) != 0)
        throw std::runtime_error(m_path + ": another unit-sim plays this unit");
    m_fileSize = static_cast<std::uint64_t>(status.st_size);
    m_processor = mapped(devices.block("Processor_Interface"));
    m_timeStamp = mapped(devices.block("TimeStamp_Interface"));
    for (const RegisterBlock& block : devices.blocks("Ptfe_Interface")) m_ptfeBlocks.push_back(mapped(block));
    m_ptfes = m_ptfeBlocks.size();
    m_systemCount = placeOf(m_timeStamp, FpgaRegisters::kSystemCount);
}

RegisterFile::~RegisterFile() = default;

RegisterFile::Mapped RegisterFile::mapped(const RegisterBlock& block) const
{
    if (block.base + std::uint64_t{block.size} > m_fileSize)
        throw std::runtime_error(m_path + ": ends before " + block.name + " does");
    if (block.base % 8 != 0) throw std::runtime_error(block.name + ": BaseAddress is no multiple of 8");
    return {block, std::make_unique<MemoryMap>(block.base, block.size, m_memory)};
}

std::uint8_t* RegisterFile::placeOf(const Mapped& target, const Register& entry) const
{
    if (entry.offset + entry.width / 8 > target.block.size)
        throw std::runtime_error(target.block.name + ": Size leaves out the register at " +
                                 std::to_string(entry.offset));
    return target.map->getPointerToBase() + entry.offset;
}

void RegisterFile::store(const Mapped& target, const Register& entry, std::uint64_t value) const
{
    std::uint8_t* const place = placeOf(target, entry);
    if (entry.width == 64) {
        std::memcpy(place, &value, sizeof value);
    } else {
        const auto narrow = static_cast<std::uint32_t>(value);
        std::memcpy(place, &narrow, sizeof narrow);
    }
}

void RegisterFile::identify(const FpgaIdentity& identity)
{
    using namespace FpgaRegisters;
    for (std::size_t i = 0; i < 2; ++i) store(m_processor, kFirmwareName[i], word(identity.firmware, 4 * i));
    store(m_processor, kBuildDate, identity.buildDate);
    store(m_processor, kBuildTime, identity.buildTime);
    for (std::size_t i = 0; i < 3; ++i) store(m_processor, kPartNumber[i], word(identity.partNumber, 4 * i));
    store(m_processor, kRevision, word(identity.revision, 0));
    store(m_timeStamp, kClockRate, identity.clockRate);
    store(m_timeStamp, kUarts, identity.uarts);
    store(m_timeStamp, kPtfes, m_ptfes);
    store(m_timeStamp, kPulses, identity.pulses);
    store(m_timeStamp, kPeriphs, identity.peripherals);
    for (std::size_t i = 0; i < m_ptfeBlocks.size(); ++i)
        store(m_ptfeBlocks[i], kPtfeFirmwareId, 0x5054464500000000 + i);
}

void RegisterFile::setSystemCount(std::uint64_t ticks)
{
    std::atomic_ref<std::uint64_t>(*reinterpret_cast<std::uint64_t*>(m_systemCount)).store(ticks);
}

std::uint64_t RegisterFile::systemCount() const
{
    return std::atomic_ref<std::uint64_t>(*reinterpret_cast<std::uint64_t*>(m_systemCount)).load();
}

}  // namespace unitsim
