#ifndef LAB_UNIT_SCENARIOTEXT_H
#define LAB_UNIT_SCENARIOTEXT_H

#include "lab/unit/Events.h"
#include "lab/unit/World.h"

#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace unitsim {

/// What a file tells: moments, and places.
struct Scenario {
    std::vector<Event> events;  ///< in the order of their times, those of one time in the order of the lines
    World world;
};

/// Reads a track by its name; throws `std::runtime_error`.
using TrackReader = std::function<std::vector<WayPoint>(const std::string& name)>;

/// All lines of a file. Throws `std::runtime_error` that names the file, the line and the word. Any thread.
/// @param track  for the files of lines "track FILE"
Scenario scenarioOf(std::istream& file, const std::string& name, const TrackReader& track);

/// The same of a regular file of at most `labtext::kLargestFileBytes`; tracks are looked for beside it.
Scenario readScenario(const std::string& name);

}  // namespace unitsim

#endif
