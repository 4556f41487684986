#include "lab/unit/ScenarioText.h"

#include "lab/unit/EventText.h"
#include "lab/unit/TrackFile.h"
#include "lab/unit/Words.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <numbers>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace unitsim {

using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

/// The number behind a key word, which is named if there is none.
double numberBehind(std::string_view& rest, std::string_view key, double low, double high, const char* what)
{
    const std::string_view word = words::argument(rest, key);
    return words::number(word, word, low, high, what);
}

/// "FROM..TO", or "FROM.." without an end.
Window windowOf(std::string_view word)
{
    const auto dots = word.find("..");
    if (dots == std::string_view::npos) throw words::wrong(word, "is not of the form FROM..TO");
    const std::string_view from = word.substr(0, dots), to = word.substr(dots + 2);
    constexpr const char* kWhat = "has no number of seconds";
    Window window;
    window.from = words::number(from, word, 0.0, words::kLatest, kWhat);
    if (!to.empty()) window.to = words::number(to, word, 0.0, words::kLatest, kWhat);
    if (window.to <= window.from) throw words::wrong(word, "ends before it begins");
    return window;
}

/// Latitude and longitude in degrees, and "alt METRES" if it stands there.
Vector3d placeOf(std::string_view& rest, std::string_view behind, double usualHeight)
{
    const double latitude = numberBehind(rest, behind, -90.0, 90.0, "is no latitude from -90 to 90");
    const double longitude = numberBehind(rest, behind, -180.0, 180.0, "is no longitude from -180 to 180");
    double height = usualHeight;
    if (words::peek(rest) == "alt")
        height = numberBehind(rest, words::take(rest), -1000.0, 100e3, "is no height from -1000 to 100000");
    return {latitude * kDegree, longitude * kDegree, height};
}

/// Takes lines one after the other.
class Reader {
public:
    explicit Reader(const TrackReader& track) : m_track(track) {}

    void take(std::string_view line)
    {
        enum class Line { At, Place, Drive, Stand, Track, Fault, Quality };
        constexpr std::pair<std::string_view, Line> kLines[] = {
            {"at", Line::At},       {"place", Line::Place}, {"drive", Line::Drive},    {"stand", Line::Stand},
            {"track", Line::Track}, {"fault", Line::Fault}, {"quality", Line::Quality}};
        std::string_view rest = line;
        const std::string_view first = words::take(rest);
        if (first.empty() || first.front() == '#') return;
        switch (words::chosen(first, first, kLines, "is no line of a scenario: ")) {
        case Line::At:
            if (auto event = eventOf(line)) m_scenario.events.push_back(std::move(*event));
            return;
        case Line::Place:
            return place(rest);
        case Line::Drive:
            return drive(rest);
        case Line::Stand:
            return stand(rest);
        case Line::Track:
            return track(words::trimmed(rest));
        case Line::Fault:
            return stretch(first, rest, faultEnd);
        case Line::Quality:
            return stretch(first, rest, qualityEnd);
        }
    }

    Scenario finished()
    {
        // In front of whatever begins at that time, so that one stretch may begin where another ends.
        m_scenario.events.insert(m_scenario.events.begin(), m_ends.rbegin(), m_ends.rend());
        std::stable_sort(m_scenario.events.begin(), m_scenario.events.end(),
                         [](const Event& one, const Event& other) { return one.seconds < other.seconds; });
        return std::move(m_scenario);
    }

private:
    void place(std::string_view rest)
    {
        enum class What { Vehicle, Jammer };
        constexpr std::pair<std::string_view, What> kWhats[] = {{"vehicle", What::Vehicle}, {"jammer", What::Jammer}};
        const std::string_view word = words::argument(rest, "place");
        const What what = words::chosen(word, word, kWhats, "is nothing that has a place: ");
        if (const std::string_view at = words::argument(rest, word); at != "at")
            throw words::wrong(at, "stands where at LATITUDE LONGITUDE is expected");
        if (what == What::Jammer) return jammer(rest);
        if (m_scenario.world.drive) throw words::wrong(word, "has a place already, or has set off");
        const Vector3d position = placeOf(rest, "at", 0.0);
        std::optional<double> heading;
        if (words::peek(rest) == "heading")
            heading = numberBehind(rest, words::take(rest), 0.0, 360.0, "is no heading from 0 to 360") * kDegree;
        words::expectEnd(rest);
        m_scenario.world.drive.emplace(position, heading);
    }

