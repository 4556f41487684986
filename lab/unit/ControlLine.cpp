#include "lab/unit/ControlLine.h"

#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/EventText.h"

#include <stdexcept>

namespace unitsim {

std::vector<Event> controlEventsOf(std::string_view line, double now)
{
    const labtext::Words words(line);
    if (labtext::isBlankOrNote(line)) return {};
    if (words.nextIs("at")) return {*eventOf(line)};
    for (const std::string_view world : {"place", "drive", "stand", "track"})
        if (words.nextIs(world))
            throw labtext::wrong(world, "is for the file of a scenario: places stay as they are while it runs");
    const std::string_view text = words.rest(), last = text.substr(text.find_last_of(" \t") + 1);
    for (const std::string_view key : {"fault", "quality"})
        if (words.nextIs(key) && labtext::endsOf(last)) {
            std::vector<Event> stretch = stretchOf(key, labtext::trimmed(text.substr(key.size())));
            if (stretch.size() > 1 && stretch.back().seconds <= now)
                throw labtext::wrong(last, "is over: it counts from the start of unit-sim");
            return stretch;
        }
    return {{now, happeningOf(line)}};
}

std::string answerToLine(const std::string& line, double now, const std::function<void(const Event&)>& order)
{
    try {
        for (const Event& event : controlEventsOf(line, now)) order(event);
        return "ok";
    } catch (const std::invalid_argument& error) {
        return std::string("error ") + error.what();
    }
}

}  // namespace unitsim
