#ifndef LAB_MCAP_CRC32_H
#define LAB_MCAP_CRC32_H

#include "lab/mcap/Bytes.h"

namespace mcap {

/// The CRC-32 of IEEE 802.3 (reflected, polynomial 0x04C11DB7) over bytes that come in pieces. One thread at a time.
class Crc32 {
public:
    void add(Bytes bytes);
    std::uint32_t value() const { return ~m_register; }

private:
    std::uint32_t m_register = 0xFFFFFFFF;
};

std::uint32_t crc32Of(Bytes bytes);

}  // namespace mcap

#endif
