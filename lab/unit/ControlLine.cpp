#include "lab/unit/ControlLine.h"

#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/EventText.h"

#include <stdexcept>

namespace unitsim {

namespace {

/// What holds from one moment to another is two lines here.
void refuseStretch(std::string_view text)
{
    const std::string_view last = text.substr(text.find_last_of(" \t") + 1);
    if (labtext::endsOf(last))
        throw labtext::wrong(last, "is for the file of a scenario: here a line begins it, and another one ends it");
}

}  // namespace

std::optional<Event> controlEventOf(std::string_view line, double now)
{
    const labtext::Words words(line);
    if (labtext::isBlankOrNote(line) || words.nextIs("at")) return eventOf(line);
    for (const std::string_view world : {"place", "drive", "stand", "track"})
        if (words.nextIs(world))
            throw labtext::wrong(world, "is for the file of a scenario: places stay as they are while it runs");
    if (words.nextIs("fault") || words.nextIs("quality")) refuseStretch(words.rest());
    return Event{now, happeningOf(line)};
}

std::string answerToLine(const std::string& line, double now, const std::function<void(const Event&)>& order)
{
    try {
        if (const auto event = controlEventOf(line, now)) order(*event);
        return "ok";
    } catch (const std::invalid_argument& error) {
        return std::string("error ") + error.what();
    }
}

}  // namespace unitsim
