#ifndef IOSS_MCSQ_ZENTORM_5044_MSG_H
#define IOSS_MCSQ_ZENTORM_5044_MSG_H

#include "ioss_mcsq/GssipMessage.h"
#include "ioss_mcsq/gps_msgs.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using packed_msg5044_t = GssipFrame<21>;

/// Message 5044 in the host's numbers. The double need not be aligned: take the members by value.
struct [[gnu::packed]] unpacked_msg5044_t {
    double field000;
    std::uint16_t warningNumber;
    char warningText[32];
    char textEnd[2];  // zero, whatever the text is
};

static_assert(sizeof(packed_msg5044_t) == 54);
static_assert(sizeof(unpacked_msg5044_t) == 44);
static_assert(offsetof(unpacked_msg5044_t, warningNumber) == 8);
static_assert(offsetof(unpacked_msg5044_t, warningText) == 10);
static_assert(offsetof(unpacked_msg5044_t, textEnd) == 42);

/// The text of the warning: up to its first zero, and 32 bytes at the most.
std::string_view warningTextOf(const unpacked_msg5044_t& record);

/// The receiver's warning. One thread at a time.
class ZentorM_5044_Msg : public GssipMessage {
public:
    ZentorM_5044_Msg();

    void debugPrintMessage() override;

    /// `OkSetContent` for a length of any size: 54 and 55 are taken.
    bool ok_set_5044_gpsip(const std::uint8_t* bytes, std::uint32_t length);

    /// Converts the data block to the record.
    static void unpack_5044(const packed_msg5044_t& packed, unpacked_msg5044_t& unpacked);
    void unpack_5044() { unpack_5044(m_packed, m_unpacked); }

    /// Does nothing, deliberately: the packed form of this message is only ever received.
    static void pack_5044(const unpacked_msg5044_t& unpacked, packed_msg5044_t& packed);
    void pack_5044() { pack_5044(m_unpacked, m_packed); }

    const packed_msg5044_t& packed() const { return m_packed; }
    const unpacked_msg5044_t& unpacked() const { return m_unpacked; }

private:
    packed_msg5044_t m_packed;
    unpacked_msg5044_t m_unpacked;
};

#endif
