#include "lab/unit/ControlLine.h"

#include "lab/unit/EventText.h"

#include <algorithm>
#include <stdexcept>

namespace unitsim {

std::optional<Event> controlEventOf(std::string_view line, double now)
{
    constexpr std::string_view kBlanks = " \t\r";
    std::string_view words = line;
    words.remove_prefix(std::min(words.find_first_not_of(kBlanks), words.size()));
    const std::string_view first = words.substr(0, words.find_first_of(kBlanks));
    if (first.empty() || first.front() == '#' || first == "at") return eventOf(line);
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
