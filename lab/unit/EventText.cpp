#include "lab/unit/EventText.h"

#include "lab/unit/CommandAnswers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <utility>

namespace unitsim {

namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr double kLatest = 1e8;  // s

std::invalid_argument wrong(std::string_view word, const std::string& what)
{
    constexpr std::size_t kLongestShown = 60;
    std::string text = "'" + std::string(word.substr(0, kLongestShown)) + "' " + what;
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < ' ' || byte > '~'; }, '?');
    return std::invalid_argument(text);
}

/// Takes the first word off a text; empty if there is none.
std::string_view takeWord(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

std::string_view trimmed(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

void expectEnd(std::string_view rest)
{
    if (const std::string_view word = takeWord(rest); !word.empty()) throw wrong(word, "is one word too many");
}

template <class Number>
Number wholeOf(std::string_view text, std::string_view word, Number low = std::numeric_limits<Number>::min(),
               Number high = std::numeric_limits<Number>::max())
{
    long long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < low || value > high)
        throw wrong(word, "has no whole number from " + std::to_string(low) + " to " + std::to_string(high));
    return static_cast<Number>(value);
}

/// A number that is not negative, in steps of `step`.
/// @param most  in steps
unsigned stepsOf(std::string_view text, std::string_view word, double step, unsigned most)
{
    const std::string copy(text);
    char* end = nullptr;
    const double steps = std::strtod(copy.c_str(), &end) / step;
    const double whole = std::round(steps);
    const bool isRead = !copy.empty() && end == copy.c_str() + copy.size();
    if (!isRead || !(std::abs(steps - whole) < 1e-6) || whole < 0.0 || whole > most) {
        const auto shown = [](double value) {
            std::array<char, 32> digits{};
            const auto [last, ignored] = std::to_chars(digits.data(), digits.data() + digits.size(), value);
            return std::string(digits.data(), last);
        };
        throw wrong(word, "has no number from 0 to " + shown(std::round(most * step * 1000.0) / 1000.0) +
                              " in steps of " + shown(step));
    }
    return static_cast<unsigned>(whole);
}

template <class Value, std::size_t Size>
Value chosen(std::string_view name, std::string_view word, const std::pair<std::string_view, Value> (&choices)[Size],
             const char* what)
{
    std::string names;
    for (const auto& [choice, value] : choices) {
        if (name == choice) return value;
        names += (names.empty() ? "" : ", ") + std::string(choice);
    }
    throw wrong(word, std::string(what) + names);
}

Threat everythingTold()
{
    Threat threat;
    threat.bandwidthKhz = std::uint16_t{2000};
    threat.power = std::int16_t{-70};
    threat.confidenceTimes25 = 3U;
    return threat;
}

Threat kindOf(std::string_view kind)
{
    Threat noBearing = everythingTold();
    noBearing.hasBearing = false;
    Threat ended = everythingTold();
    ended.state = 0;
    const std::pair<std::string_view, Threat> kKinds[] = {
        {"jam", everythingTold()}, {"bare", Threat()}, {"no-bearing", noBearing}, {"ended", ended}};
    return chosen(kind, kind, kKinds, "is no kind of threat: ");
}

void set(Threat& threat, std::string_view word)
{
    enum class Key { Azimuth, Elevation, Power, Center, Bandwidth, Confidence, State };
    constexpr std::pair<std::string_view, Key> kKeys[] = {
        {"az", Key::Azimuth},   {"el", Key::Elevation},          {"power", Key::Power}, {"center", Key::Center},
        {"bw", Key::Bandwidth}, {"confidence", Key::Confidence}, {"state", Key::State}};
    const auto equals = word.find('=');
    if (equals == std::string_view::npos) throw wrong(word, "is not of the form KEY=VALUE");
    const std::string_view value = word.substr(equals + 1);
    switch (chosen(word.substr(0, equals), word, kKeys, "is nothing that a threat has: ")) {
    case Key::Azimuth:
        threat.azimuthDegrees = wholeOf<std::int16_t>(value, word);
        return;
    case Key::Elevation:
        threat.elevationDegrees = wholeOf<std::int16_t>(value, word);
        return;
    case Key::Power:
        threat.power = wholeOf<std::int16_t>(value, word);
        return;
    case Key::Center:
        threat.center = static_cast<std::uint16_t>(stepsOf(value, word, 0.05, 65535));
        return;
    case Key::Bandwidth:
        threat.bandwidthKhz = static_cast<std::uint16_t>(stepsOf(value, word, 0.001, 65535));
        return;
    case Key::Confidence:
        threat.confidenceTimes25 = stepsOf(value, word, 25.0, 15);
        return;
    case Key::State:
        threat.state = wholeOf<std::uint8_t>(value, word, 0, 3);
        return;
    }
}

double secondsOf(std::string_view word)
{
    const std::string text(word);
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || !(seconds >= 0.0 && seconds <= kLatest))
        throw wrong(word, "is no number of seconds");
    return seconds;
}

}  // namespace

ThreatReport threatReportOf(std::string_view text)
{
    ThreatReport report;
    bool expectsKind = true;
    for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
        if (expectsKind) {
            if (report.threats.size() == ThreatReport::kMost) throw wrong(word, "is one threat too many for a report");
            report.threats.push_back(kindOf(word));
            expectsKind = false;
        } else if (word == "+") {
            expectsKind = true;
        } else {
            set(report.threats.back(), word);
        }
    }
    if (expectsKind) throw wrong(report.threats.empty() ? "threat" : "+", "needs a kind: jam, bare, no-bearing, ended");
    return report;
}

