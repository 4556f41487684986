#include "lab/unit/EventText.h"

#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/CommandAnswers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace unitsim {

namespace {

using labtext::chosen;
using labtext::Words;
using labtext::wrong;

template <class Number>
Number wholeOf(std::string_view text, std::string_view word, Number low = std::numeric_limits<Number>::min(),
               Number high = std::numeric_limits<Number>::max())
{
    const auto value = labtext::wholeNumberOf(text);
    if (!value || *value < low || *value > high)
        throw wrong(word, "has no whole number from " + std::to_string(low) + " to " + std::to_string(high));
    return static_cast<Number>(*value);
}

/// A number that is not negative, in steps of `step`.
/// @param most  in steps
unsigned stepsOf(std::string_view text, std::string_view word, double step, unsigned most)
{
    const auto number = labtext::realNumberOf(text);
    const double steps = number.value_or(0.0) / step;
    const double whole = std::round(steps);
    if (!number || !(std::abs(steps - whole) < 1e-6) || whole < 0.0 || whole > most) {
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
    return chosen(kind, kind, kKinds, "is no kind of threat");
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
    switch (chosen(word.substr(0, equals), word, kKeys, "is nothing that a threat has")) {
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

/// A kind of fault with the number that it may have behind an equals sign.
struct FaultKind {
    Fault::Kind kind;
    double usual = 0.0;
    double low = 0.0;  // without any number if the limits are equal
    double high = 0.0;
    bool isWhole = false;
    const char* what = "has no number";
};

FaultKind wrongKindOf(Output output)
{
    switch (output) {
    case Output::PositionVelocityAttitude:
    case Output::HalvexPNT:
        return {Fault::Kind::Wrong, 1000.0, -1e6, 1e6, false, "has no metres from -1000000 to 1000000"};
    case Output::UTCTime:
    case Output::Report8504:
        return {Fault::Kind::Wrong, 10.0, -3600.0, 3600.0, false, "has no seconds from -3600 to 3600"};
    case Output::AssuranceState:
        return {Fault::Kind::Wrong, 0.0, 0.0, 255.0, true, "has no state from 0 to 255"};
    case Output::MeasurementIncorporationStatus:
        break;
    }
    return {Fault::Kind::Wrong};
}

enum class Word { Threat, Warn, GpsLost, GpsBack, Answers, Silent, Speaking, Bit, Command, Fault, Quality };
constexpr std::pair<std::string_view, Word> kHappenings[] = {
    {"threat", Word::Threat},   {"warn", Word::Warn},     {"gps-lost", Word::GpsLost},  {"gps-back", Word::GpsBack},
    {"answers", Word::Answers}, {"silent", Word::Silent}, {"speaking", Word::Speaking}, {"bit", Word::Bit},
    {"command", Word::Command}, {"fault", Word::Fault},   {"quality", Word::Quality}};

}  // namespace

ThreatReport threatReportOf(std::string_view text)
{
    ThreatReport report;
    Words words(text, "threat");
    do {
        const std::string kind = words.take("a kind: jam, bare, no-bearing, ended");
        if (report.threats.size() == ThreatReport::kMost) throw wrong(kind, "is one threat too many for a report");
        report.threats.push_back(kindOf(kind));
        while (!words.atEnd() && !words.nextIs("+")) set(report.threats.back(), words.take("a value"));
    } while (words.skip("+"));
    return report;
}

Warning warningOf(std::string_view text)
{
    Words words(text, "warn");
    const std::string number = words.take("a number");
    Warning warning;
    warning.number = wholeOf<std::uint16_t>(number, number);
    warning.text = words.rest();
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
        return {chosen(text.substr(0, comma), text, kFirst, "begins with no first answer"),
                chosen(text.substr(comma + 1), text, kThen, "ends with no last answer")};
    return chosen(text, text, kKinds, "is no pair such as ack,fail, and no answer");
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
                          : chosen(text.substr(colon + 1), text, kFindings, "ends with no finding");
    return finding;
}

std::string componentOf(std::string_view text)
{
    const std::vector<std::string> components = componentNames();
    if (std::ranges::find(components, text) != components.end()) return std::string(text);
    const std::vector<std::string_view> names(components.begin(), components.end());
    throw labtext::noneOf(names, text, text, "has no part numbers");
}

SetFault faultOf(std::string_view text)
{
    Words words(text, "fault");
    const std::string name = words.take("an output");
    const std::optional<Output> output = outputNamed(name);
    if (!output) {
        const std::vector<std::string_view> names(kShortOutputNames.begin(), kShortOutputNames.end());
        throw labtext::noneOf(names, name, name, "is no output");
    }
    const std::string kindAndNumber = words.take("a kind of fault");
    const std::string_view word = kindAndNumber;
    words.expectEnd();
    const std::pair<std::string_view, FaultKind> kKinds[] = {
        {"none", {Fault::Kind::None}},
        {"off", {Fault::Kind::Off}},
        {"stuck", {Fault::Kind::Stuck}},
        {"garbage", {Fault::Kind::Garbage}},
        {"wrong", wrongKindOf(*output)},
        {"slow", {Fault::Kind::Slow, 5.0, 2.0, 1000.0, true, "has no whole number from 2 to 1000"}},
        {"delayed", {Fault::Kind::Delayed, 1.5, 0.001, 60.0, false, "has no seconds from 0.001 to 60"}},
        {"intermittent", {Fault::Kind::Intermittent, 0.5, 0.0, 1.0, false, "has no probability from 0 to 1"}}};
    const auto equals = word.find('=');
    const FaultKind kind = chosen(word.substr(0, equals), word, kKinds, "is no kind of fault");
    SetFault set{*output, {kind.kind, kind.usual}};
    if (equals == std::string_view::npos) return set;
    if (kind.low == kind.high) throw wrong(word, "takes no number");
    set.fault.amount = labtext::number(word.substr(equals + 1), word, kind.low, kind.high, kind.what);
    if (kind.isWhole && set.fault.amount != std::floor(set.fault.amount)) throw wrong(word, kind.what);
    return set;
}

SetQuality qualityOf(std::string_view text)
{
    using Source = SetQuality::Source;
    constexpr std::pair<std::string_view, Source> kSources[] = {{"gps", Source::Gps},
                                                                {"pva", Source::PositionVelocityAttitude},
                                                                {"utc", Source::UTCTime},
                                                                {"pnt", Source::HalvexPNT}};
    Words words(text, "quality");
    const std::string name = words.take("a source");
    const Source source = chosen(name, name, kSources, "has no quality");
    const std::string factor = words.take("a factor");
    words.expectEnd();
    return {source, labtext::number(factor, factor, 0.0, 1e6, "is no factor from 0 to 1000000")};
}

bool beginsHappening(std::string_view word)
{
    return std::ranges::any_of(kHappenings, [word](const auto& one) { return one.first == word; });
}

Happening happeningOf(std::string_view text)
{
    Words words(text);
    const std::string first = words.take("what happens");
    const auto onlyWord = [&words](const char* what) {
        std::string word = words.take(what);
        words.expectEnd();
        return word;
    };
    switch (chosen(first, first, kHappenings, "is nothing that happens")) {
    case Word::Threat:
        return threatReportOf(words.rest());
    case Word::Warn:
        return warningOf(words.rest());
    case Word::GpsLost:
        words.expectEnd();
        return SetGps{true};
    case Word::GpsBack:
        words.expectEnd();
        return SetGps{false};
    case Word::Answers:
        return answersOf(onlyWord("how commands are answered"));
    case Word::Silent:
        return SetSilence{componentOf(onlyWord("a component")), true};
    case Word::Speaking:
        return SetSilence{componentOf(onlyWord("a component")), false};
    case Word::Bit:
        return findingOf(onlyWord("a server"));
    case Word::Command:
        if (words.atEnd()) words.take("a text");
        return SendCommand{std::string(words.rest())};
    case Word::Fault:
        return faultOf(words.rest());
    case Word::Quality:
        return qualityOf(words.rest());
    }
    throw wrong(first, "is nothing that happens");
}

Window windowOf(std::string_view word)
{
    const auto ends = labtext::endsOf(word);
    if (!ends) throw wrong(word, "is not of the form FROM..TO");
    constexpr const char* kWhat = "has no number of seconds";
    Window window;
    window.from = labtext::number(ends->from, word, 0.0, kLatestSecond, kWhat);
    if (!ends->to.empty()) window.to = labtext::number(ends->to, word, 0.0, kLatestSecond, kWhat);
    if (window.to <= window.from) throw wrong(word, "ends before it begins");
    return window;
}

Happening endOf(const Happening& begin)
{
    if (const auto* const fault = std::get_if<SetFault>(&begin)) return SetFault{fault->output, Fault()};
    return SetQuality{std::get<SetQuality>(begin).source, 1.0};
}

std::vector<Event> stretchOf(std::string_view key, std::string_view text)
{
    if (text.empty()) throw wrong(key, "needs behind it what, and FROM..TO");
    const auto blank = text.find_last_of(" \t");
    const std::string_view last = text.substr(blank == std::string_view::npos ? 0 : blank + 1);
    if (!labtext::endsOf(last) && (last.front() < '0' || last.front() > '9')) {
        happeningOf(std::string(key) + ' ' + std::string(text));  // what is missing before it is told first
        throw wrong(last, "needs behind it FROM..TO");
    }
    const Window window = windowOf(last);
    const Happening begin =
        happeningOf(std::string(key) + ' ' + std::string(text.substr(0, text.size() - last.size())));
    std::vector<Event> events = {{window.from, begin}};
    if (std::isfinite(window.to)) events.push_back({window.to, endOf(begin)});
    return events;
}

std::optional<Event> eventOf(std::string_view line)
{
    if (labtext::isBlankOrNote(line)) return std::nullopt;
    Words words(line);
    if (!words.skip("at")) throw wrong(words.take(""), "stands where at SECONDS is expected");
    const double seconds = labtext::seconds(words.take("a number of seconds"), 0.0, kLatestSecond);
    if (words.atEnd()) words.take("what happens then");
    return Event{seconds, happeningOf(words.rest())};
}

}  // namespace unitsim
