#include "lab/unit/TrackFile.h"

#include "lab/text/Lines.h"
#include "lab/text/Words.h"
#include "lab/unit/EventText.h"

#include <tinyxml2.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numbers>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace unitsim {

using QD_K71T_geometry::Vector3d;

namespace {

constexpr double kHighest = 100e3;  // m

Vector3d placeOf(std::string_view latitude, std::string_view longitude, std::string_view height)
{
    constexpr double kDegree = std::numbers::pi / 180.0;
    const double north = labtext::number(latitude, latitude, -90.0, 90.0, "is no latitude from -90 to 90");
    const double east = labtext::number(longitude, longitude, -180.0, 180.0, "is no longitude from -180 to 180");
    const double up = height.empty() ? 0.0 : labtext::number(height, height, -kHighest, kHighest, "is no height");
    return {north * kDegree, east * kDegree, up};
}

/// A track from points whose times are of any scale.
class Track {
public:
    void add(double seconds, const Vector3d& place, std::string_view time)
    {
        if (m_points.empty()) m_first = seconds;
        const double fromFirst = seconds - m_first;
        if (!m_points.empty() && !(fromFirst > m_points.back().seconds))
            throw labtext::wrong(time, "is no later than the point before");
        m_points.push_back({fromFirst, place});
    }

    std::vector<WayPoint> take(const std::string& name)
    {
        if (m_points.empty()) throw std::runtime_error(name + ": has no point");
        return std::move(m_points);
    }

private:
    std::vector<WayPoint> m_points;
    double m_first = 0.0;
};

/// Takes the text before the next comma.
std::string_view takeField(std::string_view& line)
{
    const std::string_view field = line.substr(0, line.find(','));
    line.remove_prefix(std::min(field.size() + 1, line.size()));
    return labtext::trimmed(field);
}

std::optional<int> digits(std::string_view text, std::size_t at, std::size_t count)
{
    if (at + count > text.size()) return std::nullopt;
    int value = 0;
    for (const char digit : text.substr(at, count)) {
        if (digit < '0' || digit > '9') return std::nullopt;
        value = value * 10 + (digit - '0');
    }
    return value;
}

/// "2026-11-22T10:00:00.25Z" in seconds since 1970.
double timeOf(std::string_view text)
{
    using namespace std::chrono;
    const auto wrong = [&] { return labtext::wrong(text, "is no time such as 2026-11-22T10:00:00Z"); };
    const auto year = digits(text, 0, 4), month = digits(text, 5, 2), day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2), minute = digits(text, 14, 2), second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
        text[13] != ':' || text[16] != ':' || text.back() != 'Z')
        throw wrong();
    const year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                              std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 60) throw wrong();
    double fraction = 0.0;
    if (const std::string_view rest = text.substr(19, text.size() - 20); !rest.empty()) {
        if (rest.front() != '.' || rest.find_first_not_of("0123456789", 1) != std::string_view::npos) throw wrong();
        fraction = labtext::number("0" + std::string(rest), text, 0.0, 1.0, "is no time");
    }
    const sys_seconds time = sys_days(date) + hours(*hour) + minutes(*minute) + seconds(*second);
    return static_cast<double>(time.time_since_epoch().count()) + fraction;
}

std::string_view textOf(const tinyxml2::XMLElement& parent, const char* name)
{
    const tinyxml2::XMLElement* const element = parent.FirstChildElement(name);
    const char* const text = element ? element->GetText() : nullptr;
    return text ? labtext::trimmed(text) : std::string_view();
}

/// Where a text ends behind `begin`; the end of all if it is not there.
std::size_t behind(std::string_view text, std::string_view end, std::size_t begin)
{
    const auto found = text.find(end, begin);
    return found == std::string_view::npos ? text.size() : found + end.size();
}