Warning warningOf(std::string_view text)
{
    const std::string_view number = takeWord(text);
    if (number.empty()) throw wrong("warn", "needs a number");
    Warning warning;
    warning.number = wholeOf<std::uint16_t>(number, number);
    warning.text = trimmed(text);
    if (warning.text.size() > Warning::kLongestText) throw wrong(warning.text, "is longer than 32 characters");
    return warning;
}

Answers answersOf(std::string_view text)
{
    constexpr std::pair<std::string_view, Answers> kKinds[] = {{"normal", Answers::Normal},
                                                               {"none", Answers::Nothing},
                                                               {"nack", Answers::Nack},
                                                               {"fail", Answers::Fail},
                                                               {"ack-only", Answers::AckOnly}};
    constexpr std::pair<std::string_view, Answers::First> kFirst[] = {
        {"ack", Answers::First::Ack}, {"nack", Answers::First::Nack}, {"none", Answers::First::None}};
    constexpr std::pair<std::string_view, Answers::Then> kThen[] = {
        {"pass", Answers::Then::Pass}, {"fail", Answers::Then::Fail}, {"none", Answers::Then::None}};
    const auto comma = text.find(',');
    if (comma != std::string_view::npos)
        return {chosen(text.substr(0, comma), text, kFirst, "does not begin with one of "),
                chosen(text.substr(comma + 1), text, kThen, "does not end with one of ")};
    return chosen(text, text, kKinds, "is no pair such as ack,fail and none of ");
}

SetFinding findingOf(std::string_view text)
{
    constexpr std::pair<std::string_view, Finding> kFindings[] = {{"good", Finding::Good},
                                                                  {"warning", Finding::Warning},
                                                                  {"error", Finding::Error},
                                                                  {"critical", Finding::Critical},
                                                                  {"silent", Finding::Silent}};
    const auto colon = text.find(':');
    SetFinding finding;
    finding.server = wholeOf<std::int32_t>(text.substr(0, colon), text, 0, 255);
    finding.finding = colon == std::string_view::npos
                          ? Finding::Error
                          : chosen(text.substr(colon + 1), text, kFindings, "does not end with one of ");
    return finding;
}

std::string componentOf(std::string_view text)
{
    std::string names;
    for (const std::string& name : componentNames()) {
        if (name == text) return name;
        names += (names.empty() ? "" : ", ") + name;
    }
    throw wrong(text, "has no part numbers: " + names);
}

Happening happeningOf(std::string_view text)
{
    enum class Word { Threat, Warn, GpsLost, GpsBack, Answers, Silent, Speaking, Bit, Command };
    constexpr std::pair<std::string_view, Word> kWords[] = {
        {"threat", Word::Threat},     {"warn", Word::Warn},       {"gps-lost", Word::GpsLost},
        {"gps-back", Word::GpsBack},  {"answers", Word::Answers}, {"silent", Word::Silent},
        {"speaking", Word::Speaking}, {"bit", Word::Bit},         {"command", Word::Command}};
    std::string_view rest = text;
    const std::string_view first = takeWord(rest);
    const auto argument = [&] {
        std::string_view behind = rest;
        const std::string_view word = takeWord(behind);
        if (word.empty()) throw wrong(first, "needs a word behind it");
        expectEnd(behind);
        return word;
    };
    switch (chosen(first, first, kWords, "is nothing that happens: ")) {
    case Word::Threat:
        return threatReportOf(rest);
    case Word::Warn:
        return warningOf(rest);
    case Word::GpsLost:
        expectEnd(rest);
        return SetGps{true};
    case Word::GpsBack:
        expectEnd(rest);
        return SetGps{false};
    case Word::Answers:
        return answersOf(argument());
    case Word::Silent:
        return SetSilence{componentOf(argument()), true};
    case Word::Speaking:
        return SetSilence{componentOf(argument()), false};
    case Word::Bit:
        return findingOf(argument());
    case Word::Command:
        if (trimmed(rest).empty()) throw wrong(first, "needs a text behind it");
        return SendCommand{std::string(trimmed(rest))};
    }
    throw wrong(first, "is nothing that happens");
}

std::optional<Event> eventOf(std::string_view line)
{
    const std::string_view first = takeWord(line);
    if (first.empty() || first.front() == '#') return std::nullopt;
    if (first != "at") throw wrong(first, "stands where at SECONDS is expected");
    const std::string_view time = takeWord(line);
    if (time.empty()) throw wrong("at", "needs a number of seconds");
    const double seconds = secondsOf(time);
    if (trimmed(line).empty()) throw wrong(time, "needs behind it what happens then");
    return Event{seconds, happeningOf(line)};
}

std::vector<Event> scenarioOf(std::istream& file, const std::string& name)
{
    std::vector<Event> events;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        try {
            if (auto event = eventOf(line)) events.push_back(std::move(*event));
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    if (file.bad()) throw std::runtime_error(name + ": can't be read");
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& one, const Event& other) { return one.seconds < other.seconds; });
    return events;
}

std::vector<Event> readScenario(const std::string& name)
{
    std::ifstream file(name);
    if (!file) throw std::runtime_error(name + ": can't be read");
    return scenarioOf(file, name);
}

}  // namespace unitsim
