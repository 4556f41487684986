#ifndef TESTS_SUPPORT_FRAMEBYTES_H
#define TESTS_SUPPORT_FRAMEBYTES_H

#include "ioss_mcsq/GssipMessage.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The bytes of the last frame that was written.
class FrameBytes : public IWriteByteStreams {
public:
    void write(const std::uint8_t* bytes, std::size_t length) override { data.assign(bytes, bytes + length); }

    std::vector<std::uint8_t> data;
};

#endif
