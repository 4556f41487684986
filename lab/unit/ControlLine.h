#ifndef LAB_UNIT_CONTROLLINE_H
#define LAB_UNIT_CONTROLLINE_H

#include "lab/unit/Events.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Lines of a scenario that are given while it runs. Pure functions, any thread.
namespace unitsim {

/// What a line says: as in a scenario, or without `at SECONDS`, which is now; a stretch `FROM..TO` has a begin and an
/// end. None for an empty one and for a note. Throws `std::invalid_argument` as `eventOf` does.
/// @param now  seconds from the start
std::vector<Event> controlEventsOf(std::string_view line, double now);

/// "ok", or "error" and what is wrong with the line.
/// @param order  gets what the line says
std::string answerToLine(const std::string& line, double now, const std::function<void(const Event&)>& order);

}  // namespace unitsim

#endif
