#ifndef TESTS_VICTORY_ORVANESERVER_THREATFRAMES_H
#define TESTS_VICTORY_ORVANESERVER_THREATFRAMES_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// Threat reports of the sensor, byte by byte.
namespace ThreatFrames {

constexpr std::uint8_t kState = 2;                // of statusA
constexpr std::uint8_t kPowerValid = 1 << 3;      // of statusA
constexpr std::uint8_t kBandwidthValid = 1 << 5;  // of statusA
constexpr std::uint8_t kBearing = 1 << 0;         // of statusB
constexpr std::uint8_t kConfident = 1 << 1;       // of statusB

/// One of the nine lines of a frame.
struct Line {
    std::uint8_t statusA = 0;
    std::uint8_t statusB = 0;
    std::int16_t power = 0;
    std::uint16_t center = 0;
    std::uint16_t bandwidth = 0;
    std::int16_t azimuth = 0;
    std::int16_t elevation = 0;
};

/// A line of bearing that is told apart by its centre frequency, 50 kHz times a number.
inline Line bearing(std::uint16_t center)
{
    return {.statusA = kState, .statusB = kBearing, .center = center};
}

template <class T>
void put(std::vector<std::uint8_t>& bytes, std::size_t offset, T value)
{
    ASSERT_LE(offset + sizeof value, bytes.size());
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

/// A frame with these lines first; the others are empty.
inline std::vector<std::uint8_t> threatFrameOf(const std::vector<Line>& lines)
{
    constexpr std::size_t data = 10;
    std::vector<std::uint8_t> bytes = {0xFF, 0x81, 0xCB, 0x3A, 0x64, 0x00, 0x00, 0x80};
    bytes.resize(212);
    put(bytes, data + 0, 3456.5);
    put(bytes, data + 8, 45.25);
    put(bytes, data + 16, -93.5);
    put(bytes, data + 24, 300.75);
    put(bytes, data + 32, std::uint16_t{12});
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto start = data + 38 + 18 * i;
        put(bytes, start, lines[i].statusA);
        put(bytes, start + 1, lines[i].statusB);
        put(bytes, start + 2, lines[i].power);
        put(bytes, start + 4, lines[i].center);
        put(bytes, start + 6, lines[i].bandwidth);
        put(bytes, start + 14, lines[i].azimuth);
        put(bytes, start + 16, lines[i].elevation);
    }
    return bytes;
}

}  // namespace ThreatFrames

#endif
