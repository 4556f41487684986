#include "reliability/torture/Facts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <nlohmann/json.hpp>
#include <sstream>

namespace torture {

namespace {

constexpr std::array<std::string_view, 3> kPhases = {"start", "run", "stop"};

/// The name that a program has in its source for a function of the C library: fcntl for fcntl64, read for __read_chk.
std::string sourceName(std::string name)
{
    if (name.starts_with("__")) name.erase(0, 2);
    for (const std::string_view end : {"_chk", "_2", "64"})
        if (name.ends_with(end)) name.erase(name.size() - end.size());
    return name;
}

bool isRuntime(const std::string& object)
{
    constexpr std::string_view kRuntimes[] = {"libc.so", "libstdc++.so", "libgcc_s.so", "ld-linux", "libm.so", "?"};
    return std::ranges::any_of(kRuntimes, [&](std::string_view name) { return object.starts_with(name); });
}

}  // namespace

std::string_view nameOf(Phase phase)
{
    return kPhases.at(static_cast<std::size_t>(phase));
}

std::optional<Phase> phaseOf(std::string_view name)
{
    const auto found = std::ranges::find(kPhases, name);
    if (found == kPhases.end()) return std::nullopt;
    return static_cast<Phase>(found - kPhases.begin());
}

std::string textOf(const Point& point)
{
    std::string text(nameOf(point.phase));
    text += " " + point.kind + " " + std::to_string(point.call) + (point.isOnce ? " once" : " on");
    if (!point.caller.empty()) text += " of " + point.caller;
    return text;
}

std::optional<Point> pointOf(const std::string& text)
{
    std::istringstream words(text);
    std::string phase, end, of;
    Point point;
    words >> phase >> point.kind >> point.call >> end;
    if (!words || !phaseOf(phase) || (end != "once" && end != "on")) return std::nullopt;
    point.phase = *phaseOf(phase);
    point.isOnce = end == "once";
    if (words >> of) words >> point.caller;
    return point;
}

std::string Facts::text() const
{
    return nlohmann::json{{"failed", failed},
                          {"calls", calls},
                          {"hang", hang},
                          {"status", status},
                          {"signal", signal},
                          {"deaf", isDeaf},
                          {"deafToLate", isDeafToLate},
                          {"vcl", isVclWhole},
                          {"vclNew", isVclNew},
                          {"vclAnswer", vclAnswer},
                          {"descriptors", moreDescriptors},
                          {"open", open},
                          {"left", left},
                          {"deafBefore", wasDeafBefore},
                          {"lines", lines},
                          {"log", log}}
        .dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

Facts Facts::of(const std::string& text)
{
    const auto json = nlohmann::json::parse(text);
    Facts facts;
    json.at("failed").get_to(facts.failed);
    json.at("calls").get_to(facts.calls);
    json.at("hang").get_to(facts.hang);
    json.at("status").get_to(facts.status);
    json.at("signal").get_to(facts.signal);
    json.at("deaf").get_to(facts.isDeaf);
    facts.isDeafToLate = json.value("deafToLate", false);
    facts.wasDeafBefore = json.value("deafBefore", false);
    json.at("vcl").get_to(facts.isVclWhole);
    facts.isVclNew = json.value("vclNew", false);
    facts.vclAnswer = json.value("vclAnswer", "");
    json.at("descriptors").get_to(facts.moreDescriptors);
    facts.open = json.value("open", facts.open);
    facts.left = json.value("left", facts.left);
    json.at("lines").get_to(facts.lines);
    json.at("log").get_to(facts.log);
    return facts;
}

std::string withoutNode(const std::string& place)
{
    const auto bracket = place.find(":[");
    const bool isNumbered = bracket != std::string::npos && !place.starts_with('/') && place.ends_with(']') &&
                            place.find_first_not_of("0123456789", bracket + 2) == place.size() - 1;
    return isNumbered ? place.substr(0, bracket + 1) : place;
}

std::string withoutNumbers(const std::string& line)
{
    std::string text;
    for (const char character : line) {
        const bool isDigit = std::isdigit(static_cast<unsigned char>(character)) != 0;
        if (!isDigit)
            text += character;
        else if (!text.ends_with('#'))
            text += '#';
    }
    return text;
}

std::vector<Frame> framesOf(const std::string& logLine)
{
    std::vector<Frame> frames;
    std::istringstream words(logLine);
    for (std::string word; words >> word;) {
        const auto plus = word.rfind("+0x");
        if (plus == std::string::npos) continue;
        const auto bracket = word.find('(', plus);
        Frame frame{word.substr(0, plus), word.substr(plus + 1, bracket - plus - 1), ""};
        if (bracket != std::string::npos && word.ends_with(')'))
            frame.function = word.substr(bracket + 1, word.size() - bracket - 2);
        frames.push_back(std::move(frame));
    }
    return frames;
}

std::string notedLine(const Facts& facts, std::string_view word)
{
    const auto line = std::ranges::find_if(facts.log, [&](const std::string& text) { return text.starts_with(word); });
    return line == facts.log.end() ? "" : *line;
}

FailedCall failedCallOf(const Facts& facts)
{
    const std::string line = notedLine(facts, "failed ");
    FailedCall call;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word == "of")
            words >> call.function;
        else if (word == "at")
            words >> call.place;
        else if (word == "with")
            words >> call.number;
        else if (word.find("+0x") != std::string::npos)
            break;
    }
    call.function = sourceName(call.function);
    call.frames = framesOf(line);
    return call;
}

std::string ownerOf(const std::vector<Frame>& frames)
{
    const auto owner = std::ranges::find_if_not(frames, [](const Frame& frame) { return isRuntime(frame.object); });
    return owner == frames.end() ? "" : owner->object;
}

}  // namespace torture
