#include "ioss_mcsq/gps_msgs.h"

#include "ioss_mcsq/GssipBytes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>

namespace {

// Frames are built and read as words in memory.
static_assert(std::endian::native == std::endian::little, "words of a frame are stored low byte first");

constexpr unsigned kMostWordsToFill = 32500;
constexpr unsigned kMostWordsToVerify = 106;
constexpr std::size_t kWordsOfRow = 10;

using namespace GssipWord;

/// The sum of `count` words modulo 65536. The lanes are as many as two vector registers hold, and their number is
/// known, so that compilers make vector additions of the inner loop.
std::uint16_t sumOf(const std::uint16_t* words, std::size_t count)
{
    constexpr std::size_t kLanes = 16;
    std::array<std::uint16_t, kLanes> lanes{};
    for (; count >= kLanes; count -= kLanes, words += kLanes)
        for (std::size_t i = 0; i < kLanes; ++i) lanes[i] = static_cast<std::uint16_t>(lanes[i] + words[i]);
    std::uint16_t sum = 0;
    for (const std::uint16_t lane : lanes) sum = static_cast<std::uint16_t>(sum + lane);
    for (std::size_t i = 0; i < count; ++i) sum = static_cast<std::uint16_t>(sum + words[i]);
    return sum;
}

std::uint16_t negated(std::uint16_t sum)
{
    return static_cast<std::uint16_t>(0 - sum);
}

/// One line in one write; `format` is for unsigned numbers.
template <class... Numbers>
void complain(const char* format, Numbers... numbers)
{
    std::array<char, 160> line;
    const int length = std::snprintf(line.data(), line.size(), format, static_cast<unsigned>(numbers)...);
    std::cerr.write(line.data(), std::clamp(length, 0, static_cast<int>(line.size()) - 1));
}

/// Text in the form of a dump, which knows no lines longer than this.
template <class... Numbers>
void append(std::string& text, const char* format, Numbers... numbers)
{
    std::array<char, 96> piece;
    std::snprintf(piece.data(), piece.size(), format, static_cast<unsigned>(numbers)...);
    text += piece.data();
}

/// @param bytes  the header at least
std::string dumpOf(std::span<const std::uint8_t> bytes)
{
    const auto word = [bytes](std::size_t index) { return gssip::wordAt(bytes, index); };
    const auto data = [bytes](std::size_t index) { return gssip::wordAt(bytes, kGssipHeaderWords + index); };
    const std::size_t wdcnt = word(Wdcnt);
    const std::size_t present = bytes.size() / 2 - kGssipHeaderWords;
    const std::size_t count = std::min(wdcnt, present);

    std::string text;
    text.reserve(96 + 6 * count + count);
    append(text, "Header:  %04X %04X %04X %04X %04X; msgId:%5u Wdcnt:%5u\n", word(Delimiter), word(MsgId), word(Wdcnt),
           word(Flags), word(HeaderChecksum), word(MsgId), word(Wdcnt));
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t place = i % kWordsOfRow;
        if (place == 0) append(text, "Data:%3u  ", i);
        append(text, "%04X ", data(i));
        if (place == kWordsOfRow / 2 - 1) text += "| ";
        if (place == kWordsOfRow - 1 || i + 1 == count) text += '\n';
    }
    if (wdcnt != 0 && present > wdcnt) append(text, "DataCks:  %04X\n", data(wdcnt));
    return text;
}

/// Writes the pattern and reads it back, each byte in turn and in fact.
bool holds(volatile std::uint8_t* buffer, std::size_t length, std::uint8_t pattern)
{
    for (std::size_t i = 0; i < length; ++i) buffer[i] = pattern;
    for (std::size_t i = 0; i < length; ++i)
        if (buffer[i] != pattern) return false;
    return true;
}

}  // namespace

std::uint16_t CalculateChecksum(const std::uint16_t* words, unsigned first, unsigned last)
{
    if (first > last) return 0;
    return negated(sumOf(words + first, std::size_t{last} - first + 1));
}

