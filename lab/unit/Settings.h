#ifndef LAB_UNIT_SETTINGS_H
#define LAB_UNIT_SETTINGS_H

#include "lab/unit/Events.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace unitsim {

/// What is sent once an epoch, in this order: five topics, and the receiver's report on its queue.
enum class Output : std::size_t {
    PositionVelocityAttitude,
    UTCTime,
    HalvexPNT,
    MeasurementIncorporationStatus,
    AssuranceState,
    Report8504
};
constexpr std::size_t kOutputs = 6;
constexpr std::array<const char*, kOutputs> kOutputNames = {
    "PositionVelocityAttitude", "UTCTime", "HalvexPNT", "MeasurementIncorporationStatus", "AssuranceState", "8504"};

constexpr std::size_t indexOf(Output output)
{
    return static_cast<std::size_t>(output);
}

/// A stretch of time in seconds from the start: `from` is in it, `to` is not.
struct Window {
    double from = 0.0;
    double to = std::numeric_limits<double>::infinity();

    bool holds(double seconds) const { return seconds >= from && seconds < to; }
};

bool anyHolds(const std::vector<Window>& windows, double seconds);

/// Server ids of those that the unit is played by.
namespace servers {
constexpr std::uint8_t kBitServer = 32;
constexpr std::uint8_t kMasterClock = 37;
constexpr std::uint8_t kAltNav = 38;
constexpr std::uint8_t kReceiver = 39;
constexpr std::uint8_t kWheelSensor = 41;
constexpr std::uint8_t kTarvo = 47;
constexpr std::uint8_t kQuillE = 49;
constexpr std::uint8_t kZeroize = 51;
constexpr std::uint8_t kSystemController = 53;
constexpr std::uint8_t kNavigator = 96;
constexpr std::uint8_t kAntenna = 114;
}  // namespace servers

struct OutputSettings {
    bool enabled = true;
    double offsetSeconds = 0.0;  // added to the time of validity
    std::uint8_t server = servers::kNavigator;
    std::vector<Window> mutes = {};  // not sent in these
};

/// Everything that can be set of `unit-sim`. Seconds are counted from its start.
struct Settings {
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::string devices = "/opt/halvex/config/IODevices.xml";
    std::string memory = "/dev/mem";
    std::string queuePrefix = "/dev/mcs";
    std::string flagDirectory = "/tmp";
    std::string system = "KOLT";

    double rateHz = 1.0;
    std::optional<double> durationSeconds;  // none: until it is stopped
    std::uint64_t seed = 1;
    std::optional<std::int64_t> utcSeconds;  // since 1970, of the start; none: now

    std::array<OutputSettings, kOutputs> outputs = {{{.server = servers::kNavigator},
                                                     {.server = servers::kMasterClock},
                                                     {.server = servers::kNavigator},
                                                     {.server = servers::kNavigator},
                                                     {.server = servers::kNavigator},
                                                     {.server = servers::kReceiver}}};
    std::vector<Window> gpsLost;             // besides what events set
    std::optional<std::uint32_t> assurance;  // none: 2 with GPS, 1 without
    std::size_t measurementEntries = 0;      // 0: those that are real
    std::uint16_t reportWords = 200;         // data words of 8504
    bool receiverFailure = false;
    bool receiverStatus = false;  // the second status bit

    Answers answers;
    double answerDelaySeconds = 0.05;
    double eraseSeconds = 3.0;
    double bitSeconds = 3.0;
    std::map<std::int32_t, Finding> findings;  // what a built-in test finds of servers that are not good
    std::set<std::string> silentComponents;    // names that don't tell their part numbers

    std::vector<Event> events;
    double threatRateHz = 0.0;  // of random threat reports, on the average; 0: none
    double warningRateHz = 0.0;
    std::uint8_t threatServer = servers::kNavigator;
    std::uint8_t warningServer = servers::kReceiver;

    bool flags = true;
    std::optional<double> postAfterSeconds = 2.0;  // none: self test never completes

    bool registers = true;
    std::uint64_t clockRate = 58982400;  // as the register tells it; the count runs at the right rate
    double uptimeSeconds = 60.0;         // that the system count begins with
    double countStepSeconds = 0.001;     // how often the system count is written

    std::string control;  // socket that takes lines of a scenario while it runs; empty: none
    std::string log;      // file with a line for all that is sent; empty: none
    bool quiet = false;
    bool verbose = false;
};

}  // namespace unitsim

#endif
