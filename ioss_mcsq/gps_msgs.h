#ifndef IOSS_MCSQ_GPS_MSGS_H
#define IOSS_MCSQ_GPS_MSGS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Building, verifying and printing GSSIP frames. A frame is a sequence of 16-bit words, low byte first: delimiter,
/// message id, number of data words, flags, header checksum (the five words of the header sum to 0), then, only if the
/// number is not 0, the data and a data checksum (data and checksum sum to 0). All sums are modulo 65536.
///
/// A pointer is to the first word of a frame. No state, any thread; nothing throws, and but for the dump nothing
/// allocates.

constexpr std::uint16_t kGssipDelimiter = 0x81FF;
constexpr std::size_t kGssipHeaderWords = 5;
constexpr std::size_t kGssipHeaderBytes = 10;

/// Words of the header by their place in the frame.
namespace GssipWord {
enum : unsigned { Delimiter, MsgId, Wdcnt, Flags, HeaderChecksum };
}

/// Flag words. No receiver here looks at them.
constexpr std::uint16_t kGssipFlagsDefault = 0x8000;
constexpr std::uint16_t kGssipFlagsReport = 0x9000;
constexpr std::uint16_t kGssipFlagsAck = 0x8800;
constexpr std::uint16_t kGssipFlagsNak = 0x8400;

/// Words of a whole frame with `wdcnt` data words: a frame without data has no data checksum.
constexpr std::uint64_t gssipFrameWords(std::uint32_t wdcnt)
{
    return wdcnt == 0 ? kGssipHeaderWords : kGssipHeaderWords + std::uint64_t{wdcnt} + 1;
}

/// Storage of a whole frame with data.
template <std::uint16_t Wdcnt>
    requires(Wdcnt != 0)
struct GssipFrame {
    std::array<std::uint16_t, gssipFrameWords(Wdcnt)> words;

    static constexpr std::size_t kDataBytes = 2 * std::size_t{Wdcnt};

    /// The data as it is on the wire.
    std::span<const std::uint8_t, kDataBytes> data() const
    {
        return std::span<const std::uint8_t, kDataBytes>(
            reinterpret_cast<const std::uint8_t*>(words.data() + kGssipHeaderWords), kDataBytes);
    }
    std::span<std::uint8_t, kDataBytes> data()
    {
        return std::span<std::uint8_t, kDataBytes>(reinterpret_cast<std::uint8_t*>(words.data() + kGssipHeaderWords),
                                                   kDataBytes);
    }
};

/// The negated sum of the words `first` to `last`, both included; 0 if `first` is greater than `last`.
std::uint16_t CalculateChecksum(const std::uint16_t* words, unsigned first, unsigned last);

/// Writes the five words of a header.
/// @return the header checksum
std::uint16_t MakeHdrSpecifyFlagWd(std::uint16_t* header, std::uint16_t msgId, std::uint16_t flagWord,
                                   std::uint16_t wdcnt);

/// The same with the default flags.
std::uint16_t MakeHeader(std::uint16_t* header, std::uint16_t msgId, std::uint16_t wdcnt);

/// A whole frame of ten bytes that acknowledges the message.
std::uint16_t MakeACK(std::uint16_t* header, std::uint16_t msgId);

/// A whole frame of ten bytes that refuses the message.
std::uint16_t MakeNAK(std::uint16_t* header, std::uint16_t msgId);

/// Fills in both checksums; what stood there is not looked at. The header's is stored in any case.
/// @param frame  holds as many words as its word count tells
/// @return false, with a line on standard error, for more than 32500 data words or a wrong delimiter; true without
///         data, whatever the delimiter
bool OkChecksumGPSmessage(std::uint16_t* frame);

/// Verifies both checksums, the header's first. The delimiter counts in the sum only, and more than 106 data words are
/// refused unseen, message 8504 among them: deliberately fewer than `OkChecksumGPSmessage` accepts.
/// @param frame  holds as many words as its word count tells
/// @return false, with a line on standard error, if a sum is not 0
bool ChecksumsAreOkInGPSmessage(const std::uint16_t* frame);

/// The same for bytes from outside, of any number: false, without a line if the sums that are there hold, for bytes
/// that end before the frame does.
bool ChecksumsAreOkInGPSmessage(std::span<const std::uint8_t> bytes);

/// Writes a dump of the frame to standard output, in one write: the header; the data in rows of ten words; the data
/// checksum.
/// @param frame  holds as many words as its word count tells
void PrintMessageInHex(const std::uint16_t* frame);

/// The same for bytes from outside, of any number. What the header tells of and the bytes do not hold is left out;
/// fewer than ten bytes print nothing.
void PrintMessageInHex(std::span<const std::uint8_t> bytes);

/// Tests memory, and destroys what was there: fills with 0x55, 0xAA and 0x55 again, reading back each. The buffer is
/// left full of 0x55, deliberately not of zeros.
/// @return 0, or 1 at the first byte that reads back otherwise
int flushZero(std::uint8_t* buffer, std::uint16_t length);

#endif
