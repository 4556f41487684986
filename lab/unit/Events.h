#ifndef LAB_UNIT_EVENTS_H
#define LAB_UNIT_EVENTS_H

#include "lab/unit/Outputs.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// What happens to a unit at a moment of its run.
namespace unitsim {

/// A line of bearing to a source of interference, as the anti-jam sensor tells it.
struct Threat {
    std::uint8_t state = 2;  // 0 to 3; the service reports those in state 2
    bool hasBearing = true;
    std::int16_t azimuthDegrees = 0;
    std::int16_t elevationDegrees = 0;
    std::uint16_t center = 31508;                    // of 50 kHz: 1575.4 MHz
    std::optional<std::uint16_t> bandwidthKhz = {};  // none: not valid
    std::optional<std::int16_t> power = {};          // none: not valid
    std::optional<unsigned> confidenceTimes25 = {};  // percent by 25, 0 to 15; none: not valid

    bool operator==(const Threat&) const = default;
};

/// One report of the sensor: message 15051.
struct ThreatReport {
    static constexpr std::size_t kMost = 9;

    std::vector<Threat> threats;  // `kMost` at the most

    bool operator==(const ThreatReport&) const = default;
};

/// A warning of the receiver: message 5044.
struct Warning {
    static constexpr std::size_t kLongestText = 32;

    std::uint16_t number = 0;
    std::string text;  // `kLongestText` bytes at the most

    bool operator==(const Warning&) const = default;
};

/// A command of the system controller.
struct SendCommand {
    std::string text;

    bool operator==(const SendCommand&) const = default;
};

/// How commands that ask for something are answered: at first, and when it is done.
struct Answers {
    enum class First { Ack, Nack, None };
    enum class Then { Pass, Fail, None };

    First first = First::Ack;
    Then then = Then::Pass;

    bool operator==(const Answers&) const = default;

    static const Answers Normal, Nothing, Nack, Fail, AckOnly;
};
inline constexpr Answers Answers::Normal = {First::Ack, Then::Pass};
inline constexpr Answers Answers::Nothing = {First::None, Then::None};
inline constexpr Answers Answers::Nack = {First::Nack, Then::None};
inline constexpr Answers Answers::Fail = {First::Ack, Then::Fail};
inline constexpr Answers Answers::AckOnly = {First::Ack, Then::None};

/// What a built-in test finds of a server.
enum class Finding { Good, Warning, Error, Critical, Silent };

/// Sets what is found of a server from now on.
struct SetFinding {
    std::int32_t server = 0;
    Finding finding = Finding::Good;

    bool operator==(const SetFinding&) const = default;
};

/// Whether a component keeps its part numbers to itself from now on.
struct SetSilence {
    std::string component;
    bool silent = true;

    bool operator==(const SetSilence&) const = default;
};

/// Whether there is GPS from now on.
struct SetGps {
    bool lost = true;

    bool operator==(const SetGps&) const = default;
};

/// What is wrong with an output.
struct Fault {
    enum class Kind {
        None,
        Off,           // is not sent
        Stuck,         // keeps the content of the last record
        Garbage,       // numbers at random
        Wrong,         // looks right and is not, by the amount
        Slow,          // one of so many epochs is sent
        Delayed,       // is sent so many seconds late
        Intermittent,  // each epoch is left out with that probability
    };

    Kind kind = Kind::None;
    double amount = 0.0;

    bool operator==(const Fault&) const = default;
};

/// Sets what is wrong with an output from now on.
struct SetFault {
    Output output = Output::PositionVelocityAttitude;
    Fault fault;

    bool operator==(const SetFault&) const = default;
};

/// How many times larger errors are from now on, and the deviations that are claimed with them: of all that GPS tells, or
/// of one output alone.
struct SetQuality {
    enum class Source : std::size_t { Gps, PositionVelocityAttitude, UTCTime, HalvexPNT };
    static constexpr std::size_t kSources = 4;

    Source source = Source::Gps;
    double factor = 1.0;

    bool operator==(const SetQuality&) const = default;
};

using Happening =
    std::variant<ThreatReport, Warning, SendCommand, Answers, SetFinding, SetSilence, SetGps, SetFault, SetQuality>;

struct Event {
    double seconds = 0.0;  // from the start
    Happening what;
};

}  // namespace unitsim

#endif
