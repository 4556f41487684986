#ifndef LAB_UNIT_SETTINGS_H
#define LAB_UNIT_SETTINGS_H

#include "lab/unit/Events.h"
#include "lab/unit/Outputs.h"
#include "lab/unit/Window.h"
#include "lab/unit/World.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace unitsim {

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
    World world;
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

    bool repeatable = false;  // times are the planned ones, and no epoch is left out

    std::string control;       // socket that takes lines of a scenario while it runs; empty: none
    std::string receiverCopy;  // file that gets what the receiver's queue gets; empty: none
    std::string log;           // file with a line for all that is sent; empty: none
    bool quiet = false;
    bool verbose = false;
};

}  // namespace unitsim

#endif
