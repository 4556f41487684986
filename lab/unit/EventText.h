#ifndef LAB_UNIT_EVENTTEXT_H
#define LAB_UNIT_EVENTTEXT_H

#include "lab/unit/Events.h"
#include "lab/unit/Window.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Events as a person writes them (docs/lab/unit-sim.md tells the forms). Pure functions, any thread.
///
/// What is wrong throws `std::invalid_argument`; its text begins with the word that is wrong, in quotes.
namespace unitsim {

constexpr double kLatestSecond = 1e8;

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

/// "pva stuck" or "8504 delayed=2.5": an output and what is wrong with it, or none.
SetFault faultOf(std::string_view text);

/// "gps 5": a source, and how many times larger its errors are.
SetQuality qualityOf(std::string_view text);

/// Whether a line of what happens may begin with a word.
bool beginsHappening(std::string_view word);

/// What stands behind the time in a line of a scenario: "warn 6 ANTENNA OPEN".
Happening happeningOf(std::string_view text);

/// "FROM..TO", or "FROM.." without an end.
Window windowOf(std::string_view word);

/// What ends a stretch that begins so: a fault or a quality.
Happening endOf(const Happening& begin);

/// What a line "fault pva stuck 20..60" or "quality gps 5 20..60" says: its begin, and its end unless it has none.
/// @param key  the first word
/// @param text  what stands behind it
std::vector<Event> stretchOf(std::string_view key, std::string_view text);

/// A line "at 5 warn 6 ANTENNA OPEN"; none for an empty one and for one that begins with "#".
std::optional<Event> eventOf(std::string_view line);

}  // namespace unitsim

#endif
