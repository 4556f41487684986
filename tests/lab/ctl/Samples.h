#ifndef TESTS_LAB_CTL_SAMPLES_H
#define TESTS_LAB_CTL_SAMPLES_H

#include <cstdint>
#include <string>
#include <vector>

/// Frames and records as they are on the wire, with right checksums.
namespace samples {

using namespace std::string_literals;

/// Message 5044: warning 6, field000 -2.5; 54 bytes.
inline const std::string kWarning = "\xFF\x81\xB4\x13\x15\x00\x00\x90\x38\xDA"
                                    "\x20\xC1\x00\x00\x00\x00\x00\x00"
                                    "\x06\x00"
                                    "EHLL,Ot ih sawnrni gah s23c ahsr"
                                    "\xD9\x9A"s;

/// The same with a text of ESC, backslash, 0xC3 and zero bytes, in words with the first character in the high byte.
inline const std::string kOddWarning = "\xFF\x81\xB4\x13\x15\x00\x00\x90\x38\xDA"
                                       "\x20\xC1\x00\x00\x00\x00\x00\x00"
                                       "\x06\x00"
                                       "\x1B\x5C\x00\xC3"s +
                                       std::string(28, '\0') + "\xBF\x1F"s;

/// Acknowledgement of message 8504; 10 bytes.
inline const std::string kAck = "\xFF\x81\x38\x21\x00\x00\x00\x88\xC9\xD4"s;

/// Message 77, which nobody knows: the words 0001, 8002, ABCD; 18 bytes.
inline const std::string kUnknown = "\xFF\x81\x4D\x00\x03\x00\x00\x80\xB1\xFD\x01\x00\x02\x80\xCD\xAB\x30\xD4"s;

/// The front of a record of a frame of 54 bytes, little-endian: sequence number 7, arrival 12 s 5 ns code 100,
/// validity -3 s -4 ns code 101, system 1, server 39, message 59, topic 2; 56 bytes.
inline const std::string kRecordFront = "\x00\x01\x00\x00"
                                        "\x07\x00\x00\x00\x00\x00\x00\x00"
                                        "\x0C\x00\x00\x00\x00\x00\x00\x00\x05\x00\x00\x00\x64\x00\x00\x00"
                                        "\xFD\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFC\xFF\xFF\xFF\x65\x00\x00\x00"
                                        "\x02\x3B\x27\x01"
                                        "\x36\x00\x00\x00"
                                        "\x36\x00\x00\x00"s;
inline const std::string kWarningRecord = kRecordFront + kWarning;  // 110 bytes

/// The same header with the acknowledgement, big-endian; 66 bytes.
inline const std::string kAckRecord = "\x00\x00\x00\x00"
                                      "\x00\x00\x00\x00\x00\x00\x00\x07"
                                      "\x00\x00\x00\x00\x00\x00\x00\x0C\x00\x00\x00\x05\x00\x00\x00\x64"
                                      "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFD\xFF\xFF\xFF\xFC\x00\x00\x00\x65"
                                      "\x01\x27\x3B\x02"
                                      "\x00\x00\x00\x0A"
                                      "\x00\x00\x00\x0A"s +
                                      kAck;

inline std::string with(std::string bytes, std::size_t offset, const std::string& others)
{
    return bytes.replace(offset, others.size(), others);
}

/// Message 8504; 412 bytes.
inline std::string report()
{
    std::string bytes = "\xFF\x81\x38\x21\xC8\x00\x00\x90\x01\xCC"s + std::string(400, '\0') + "\x11\x16"s;
    bytes = with(bytes, 10, "\x9A\x45\x00\x50"s);       // field000 1234.5
    bytes = with(bytes, 10 + 84, "\xC9\x40\xDB\x0F"s);  // angle084 pi / 2, to a float
    bytes = with(bytes, 10 + 88, "\x34\x12"s);
    bytes = with(bytes, 10 + 96, "\xB5\x06"s);
    bytes = with(bytes, 10 + 100, "\xC8\x0C\xA7"s);
    bytes = with(bytes, 10 + 117, "\xDB\x2D"s);
    bytes = with(bytes, 10 + 120, "\x3E"s);
    bytes = with(bytes, 10 + 144, "\xEE"s);
    return with(bytes, 10 + 399, "\x01"s);
}

/// Message 15051 with entries 0 and 3 in use; 212 bytes.
inline std::string threats()
{
    std::string bytes = "\xFF\x81\xCB\x3A\x64\x00\x00\x80\xD2\xC2"s + std::string(200, '\0') + "\xF3\x87"s;
    bytes = with(bytes, 10,
                 "\x00\x00\x00\x00\x01\x18\x15\x41"  // 345600.25
                 "\x00\x00\x00\x00\x00\x00\xE0\x3F"  // 0.5
                 "\x00\x00\x00\x00\x00\x00\xF4\xBF"  // -1.25
                 "\x00\x00\x00\x00\x00\x00\x59\x40"  // 100
                 "\x0C\x00"s);
    bytes = with(bytes, 10 + 38, "\x2A\x13\xBA\xFF\x14\x7B\x20\x4E\x00\x00\x00\x00\x00\x00\xD3\xFF\x0A\x00"s);
    return with(bytes, 10 + 38 + 54, "\x02\x01\x01\x00\x02\x00\x03\x00\x00\x00\x00\x00\x00\x00\x1C\x02\xA5\xFF"s);
}

/// Message 15051 with the position NaN, infinity, -infinity and no entry in use; 212 bytes.
inline std::string lostThreats()
{
    const std::string bytes = "\xFF\x81\xCB\x3A\x64\x00\x00\x80\xD2\xC2"s + std::string(200, '\0') + "\x2C\xC0"s;
    return with(bytes, 10,
                "\x00\x00\x00\x00\x00\x00\xF0\x3F"
                "\x00\x00\x00\x00\x00\x00\xF8\x7F"
                "\x00\x00\x00\x00\x00\x00\xF0\x7F"
                "\x00\x00\x00\x00\x00\x00\xF0\xFF"
                "\x0C\x00"s);
}

/// A copy of exactly that size, so that a sanitizer sees what is read behind it.
inline std::vector<std::uint8_t> bytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

}  // namespace samples

#endif
