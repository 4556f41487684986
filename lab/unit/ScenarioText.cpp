#include "lab/unit/ScenarioText.h"

#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/EventText.h"
#include "lab/unit/TrackFile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace unitsim {

using labtext::chosen;
using labtext::Words;
using labtext::wrong;
using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

/// The next word as a number.
/// @param name  of the number
/// @param what  of a word that is none
double numberOf(Words& words, const char* name, double low, double high, const char* what)
{
    const std::string word = words.take(name);
    return labtext::number(word, word, low, high, what);
}

/// Latitude and longitude in degrees, and "alt METRES" if it stands there.
Vector3d placeOf(Words& words, double usualHeight)
{
    const double latitude = numberOf(words, "a latitude", -90.0, 90.0, "is no latitude from -90 to 90");
    const double longitude = numberOf(words, "a longitude", -180.0, 180.0, "is no longitude from -180 to 180");
    double height = usualHeight;
    if (words.skip("alt")) height = numberOf(words, "a height", -1000.0, 100e3, "is no height from -1000 to 100000");
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
        Words words(line);
        const std::string first = words.take("");
        const bool isLine = std::ranges::any_of(kLines, [&](const auto& one) { return one.first == first; });
        if (!isLine && beginsHappening(first)) throw wrong(first, "needs a time before it: at SECONDS");
        switch (chosen(first, first, kLines, "is no line of a scenario")) {
        case Line::At:
            if (auto event = eventOf(line)) m_scenario.events.push_back(std::move(*event));
            return;
        case Line::Place:
            return place(words);
        case Line::Drive:
            return drive(words);
        case Line::Stand:
            return stand(words);
        case Line::Track:
            return track(words.rest());
        case Line::Fault:
        case Line::Quality:
            return stretch(first, words.rest());
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
    void place(Words& words)
    {
        enum class What { Vehicle, Jammer };
        constexpr std::pair<std::string_view, What> kWhats[] = {{"vehicle", What::Vehicle}, {"jammer", What::Jammer}};
        const std::string word = words.take("vehicle or jammer");
        const What what = chosen(word, word, kWhats, "is nothing that has a place");
        expect(words, "at", "at LATITUDE LONGITUDE");
        if (what == What::Jammer) return jammer(words);
        if (m_scenario.world.drive) throw wrong(word, "has a place already, or has set off");
        const Vector3d position = placeOf(words, 0.0);
        std::optional<double> heading;
        if (words.skip("heading"))
            heading = numberOf(words, "a heading", 0.0, 360.0, "is no heading from 0 to 360") * kDegree;
        words.expectEnd({"alt", "heading"});
        m_scenario.world.drive.emplace(position, heading);
    }

    void jammer(Words& words)
    {
        if (m_scenario.world.jammers.size() == World::kMostJammers)
            throw wrong("jammer", "is one too many: the sensor tells of nine");
        Jammer jammer;
        jammer.position = placeOf(words, 0.0);
        expect(words, "power", "power DBM");
        jammer.powerDbm = numberOf(words, "dBm", -100.0, 100.0, "is no power from -100 to 100 dBm");
        if (words.skip("center"))
            jammer.centerMhz = numberOf(words, "MHz", 1.0, 3276.75, "is no frequency from 1 to 3276.75");
        if (words.skip("bw"))
            jammer.bandwidthMhz = numberOf(words, "MHz", 0.001, 65.535, "is no bandwidth from 0.001 to 65.535");
        if (words.skip("on")) jammer.when = windowOf(words.take("FROM..TO"));
        words.expectEnd({"alt", "center", "bw", "on"});
        m_scenario.world.jammers.push_back(jammer);
    }

    /// Takes a word that must stand there.
    /// @param form  with what is behind it
    static void expect(Words& words, std::string_view word, const std::string& form)
    {
        if (words.skip(word)) return;
        throw wrong(words.take(form), "stands where " + form + " is expected");
    }

    /// The drive, begun where the usual course begins if no place was told.
    Drive& begun()
    {
        if (m_hasTrack) throw wrong("track", "tells the whole drive already");
        if (!m_scenario.world.drive) m_scenario.world.drive.emplace(Course::at(0.0).position);
        return *m_scenario.world.drive;
    }

    void drive(Words& words)
    {
        Drive& drive = begun();
        const Vector3d place = placeOf(words, drive.points().back().position[2]);
        expect(words, "at", "at METRES-A-SECOND");
        const double speed = numberOf(words, "metres a second", 0.01, 10e3, "is no speed from 0.01 to 10000 m/s");
        words.expectEnd();
        drive.to(place, speed);
    }

    void stand(Words& words)
    {
        const double seconds = labtext::seconds(words.take("a number of seconds"), 0.0, kLatestSecond);
        words.expectEnd();
        begun().stand(seconds);
    }

    void track(std::string_view file)
    {
        if (file.empty()) throw wrong("track", "needs behind it a file");
        if (m_scenario.world.drive) throw wrong("track", "stands beside another track, drive or place");
        const std::vector<WayPoint> points = m_track(std::string(file));
        if (points.empty()) throw wrong(file, "has no point");
        Drive drive(points.front().position);
        for (auto point = points.begin() + 1; point != points.end(); ++point) drive.add(*point);
        m_scenario.world.drive = std::move(drive);
        m_hasTrack = true;
    }

    /// Stretches of one thing don't overlap.
    void stretch(std::string_view key, std::string_view text)
    {
        const std::vector<Event> events = stretchOf(key, text);
        const double from = events.front().seconds,
                     to = events.size() > 1 ? events.back().seconds : std::numeric_limits<double>::infinity();
        std::map<double, double>& others = stretchesLike(events.front().what);
        const auto later = others.lower_bound(from);
        if ((later != others.end() && later->first < to) ||
            (later != others.begin() && std::prev(later)->second > from))
            throw wrong(text.substr(text.find_last_of(" \t") + 1), "overlaps an earlier line of the same");
        others.emplace(from, to);
        m_scenario.events.push_back(events.front());
        m_ends.insert(m_ends.end(), events.begin() + 1, events.end());
    }

    /// Of one output or source, of which there are few; from begin to end.
    std::map<double, double>& stretchesLike(const Happening& begin)
    {
        const Happening over = endOf(begin);
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
    labtext::readLines(file, name, [&](std::size_t, std::string_view line) { reader.take(line); });
    return reader.finished();
}

Scenario readScenario(const std::string& name)
{
    std::istringstream file(textOfFile(name));
    const auto folder = std::filesystem::path(name).parent_path();
    return scenarioOf(file, name, [&](const std::string& track) { return readTrack((folder / track).string()); });
}

}  // namespace unitsim