std::uint16_t MakeHdrSpecifyFlagWd(std::uint16_t* header, std::uint16_t msgId, std::uint16_t flagWord,
                                   std::uint16_t wdcnt)
{
    header[Delimiter] = kGssipDelimiter;
    header[MsgId] = msgId;
    header[Wdcnt] = wdcnt;
    header[Flags] = flagWord;
    header[HeaderChecksum] = CalculateChecksum(header, Delimiter, Flags);
    return header[HeaderChecksum];
}

std::uint16_t MakeHeader(std::uint16_t* header, std::uint16_t msgId, std::uint16_t wdcnt)
{
    return MakeHdrSpecifyFlagWd(header, msgId, kGssipFlagsDefault, wdcnt);
}

std::uint16_t MakeACK(std::uint16_t* header, std::uint16_t msgId)
{
    return MakeHdrSpecifyFlagWd(header, msgId, kGssipFlagsAck, 0);
}

std::uint16_t MakeNAK(std::uint16_t* header, std::uint16_t msgId)
{
    return MakeHdrSpecifyFlagWd(header, msgId, kGssipFlagsNak, 0);
}

bool OkChecksumGPSmessage(std::uint16_t* frame)
{
    frame[HeaderChecksum] = CalculateChecksum(frame, Delimiter, Flags);
    const unsigned wdcnt = frame[Wdcnt];
    if (wdcnt == 0) return true;
    if (wdcnt > kMostWordsToFill) {
        complain("Bad wdcnt (%u) checksumming Msg(%u) \n", wdcnt, frame[MsgId]);
        return false;
    }
    if (frame[Delimiter] != kGssipDelimiter) {
        complain("No delsoh checksumming Msg(%u) delsoh:%04X cnt:%5u flag:%04X  hck:%04X\n", frame[MsgId],
                 frame[Delimiter], wdcnt, frame[Flags], frame[HeaderChecksum]);
        return false;
    }
    std::uint16_t* const data = frame + kGssipHeaderWords;
    data[wdcnt] = negated(sumOf(data, wdcnt));
    return true;
}

bool ChecksumsAreOkInGPSmessage(const std::uint16_t* frame)
{
    if (const std::uint16_t residual = sumOf(frame, kGssipHeaderWords); residual != 0) {
        complain("Bad header chksum (%u) verifying checksums Msg(%u) \n", residual, frame[MsgId]);
        return false;
    }
    const unsigned wdcnt = frame[Wdcnt];
    if (wdcnt == 0) return true;
    if (wdcnt > kMostWordsToVerify) {
        complain("Bad wdcnt (%u) verifying checksums Msg(%u) \n", wdcnt, frame[MsgId]);
        return false;
    }
    if (const std::uint16_t residual = sumOf(frame + kGssipHeaderWords, wdcnt + 1); residual != 0) {
        complain("Bad data chksum (%u) verifying checksums Msg(%u) \n", residual, frame[MsgId]);
        return false;
    }
    return true;
}

bool ChecksumsAreOkInGPSmessage(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < kGssipHeaderBytes) return false;
    std::array<std::uint16_t, kGssipHeaderWords + kMostWordsToVerify + 1> frame{};
    std::memcpy(frame.data(), bytes.data(), std::min(bytes.size(), sizeof(frame)));
    const unsigned wdcnt = frame[Wdcnt];
    const bool cut = wdcnt <= kMostWordsToVerify && bytes.size() / 2 < gssipFrameWords(wdcnt);
    if (cut && sumOf(frame.data(), kGssipHeaderWords) == 0) return false;
    return ChecksumsAreOkInGPSmessage(frame.data());
}

void PrintMessageInHex(const std::uint16_t* frame)
{
    const auto words = static_cast<std::size_t>(gssipFrameWords(frame[Wdcnt]));
    PrintMessageInHex(std::span(reinterpret_cast<const std::uint8_t*>(frame), 2 * words));
}

void PrintMessageInHex(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < kGssipHeaderBytes) return;
    try {
        const std::string text = dumpOf(bytes);
        std::cout.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
    } catch (const std::exception&) {
        // A dump that there is no memory for is left out.
    }
}

int flushZero(std::uint8_t* buffer, std::uint16_t length)
{
    for (const std::uint8_t pattern : {std::uint8_t{0x55}, std::uint8_t{0xAA}, std::uint8_t{0x55}})
        if (!holds(buffer, length, pattern)) return 1;
    return 0;
}
