#ifndef TESTS_SUPPORT_GUARDEDMEMORY_H
#define TESTS_SUPPORT_GUARDEDMEMORY_H

#include <cstddef>
#include <cstdint>
#include <span>

/// Memory between two pages that nothing can touch: one byte too far, read or written, ends the program.
class GuardedMemory {
public:
    /// @param capacity  bytes; rounded up to whole pages
    explicit GuardedMemory(std::size_t capacity);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    /// The last `size` bytes, right before the page behind. Throws `std::length_error` for more than there are.
    std::span<std::uint8_t> atEnd(std::size_t size);

    /// The same, holding a copy of `bytes`.
    std::span<std::uint8_t> atEnd(std::span<const std::uint8_t> bytes);

private:
    std::uint8_t* m_mapped;
    std::size_t m_page;
    std::size_t m_capacity;
};

#endif
