#include "tests/support/GuardedMemory.h"

#include <algorithm>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

GuardedMemory::GuardedMemory(std::size_t capacity)
    : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), m_capacity((capacity + m_page - 1) / m_page * m_page)
{
    void* const mapped = mmap(nullptr, m_capacity + 2 * m_page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::runtime_error("no memory to guard");
    m_mapped = static_cast<std::uint8_t*>(mapped);
    if (mprotect(m_mapped + m_page, m_capacity, PROT_READ | PROT_WRITE) != 0) {
        munmap(m_mapped, m_capacity + 2 * m_page);
        throw std::runtime_error("guarded memory can't be opened");
    }
}

GuardedMemory::~GuardedMemory()
{
    munmap(m_mapped, m_capacity + 2 * m_page);
}

std::span<std::uint8_t> GuardedMemory::atEnd(std::size_t size)
{
    if (size > m_capacity) throw std::length_error("more than the guarded memory");
    return {m_mapped + m_page + m_capacity - size, size};
}

std::span<std::uint8_t> GuardedMemory::atEnd(std::span<const std::uint8_t> bytes)
{
    const std::span<std::uint8_t> place = atEnd(bytes.size());
    std::ranges::copy(bytes, place.begin());
    return place;
}
