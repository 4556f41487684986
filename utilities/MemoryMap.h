#ifndef UTILITIES_MEMORYMAP_H
#define UTILITIES_MEMORYMAP_H

#include <cstddef>
#include <cstdint>

/// A file open for reading and writing that stands for physical memory; programs that this process may start don't get
/// it. Any thread may call.
class MemoryDeviceFileDescriptor {
public:
    /// The memory of this machine, opened on first use and closed at exit. Throws as the constructor does; a later use
    /// tries again then.
    static const MemoryDeviceFileDescriptor& Instance();

    /// Throws `std::runtime_error` "Unable to open /dev/mem file descriptor." when the file can't be opened.
    explicit MemoryDeviceFileDescriptor(const char* path = "/dev/mem");
    ~MemoryDeviceFileDescriptor();
    MemoryDeviceFileDescriptor(const MemoryDeviceFileDescriptor&) = delete;
    MemoryDeviceFileDescriptor& operator=(const MemoryDeviceFileDescriptor&) = delete;

    /// Bytes; a power of two.
    std::uint32_t pageSize() const { return m_pageSize; }
    int fileDescriptor() const { return m_fileDescriptor; }

private:
    std::uint32_t m_pageSize;
    int m_fileDescriptor;
};

/// A range of physical memory, mapped for reading and writing while this object lives. Whole pages are mapped: from the
/// one that the range begins in to one more than a bare division gives. Immutable: any thread may call.
class MemoryMap {
public:
    /// Throws `std::runtime_error` "Unable to map memory space." when the range can't be mapped, or lies behind the end
    /// of a regular file.
    /// @param physicalAddress  first byte of the range; need not begin a page
    /// @param size             bytes
    /// @param memory           throws on first use when the machine's memory can't be opened
    MemoryMap(std::uint32_t physicalAddress, std::uint32_t size,
              const MemoryDeviceFileDescriptor& memory = MemoryDeviceFileDescriptor::Instance());

    /// A mapping that can't be released is told on the standard error, and stays.
    ~MemoryMap();
    MemoryMap(const MemoryMap&) = delete;
    MemoryMap& operator=(const MemoryMap&) = delete;

    /// Where the first byte of the range is found.
    std::uint8_t* getPointerToBase() const { return m_pointerToBase; }

    /// Of the range's first byte within its page, in bytes.
    std::uint32_t offsetInPage() const { return m_offsetInPage; }
    std::uint32_t pageCount() const { return m_pageCount; }

    /// Bytes.
    std::size_t mappedSize() const { return m_mappedSize; }

private:
    std::uint8_t* m_mappedBase = nullptr;
    std::uint8_t* m_pointerToBase = nullptr;
    std::uint32_t m_offsetInPage;
    std::uint32_t m_pageCount;
    std::size_t m_mappedSize = 0;
};

#endif
