#ifndef IOSS_MCSQ_BITGROUP_H
#define IOSS_MCSQ_BITGROUP_H

#include <cstdint>

/// Neighbouring bits of a byte of the wire; bit 0 is the least significant. Compilers place the bits of C++ bit-fields
/// as they like, so none are used.
struct BitGroup {
    std::uint8_t first;
    std::uint8_t width;
};

/// The value of the group, shifted down.
constexpr std::uint8_t bitsOf(std::uint8_t byte, BitGroup group)
{
    return static_cast<std::uint8_t>(byte >> group.first & ((1u << group.width) - 1u));
}

/// The byte with the group set to the low bits of `value`.
constexpr std::uint8_t withBits(std::uint8_t byte, BitGroup group, std::uint8_t value)
{
    const unsigned mask = ((1u << group.width) - 1u) << group.first;
    return static_cast<std::uint8_t>((byte & ~mask) | (unsigned{value} << group.first & mask));
}

#endif