    void jammer(std::string_view rest)
    {
        if (m_scenario.world.jammers.size() == World::kMostJammers)
            throw words::wrong("jammer", "is one too many: the sensor tells of nine");
        Jammer jammer;
        jammer.position = placeOf(rest, "at", 0.0);
        if (const std::string_view word = words::argument(rest, "at"); word != "power")
            throw words::wrong(word, "stands where power DBM is expected");
        jammer.powerDbm = numberBehind(rest, "power", -100.0, 100.0, "is no power from -100 to 100 dBm");
        if (words::peek(rest) == "center")
            jammer.centerMhz = numberBehind(rest, words::take(rest), 1.0, 3276.75, "is no frequency from 1 to 3276.75");
        if (words::peek(rest) == "bw")
            jammer.bandwidthMhz =
                numberBehind(rest, words::take(rest), 0.001, 65.535, "is no bandwidth from 0.001 to 65.535");
        if (words::peek(rest) == "on") jammer.when = windowOf(words::argument(rest, words::take(rest)));
        words::expectEnd(rest);
        m_scenario.world.jammers.push_back(jammer);
    }

    /// The drive, begun where the usual course begins if no place was told.
    Drive& begun()
    {
        if (m_hasTrack) throw words::wrong("track", "tells the whole drive already");
        if (!m_scenario.world.drive) m_scenario.world.drive.emplace(Course::at(0.0).position);
        return *m_scenario.world.drive;
    }

    void drive(std::string_view rest)
    {
        Drive& drive = begun();
        const Vector3d place = placeOf(rest, "drive", drive.points().back().position[2]);
        if (const std::string_view word = words::argument(rest, "drive"); word != "at")
            throw words::wrong(word, "stands where at METRES-A-SECOND is expected");
        const double speed = numberBehind(rest, "at", 0.01, 10e3, "is no speed from 0.01 to 10000 m/s");
        words::expectEnd(rest);
        drive.to(place, speed);
    }

    void stand(std::string_view rest)
    {
        const double seconds = words::seconds(words::argument(rest, "stand"));
        words::expectEnd(rest);
        begun().stand(seconds);
    }

    void track(std::string_view file)
    {
        if (file.empty()) throw words::wrong("track", "needs a file behind it");
        if (m_scenario.world.drive) throw words::wrong("track", "stands beside another track, drive or place");
        const std::vector<WayPoint> points = m_track(std::string(file));
        if (points.empty()) throw words::wrong(file, "has no point");
        Drive drive(points.front().position);
        for (auto point = points.begin() + 1; point != points.end(); ++point) drive.add(*point);
        m_scenario.world.drive = std::move(drive);
        m_hasTrack = true;
    }

    static Happening faultEnd(const Happening& begin) { return SetFault{std::get<SetFault>(begin).output, Fault()}; }
    static Happening qualityEnd(const Happening& begin) { return SetQuality{std::get<SetQuality>(begin).source, 1.0}; }

    /// "fault pva stuck 20..60": what happens at the begin, and what ends it. Stretches of one thing don't overlap.
    void stretch(std::string_view key, std::string_view rest, Happening (*end)(const Happening&))
    {
        const std::string_view text = words::trimmed(rest);
        const auto blank = text.find_last_of(words::kBlanks);
        const std::string_view last = text.substr(blank == std::string_view::npos ? 0 : blank + 1);
        const Window window = windowOf(last.empty() ? key : last);
        const std::string begin = std::string(key) + ' ' + std::string(text.substr(0, text.size() - last.size()));
        const Happening happening = happeningOf(begin);
        const Happening over = end(happening);
        std::map<double, double>& others = stretchesThatEndBy(over);
        const auto later = others.lower_bound(window.from);
        if ((later != others.end() && later->first < window.to) ||
            (later != others.begin() && std::prev(later)->second > window.from))
            throw words::wrong(last, "overlaps an earlier line of the same");
        others.emplace(window.from, window.to);
        m_scenario.events.push_back({window.from, happening});
        if (std::isfinite(window.to)) m_ends.push_back({window.to, over});
    }

    /// Of one output or source, of which there are few; from begin to end.
    std::map<double, double>& stretchesThatEndBy(const Happening& over)
    {
        for (auto& [other, stretches] : m_stretches)
            if (other == over) return stretches;
        return m_stretches.emplace_back(over, std::map<double, double>()).second;
    }

    const TrackReader& m_track;
    Scenario m_scenario;
    bool m_hasTrack = false;
    std::vector<Event> m_ends;  // of stretches
    std::vector<std::pair<Happening, std::map<double, double>>> m_stretches;
};

}  // namespace

Scenario scenarioOf(std::istream& file, const std::string& name, const TrackReader& track)
{
    Reader reader(track);
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        try {
            reader.take(line);
        } catch (const std::invalid_argument& error) {
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        } catch (const std::runtime_error& error) {  // of a track
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    if (file.bad()) throw std::runtime_error(name + ": can't be read");
    return reader.finished();
}

Scenario readScenario(const std::string& name)
{
    std::istringstream file(textOfFile(name));
    const auto folder = std::filesystem::path(name).parent_path();
    return scenarioOf(file, name, [&](const std::string& track) { return readTrack((folder / track).string()); });
}

}  // namespace unitsim
