#include "tests/support/RegisterFile.h"

#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

RegisterFile::RegisterFile()
    : m_path(m_directory.write("registers", "")), m_descriptor(::open(m_path.c_str(), O_RDWR | O_CLOEXEC))
{
    if (m_descriptor < 0 || ::ftruncate(m_descriptor, off_t{1} << 32) != 0)
        throw std::runtime_error("cannot make " + m_path);
}

RegisterFile::~RegisterFile()
{
    ::close(m_descriptor);
}

template <class Word>
Word RegisterFile::get(std::uint64_t address) const
{
    Word value{};
    if (::pread(m_descriptor, &value, sizeof(value), static_cast<off_t>(address)) != sizeof(value))
        throw std::runtime_error("cannot read " + m_path);
    return value;
}

template <class Word>
void RegisterFile::set(std::uint64_t address, Word value) const
{
    if (::pwrite(m_descriptor, &value, sizeof(value), static_cast<off_t>(address)) != sizeof(value))
        throw std::runtime_error("cannot write " + m_path);
}

std::uint8_t RegisterFile::get8(std::uint64_t address) const
{
    return get<std::uint8_t>(address);
}

std::uint32_t RegisterFile::get32(std::uint64_t address) const
{
    return get<std::uint32_t>(address);
}

std::uint64_t RegisterFile::get64(std::uint64_t address) const
{
    return get<std::uint64_t>(address);
}

void RegisterFile::set8(std::uint64_t address, std::uint8_t value) const
{
    set(address, value);
}

void RegisterFile::set32(std::uint64_t address, std::uint32_t value) const
{
    set(address, value);
}

void RegisterFile::set64(std::uint64_t address, std::uint64_t value) const
{
    set(address, value);
}

std::string devicesFileText(const std::vector<MemoryDevice>& devices)
{
    std::string text = "<HX_Configurations>\n";
    for (const MemoryDevice& device : devices) {
        text += "  <Memory>\n    <Name>" + device.name + "</Name>\n    <Parameters>\n";
        if (!device.baseAddress.empty()) text += "      <BaseAddress>" + device.baseAddress + "</BaseAddress>\n";
        if (!device.size.empty()) text += "      <Size>" + device.size + "</Size>\n";
        text += "    </Parameters>\n  </Memory>\n";
    }
    return text + "</HX_Configurations>\n";
}
