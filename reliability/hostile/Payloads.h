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

private:
    using Extreme = Payload (*)(std::mt19937& random, std::int32_t device, std::int64_t seconds);

    const Extreme m_extreme;
    std::mt19937 m_random;
    const std::int32_t m_device;
    const std::int64_t m_seconds;
    unsigned m_turn = 0;
};

/// An input of the service whose topic gets payloads of this kind.
struct PoisonedInput {
    std::string type;
    std::uint32_t seed;
    std::optional<std::uint8_t> wanted;  ///< the server that it is taken from; anybody if there is none
};

/// The share of the time in which the service keeps inputs that can be joined, when each of these topics gets its next
/// payload at the same time, and a good one in place of every hundredth: the newest that is taken is kept.
double shareThatFits(const std::vector<PoisonedInput>& inputs, std::int32_t device, std::int64_t seconds);

#endif
