#ifndef RELIABILITY_HOSTILE_PAYLOADS_H
#define RELIABILITY_HOSTILE_PAYLOADS_H

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

using Payload = std::vector<std::uint8_t>;

/// What the header of a record tells.
struct Stamp {
    std::uint8_t server;  ///< that it comes from
    double validAt;       ///< s
};

/// That of a payload, if it is a record of a type of the catalogue; another type throws `std::invalid_argument`.
std::optional<Stamp> stampOf(const std::string& type, const Payload& payload);

/// Makes payloads of one type of the catalogue that nobody should send, the same ones for the same seed. One thread at
/// a time.
class Payloads {
public:
    /// @param type    of the catalogue, such as "UTCTime"; another one throws `std::invalid_argument`
    /// @param device  id that extreme records have in their headers
    /// @param seconds time of validity that they have
    Payloads(const std::string& type, std::uint32_t seed, std::int32_t device, std::int64_t seconds);

    /// A record as it should be, but for its numbers: NaN, infinities and the ends of their ranges.
    Payload extreme();

    /// The next of four kinds in turn: an extreme record, one with some bytes changed, one cut, and any bytes.
    Payload next();

    /// How many payloads a second lie between two of a source that is in order.
    static constexpr double kPoisonPerGood = 100.0;

    /// The share of the time in which the newest input that the service keeps of a topic is one that can be joined, when
    /// these payloads come so often among good ones.
    /// @param wanted  server that is taken; any if there is none
    double shareThatFits(std::optional<std::uint8_t> wanted);

private:
    using Extreme = Payload (*)(std::mt19937& random, std::int32_t device, std::int64_t seconds);

    const std::string m_type;
    const Extreme m_extreme;
    std::mt19937 m_random;
    const std::int32_t m_device;
    const std::int64_t m_seconds;
    unsigned m_turn = 0;
};

#endif
