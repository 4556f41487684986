// Scenario files of `unit-sim`: refused with file, line and word, or events in the order of their times, each within
// what it can send.
// Input: the file.

#include "fuzz/Fuzz.h"
#include "lab/unit/EventText.h"
#include "lab/unit/ScenarioText.h"

#include <cmath>
#include <sstream>
#include <stdexcept>

namespace {

using namespace unitsim;

struct IsWithinLimits {
    bool operator()(const ThreatReport& report) const
    {
        // The defect: four threats in a report are one too many.
        return report.threats.size() <= ThreatReport::kMost && !(fuzz::kPlanted && report.threats.size() == 4) &&
               std::ranges::all_of(report.threats, [](const Threat& threat) {
                   return threat.state <= 3 && threat.confidenceTimes25.value_or(0) <= 15;
               });
    }
    bool operator()(const Warning& warning) const { return warning.text.size() <= Warning::kLongestText; }
    bool operator()(const SendCommand& command) const { return !command.text.empty(); }
    bool operator()(const Answers&) const { return true; }
    bool operator()(const SetFinding& finding) const { return finding.server >= 0 && finding.server <= 255; }
    bool operator()(const SetSilence& silence) const { return componentOf(silence.component) == silence.component; }
    bool operator()(const SetGps&) const { return true; }
    bool operator()(const SetFault& set) const
    {
        return indexOf(set.output) < kOutputs && std::isfinite(set.fault.amount);
    }
    bool operator()(const SetQuality& set) const { return set.factor >= 0.0 && set.factor <= 1e6; }
};

bool isWithinLimits(const World& world)
{
    if (world.jammers.size() > World::kMostJammers) return false;
    if (!world.drive) return true;
    for (const double seconds : {0.0, 1.0, 1e3, 1e8}) {
        const VehicleState state = world.drive->at(seconds);
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (!std::isfinite(state.position[axis]) || !std::isfinite(state.velocity[axis])) return false;
    }
    return true;
}

/// No file is read: the input would name it.
std::vector<WayPoint> trackNamed(const std::string& name)
{
    if (name != "track.csv") throw std::runtime_error("there is one track only");
    return {{0.0, {0.5, 1.0, 10.0}}, {8.0, {0.5, 1.1, 10.0}}};
}

bool isPrintable(const std::string& text)
{
    return std::ranges::all_of(text, [](char one) { return one >= ' ' && one <= '~'; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream file(std::string(data, data + size));
    try {
        double before = 0.0;
        const Scenario scenario = scenarioOf(file, "drive.txt", trackNamed);
        FUZZ_EXPECT(isWithinLimits(scenario.world));
        for (const Event& event : scenario.events) {
            FUZZ_EXPECT(std::isfinite(event.seconds) && event.seconds >= before);
            before = event.seconds;
            FUZZ_EXPECT(std::visit(IsWithinLimits(), event.what));
        }
    } catch (const std::runtime_error& error) {
        const std::string text = error.what();
        FUZZ_EXPECT(text.starts_with("drive.txt:") && isPrintable(text));
    }
    return 0;
}