/// Of the element of a text of XML that has most of them: the library that reads it compares each with all before it.
std::size_t attributesAtMost(std::string_view text)
{
    std::size_t most = 0;
    for (std::size_t at = text.find('<'); at < text.size(); at = text.find('<', at)) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<!--")) {
            at = behind(text, "-->", at + 4);
        } else if (rest.starts_with("<![CDATA[")) {
            at = behind(text, "]]>", at + 9);
        } else if (rest.starts_with("<?")) {
            at = behind(text, "?>", at + 2);
        } else if (rest.starts_with("<!")) {
            at = behind(text, ">", at + 2);
        } else {
            std::size_t count = 0;
            while (++at < text.size() && text[at] != '>') {
                if (text[at] == '=') ++count;
                if (text[at] == '"' || text[at] == '\'') at = behind(text, text.substr(at, 1), at + 1) - 1;
            }
            most = std::max(most, count);
        }
    }
    return most;
}

void addPoint(Track& track, const tinyxml2::XMLElement& point)
{
    const char* const latitude = point.Attribute("lat");
    const char* const longitude = point.Attribute("lon");
    if (!latitude || !longitude) throw labtext::wrong("trkpt", "needs lat and lon");
    const std::string_view time = textOf(point, "time");
    if (time.empty()) throw labtext::wrong("trkpt", "needs a time");
    const double seconds = timeOf(time);
    track.add(seconds, placeOf(latitude, longitude, textOf(point, "ele")), time);
}

}  // namespace

std::vector<WayPoint> trackOfCsv(const std::string& text, const std::string& name)
{
    std::istringstream file(text);
    Track track;
    bool isFirst = true;
    labtext::readLines(file, name, [&](std::size_t, std::string_view line) {
        line = labtext::trimmed(line);
        const bool mayBeNames = std::exchange(isFirst, false);
        const char begin = line.front();
        if (mayBeNames && ((begin >= 'a' && begin <= 'z') || (begin >= 'A' && begin <= 'Z'))) return;
        const std::string_view time = takeField(line);
        const std::string_view latitude = takeField(line);
        const std::string_view longitude = takeField(line);
        const std::string_view height = takeField(line);
        if (!line.empty()) throw labtext::wrong(line, "is one field too many");
        const double seconds = labtext::seconds(time, 0.0, kLatestSecond);
        track.add(seconds, placeOf(latitude, longitude, height), time);
    });
    return track.take(name);
}

std::vector<WayPoint> trackOfGpx(const std::string& text, const std::string& name)
{
    if (attributesAtMost(text) > kMostAttributes)
        throw std::runtime_error(name + ": an element has more than " + std::to_string(kMostAttributes) +
                                 " attributes");
    tinyxml2::XMLDocument document;
    if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS)
        throw std::runtime_error(name + ":" + std::to_string(document.ErrorLineNum()) +
                                 ": is no XML: " + tinyxml2::XMLDocument::ErrorIDToName(document.ErrorID()));
    const tinyxml2::XMLElement* const root = document.FirstChildElement("gpx");
    if (!root) throw std::runtime_error(name + ": has no element gpx");
    Track track;
    for (auto* one = root->FirstChildElement("trk"); one; one = one->NextSiblingElement("trk"))
        for (auto* part = one->FirstChildElement("trkseg"); part; part = part->NextSiblingElement("trkseg"))
            for (auto* point = part->FirstChildElement("trkpt"); point; point = point->NextSiblingElement("trkpt")) {
                try {
                    addPoint(track, *point);
                } catch (const std::invalid_argument& error) {
                    throw std::runtime_error(name + ":" + std::to_string(point->GetLineNum()) + ": " + error.what());
                }
            }
    return track.take(name);
}

std::string textOfFile(const std::string& name)
{
    // A pipe would be waited for, and a device need not end.
    std::error_code ignored;
    std::ifstream file;
    if (std::filesystem::is_regular_file(name, ignored)) file.open(name, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error(name + ": can't be read");
    if (std::filesystem::file_size(name, ignored) > labtext::kLargestFileBytes)
        throw std::runtime_error(name + ": is larger than 64 MiB");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (file.bad()) throw std::runtime_error(name + ": can't be read");
    return text;
}

std::vector<WayPoint> readTrack(const std::string& name)
{
    std::string text = textOfFile(name);
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);  // the mark of UTF-8
    const auto begin = text.find_first_not_of(" \t\r\n");
    const bool isXml = begin != std::string::npos && text[begin] == '<';
    return isXml ? trackOfGpx(text, name) : trackOfCsv(text, name);
}

}  // namespace unitsim
