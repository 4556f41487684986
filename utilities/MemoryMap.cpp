#include "utilities/MemoryMap.h"

#include "utilities/ClosedOnExec.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

static_assert(sizeof(off_t) == 8, "physical addresses from 0x80000000 on don't fit a file offset of 32 bits");

namespace {

/// Pages behind the end of a file that stands for the memory can be mapped, but who touches them is ended by SIGBUS. A
/// device has no end.
bool endsBefore(int file, std::uint64_t address)
{
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) && std::cmp_less(status.st_size, address);
}

}  // namespace

const MemoryDeviceFileDescriptor& MemoryDeviceFileDescriptor::Instance()
{
    static const MemoryDeviceFileDescriptor instance;
    return instance;
}

MemoryDeviceFileDescriptor::MemoryDeviceFileDescriptor(const char* path)
    : m_pageSize(static_cast<std::uint32_t>(::sysconf(_SC_PAGESIZE))),
      m_fileDescriptor(closedOnExec(::open(path, O_RDWR | O_SYNC)))
{
    if (m_fileDescriptor < 0) throw std::runtime_error("Unable to open /dev/mem file descriptor.");
}

MemoryDeviceFileDescriptor::~MemoryDeviceFileDescriptor()
{
    ::close(m_fileDescriptor);
}

MemoryMap::MemoryMap(std::uint32_t physicalAddress, std::uint32_t size, const MemoryDeviceFileDescriptor& memory)
    : m_offsetInPage(physicalAddress & (memory.pageSize() - 1)),
      m_pageCount(static_cast<std::uint32_t>((std::uint64_t{m_offsetInPage} + size) / memory.pageSize() + 1))
{
    const std::uint64_t bytes = std::uint64_t{m_pageCount} * memory.pageSize();
    void* mapped = MAP_FAILED;
    constexpr std::uint64_t kAddressSpace = std::uint64_t{1} << 32;
    const std::uint64_t end = std::min(std::uint64_t{physicalAddress} + size, kAddressSpace);
    const bool isThere = !endsBefore(memory.fileDescriptor(), end);
    if (isThere && std::in_range<std::size_t>(bytes)) {
        m_mappedSize = static_cast<std::size_t>(bytes);
        mapped = ::mmap(nullptr, m_mappedSize, PROT_READ | PROT_WRITE, MAP_SHARED, memory.fileDescriptor(),
                        static_cast<off_t>(physicalAddress - m_offsetInPage));
    }
    if (mapped == MAP_FAILED) throw std::runtime_error("Unable to map memory space.");
    m_mappedBase = static_cast<std::uint8_t*>(mapped);
    m_pointerToBase = m_mappedBase + m_offsetInPage;
}

MemoryMap::~MemoryMap()
{
    if (::munmap(m_mappedBase, m_mappedSize) != 0) std::perror("Unable to mumap memory space");
}
