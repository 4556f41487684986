#ifndef LAB_UNIT_EVENTTEXT_H
#define LAB_UNIT_EVENTTEXT_H

#include "lab/unit/Events.h"

#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Events as a person writes them (docs/lab/unit-sim.md tells the forms). Pure functions, any thread.
///
/// What is wrong throws `std::invalid_argument`; its text begins with the word that is wrong, in quotes.
namespace unitsim {

/// "jam az=90 el=-10 + bare az=20": up to nine lines of bearing.
ThreatReport threatReportOf(std::string_view text);

/// "6 ANTENNA OPEN": a number and a text, which may be missing.
Warning warningOf(std::string_view text);

/// "normal", "none", "nack", "fail", "ack-only", or first and last answer such as "none,pass".
Answers answersOf(std::string_view text);

/// "39" or "39:critical"; a server alone has an error.
SetFinding findingOf(std::string_view text);

/// The name of one of the components that have part numbers.
std::string componentOf(std::string_view text);

/// What stands behind the time in a line of a scenario: "warn 6 ANTENNA OPEN".
Happening happeningOf(std::string_view text);

/// A line "at 5 warn 6 ANTENNA OPEN"; none for an empty one and for one that begins with "#".
std::optional<Event> eventOf(std::string_view line);

/// All events of a file, in the order of their times, those of one time in the order of the lines. Throws
/// `std::runtime_error` that names the file, the line and the word.
std::vector<Event> scenarioOf(std::istream& file, const std::string& name);

/// The same, opened by its name.
std::vector<Event> readScenario(const std::string& name);

}  // namespace unitsim

#endif
