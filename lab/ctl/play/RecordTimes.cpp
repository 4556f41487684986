#include "lab/ctl/play/RecordTimes.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace orvanectl {

namespace {

using std::chrono::nanoseconds;

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::size_t kKnown = 64;  // times of validity

// Where they stand, in bytes from the front of the payload.
constexpr std::size_t kArrival = 12;
constexpr std::size_t kValid = 28;
constexpr std::size_t kDevice = 44;
constexpr std::size_t kHeaderEnd = 48;

constexpr std::size_t kNanoseconds = 8;  // behind the seconds of a time

/// Beyond them there would be no room for the nanoseconds.
constexpr std::int64_t kMostSeconds = std::numeric_limits<std::int64_t>::max() / kSecond - 10;

/// Whether the lowest byte of a number comes first; nothing for what is no plain CDR.
std::optional<bool> isLittleEndian(std::span<const std::uint8_t> payload)
{
    if (payload.size() < kHeaderEnd || payload[0] != 0 || payload[1] > 1) return std::nullopt;
    return payload[1] == 1;
}

template <class Number>
Number numberAt(std::span<const std::uint8_t> payload, std::size_t offset, bool isLittle)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        bits = bits << 8 | payload[offset + (isLittle ? sizeof(Number) - 1 - i : i)];
    return static_cast<Number>(bits);
}

template <class Number>
void setNumber(std::span<std::uint8_t> payload, std::size_t offset, bool isLittle, Number value)
{
    auto bits = static_cast<std::uint64_t>(value);
    for (std::size_t i = 0; i < sizeof(Number); ++i, bits >>= 8)
        payload[offset + (isLittle ? i : sizeof(Number) - 1 - i)] = static_cast<std::uint8_t>(bits & 0xFF);
}

std::optional<nanoseconds> timeAt(std::span<const std::uint8_t> payload, std::size_t offset, bool isLittle)
{
    const auto seconds = numberAt<std::int64_t>(payload, offset, isLittle);
    if (seconds > kMostSeconds || seconds < -kMostSeconds) return std::nullopt;
    return nanoseconds(seconds * kSecond + numberAt<std::int32_t>(payload, offset + kNanoseconds, isLittle));
}

void moveTime(std::span<std::uint8_t> payload, std::size_t offset, bool isLittle, nanoseconds by)
{
    const auto time = timeAt(payload, offset, isLittle);
    std::int64_t moved = 0;
    if (!time || __builtin_add_overflow(time->count(), by.count(), &moved)) return;
    if (moved / kSecond > kMostSeconds || moved / kSecond < -kMostSeconds) return;
    setNumber(payload, offset, isLittle, moved / kSecond);
    setNumber(payload, offset + kNanoseconds, isLittle, static_cast<std::int32_t>(moved % kSecond));
}

}  // namespace

std::optional<TravelHeader> travelHeaderOf(std::span<const std::uint8_t> payload)
{
    const auto isLittle = isLittleEndian(payload);
    if (!isLittle) return std::nullopt;
    const auto arrival = timeAt(payload, kArrival, *isLittle);
    const auto valid = timeAt(payload, kValid, *isLittle);
    if (!arrival || !valid) return std::nullopt;
    const auto device = numberAt<std::uint32_t>(payload, kDevice, *isLittle);
    return TravelHeader{*arrival, *valid, static_cast<std::uint8_t>(device >> 16 & 0xFF)};
}

void moveTimes(std::span<std::uint8_t> payload, nanoseconds by)
{
    const auto isLittle = isLittleEndian(payload);
    if (!isLittle) return;
    moveTime(payload, kArrival, *isLittle, by);
    moveTime(payload, kValid, *isLittle, by);
}

void TimeMover::move(std::span<std::uint8_t> payload, nanoseconds by)
{
    const auto header = travelHeaderOf(payload);
    if (!header) return;
    const auto known = std::ranges::find(m_moved, header->valid, &Moved::valid);
    if (known != m_moved.end()) {
        by = known->by;
    } else {
        m_moved.push_back({header->valid, by});
        if (m_moved.size() > kKnown) m_moved.pop_front();
    }
    moveTimes(payload, by);
}

}  // namespace orvanectl
