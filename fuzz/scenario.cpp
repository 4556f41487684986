// Scenario files of `unit-sim`: refused with file, line and word, or events in the order of their times, each within
// what it can send.
// Input: the file.

#include "fuzz/Fuzz.h"
#include "lab/unit/EventText.h"

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
};

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
        for (const Event& event : scenarioOf(file, "drive.txt")) {
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
