#ifndef IOSS_MCSQ_ZENTORM_8504_MSG_H
#define IOSS_MCSQ_ZENTORM_8504_MSG_H

#include "ioss_mcsq/BitGroup.h"
#include "ioss_mcsq/GssipMessage.h"
#include "ioss_mcsq/gps_msgs.h"

#include <cstddef>
#include <cstdint>

/// Bits of the status bytes of message 8504. They stand at the same place on the wire and in the record.
namespace msg8504 {

constexpr std::size_t kStatus096Offset = 96;  // in the data block

constexpr BitGroup kStatus096Bits0To3 = {0, 4};
constexpr BitGroup kStatus096ReceiverFailure = {4, 1};
constexpr BitGroup kStatus096Bit5 = {5, 1};
constexpr BitGroup kStatus096Bits6To7 = {6, 2};
constexpr BitGroup kStatus097Bits0To1 = {0, 2};
constexpr BitGroup kStatus097Bits2To7 = {2, 6};
constexpr BitGroup kStatus101Bit0 = {0, 1};
constexpr BitGroup kStatus101Bit1 = {1, 1};
constexpr BitGroup kStatus101Bit2 = {2, 1};
constexpr BitGroup kStatus101Bits3To7 = {3, 5};
constexpr BitGroup kStatus117Bit0 = {0, 1};
constexpr BitGroup kStatus117Bits1To2 = {1, 2};
constexpr BitGroup kStatus117Bits3To4 = {3, 2};
constexpr BitGroup kStatus117Bits5To6 = {5, 2};
constexpr BitGroup kStatus117Bit7 = {7, 1};
constexpr BitGroup kStatus118Bits0To2 = {0, 3};
constexpr BitGroup kStatus118Bits3To7 = {3, 5};
constexpr BitGroup kStatus120Bits0To1 = {0, 2};
constexpr BitGroup kStatus120Bit2 = {2, 1};
constexpr BitGroup kStatus120Bits3To7 = {3, 5};
constexpr BitGroup kLowNibble = {0, 4};  // of nibbles102 to nibbles105
constexpr BitGroup kHighNibble = {4, 4};

}  // namespace msg8504

using packed_msg8504_t = GssipFrame<200>;

/// Message 8504 in the host's numbers. The number in a name is the offset in the data block. The doubles are not
/// aligned: take the members by value.
struct [[gnu::packed]] unpacked_msg8504_t {
    double field000;
    double field008;
    double field016;
    double field022;
    double field028;
    double field036;
    double field044;
    float field052;
    float field056;
    float field060;
    float field064;
    float field068;
    std::uint8_t reserved072[12];
    float angle084;  // radians
    std::uint16_t word088;
    std::uint16_t word090;
    std::uint16_t word092;
    std::uint16_t word094;
    std::uint8_t status096;
    std::uint8_t status097;
    std::uint16_t word098;
    std::uint8_t byte100;
    std::uint8_t status101;
    std::uint8_t nibbles102;
    std::uint8_t nibbles103;
    std::uint8_t nibbles104;
    std::uint8_t nibbles105;
    std::uint8_t reserved106[4];
    std::uint16_t word110;
    std::uint16_t word112;
    std::uint16_t word114;
    std::uint8_t byte116;
    std::uint8_t status117;
    std::uint8_t status118;
    std::uint8_t byte119;
    std::uint8_t status120;
    std::uint8_t byte121;
    float field122;
    float field126;
    std::uint8_t byte130;
    std::uint8_t byte131;
    std::uint8_t reserved132[12];
    std::uint8_t block144[256];
    double wholePart;     // of field000
    double fractionPart;  // of field000
};

static_assert(sizeof(packed_msg8504_t) == 412);
static_assert(sizeof(unpacked_msg8504_t) == 420);
static_assert(offsetof(unpacked_msg8504_t, angle084) == 88);
static_assert(offsetof(unpacked_msg8504_t, status101) == 105);
static_assert(offsetof(unpacked_msg8504_t, block144) == 148);
static_assert(offsetof(unpacked_msg8504_t, wholePart) == 404);

/// The receiver's periodic report on status and navigation. One thread at a time.
class ZentorM_8504_Msg : public GssipMessage {
public:
    ZentorM_8504_Msg();

    void debugPrintMessage() override;

    /// `OkSetContent` for a length of any size: 412 and 413 are taken.
    bool ok_set_8504_gpsip(const std::uint8_t* bytes, std::uint32_t length);

    /// Converts the data block to the record, but for the reserved stretches. `field000` is split at its binary point
    /// from the packed form, which has more bits than the double.
    static void unpack_8504(const packed_msg8504_t& packed, unpacked_msg8504_t& unpacked);
    void unpack_8504() { unpack_8504(m_packed, m_unpacked); }

    /// Converts the record to the data block, but for the reserved stretches, `wholePart` and `fractionPart`. What a
    /// format cannot hold saturates or becomes 0.
    static void pack_8504(const unpacked_msg8504_t& unpacked, packed_msg8504_t& packed);
    void pack_8504() { pack_8504(m_unpacked, m_packed); }

    /// Takes over the other's frame and record.
    void copy_all(const ZentorM_8504_Msg& other);

    /// Looks at the frame, not the record, so before `unpack_8504` too. The spelling is deliberate.
    bool recieverFailureDetected() const;

    const packed_msg8504_t& packed() const { return m_packed; }
    const unpacked_msg8504_t& unpacked() const { return m_unpacked; }
    unpacked_msg8504_t& unpacked() { return m_unpacked; }

private:
    packed_msg8504_t m_packed;
    unpacked_msg8504_t m_unpacked;
};

#endif
