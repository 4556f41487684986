#ifndef TESTS_VICTORY_ORVANESERVER_WARNINGFRAMES_H
#define TESTS_VICTORY_ORVANESERVER_WARNINGFRAMES_H

#include "VICTORY/libvictory/victory.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A receiver's warning, byte by byte: the number, and a text with the characters of each word in wire order.
inline std::vector<std::uint8_t> warningFrameOf(std::uint16_t number, const std::string& text = "")
{
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0xB4, 0x13, 0x15, 0x00, 0x00, 0x90};
    bytes.resize(54);
    bytes[18] = static_cast<std::uint8_t>(number);
    bytes[19] = static_cast<std::uint8_t>(number >> 8);
    for (std::size_t i = 0; i < std::min<std::size_t>(text.size(), 32); ++i)
        bytes[20 + (i ^ 1)] = static_cast<std::uint8_t>(text[i]);
    return bytes;
}

/// What the warnings of a record became, in their order.
inline std::vector<std::uint32_t> warningIdsOf(const VapntcWarningMessagesRecord& record)
{
    std::vector<std::uint32_t> found;
    for (std::uint32_t i = 0; i < record.warningCount; ++i) found.push_back(record.warnings[i].warningId);
    return found;
}

#endif
