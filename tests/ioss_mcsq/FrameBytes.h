#ifndef TESTS_IOSS_MCSQ_FRAMEBYTES_H
#define TESTS_IOSS_MCSQ_FRAMEBYTES_H

#include "ioss_mcsq/GssipMessage.h"

#include <cstdint>
#include <cstring>
#include <vector>

/// The whole frame of a message as its bytes travel.
inline std::vector<std::uint8_t> frameBytes(const GssipMessage& message)
{
    std::vector<std::uint8_t> bytes(message.frame().size_bytes());
    std::memcpy(bytes.data(), message.frame().data(), bytes.size());
    return bytes;
}

#endif
