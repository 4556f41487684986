#include "lab/ctl/report/BusReport.h"

#include "lab/ctl/why/BusText.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvanectl {

namespace {

/// Of a record of the navigation, and to which step they are told.
constexpr struct {
    const char* name;
    const char* member;
    const char* valid;
    double step;
} kErrors[] = {{"horizontal", "horizontalPositionError_m", "horizontalPositionErrorValid", 0.001},
               {"vertical", "verticalPositionError_m", "verticalPositionErrorValid", 0.001},
               {"fom", "fom", "fomValid", 1},
               {"efom", "efom", "efomValid", 1},
               {"tfom", "tfom", "tfomValid", 1},
               {"assurance", "assuranceConfidence", "assuranceKnown", 0.01}};

Json orNull(const std::optional<double>& value, double scale, double step)
{
    return value ? roundedTo(*value * scale, step) : Json();
}

}  // namespace

void BusReport::Spans::extend(const std::string& text, double seconds)
{
    if (open.size() >= kMostOpen && !open.contains(text)) return;
    const auto [found, isNew] = open.try_emplace(text, Span{seconds, seconds, text});
    if (!isNew) found->second.to = seconds;
}

/// Those that were not extended at that time are over.
void BusReport::Spans::closeOthers(double seconds)
{
    std::erase_if(open, [&](const auto& row) {
        const bool isOver = row.second.to < seconds;
        if (isOver) closed.add(row.second);
        return isOver;
    });
}

Json BusReport::Spans::json() const
{
    std::vector<Span> all = closed.values();
    for (const auto& row : open) all.push_back(row.second);
    std::ranges::sort(
        all, [](const Span& a, const Span& b) { return a.from != b.from ? a.from < b.from : a.text < b.text; });
    Json rows = Json::array();
    for (const Span& span : all) rows.push_back({roundedTo(span.from, 0.001), roundedTo(span.to, 0.001), span.text});
    return {{"count", closed.count() + open.size()}, {"leftOut", closed.leftOut()}, {"spans", rows}};
}

void BusReport::take(const Json& line, double seconds, double told)
{
    ++m_lines;
    if (!line.is_object()) return;
    const TopicStatistics::Time now{};  // the notes' own time is not used
    BusNotes notes;
    m_board.take(line, now, notes);
    if (notes.clearData.time) noteClearData(seconds, notes.clearData.text);
    if (notes.builtInTest.time) noteBuiltInTest(seconds, notes.builtInTest.text);
    if (line.contains("last")) return;
    const std::string type = bus::text(line, "type");
    if (type == "service") note(m_service, seconds, m_board.state());
    if (type == "faults") {
        std::string text = "no faults";
        if (const std::size_t count = bus::list(line, "faults").size(); count > 0)
            text = std::to_string(count) + (count == 1 ? " fault" : " faults") + " raised";
        note(m_service, seconds, text);
    }
    if (type == "tell") takeTell(line, seconds, told);
}

void BusReport::takeTell(const Json& line, double seconds, double told)
{
    const std::string name = bus::text(line, "tell");
    auto found = std::ranges::find(m_publications, name, &std::pair<std::string, Regularity>::first);
    if (found == m_publications.end()) {
        if (m_publications.size() >= kMostNames) return;
        found = m_publications.insert(found, {name, Regularity()});
    }
    found->second.take(told);
    const Json& record = bus::record(line);
    if (bus::isToldNow(line, "blended-navigation")) takeNavigation(record, seconds);
    if (name == "navwar-sa") takeThreats(record, seconds);
    if (name == "warning-messages") takeWarnings(record, seconds);
}

void BusReport::takeNavigation(const Json& record, double seconds)
{
    for (const auto& error : kErrors) {
        const auto value = bus::number(record, error.member, error.valid);
        if (!value) continue;
        Error& course = m_errors[error.name];
        course.course.append(seconds, *value);
        course.spread.add(*value);
    }
    const auto gps = bus::count(record, "gpsAvailability");
    if (m_lostSince) m_gpsLost += seconds - *m_lostSince;
    m_lostSince = gps == 2 ? std::optional(seconds) : std::nullopt;
    m_gps.extend(gps == 1 ? "available" : gps == 2 ? "not available" : "not known", seconds);
    m_gps.closeOthers(seconds);
}

void BusReport::takeThreats(const Json& record, double seconds)
{
    Json rows = Json::array();
    for (const Json& threat : bus::list(record, "threats")) {
        const auto azimuth = bus::number(threat, "azimuth_rad"), elevation = bus::number(threat, "elevation_rad");
        if (!azimuth || !elevation || rows.size() >= kMostRows) continue;
        constexpr double kDegrees = 180 / std::numbers::pi;
        const Json azimuthDegrees = roundedTo(*azimuth * kDegrees, 0.1);
        const Json elevationDegrees = roundedTo(*elevation * kDegrees, 0.1);
        if (azimuthDegrees.is_null() || elevationDegrees.is_null()) continue;
        rows.push_back(
            {{"azimuth", azimuthDegrees},
             {"elevation", elevationDegrees},
             {"power", orNull(bus::number(threat, "power", "powerValid"), 1, 0.1)},
             {"confidence", orNull(bus::number(threat, "azimuthConfidence_percent", "azimuthConfidenceValid"), 1, 1)},
             {"megahertz", orNull(bus::number(threat, "centreFrequency_Hz"), 1e-6, 0.001)},
             {"sensor", bus::text(threat, "sensorName")}});
    }
    m_threatCount.append(seconds, static_cast<double>(rows.size()));
    if (!rows.empty()) m_threats.append(seconds, rows);
}

void BusReport::takeWarnings(const Json& record, double seconds)
{
    std::size_t rows = 0;
    for (const Json& warning : bus::list(record, "warnings")) {
        if (++rows > kMostRows) break;
        const auto number = bus::count(warning, "warningId");
        const std::string text = bus::text(warning, "customText");
        m_warnings.extend((number ? std::to_string(*number) : "?") + (text.empty() ? "" : ' ' + text), seconds);
    }
    m_warnings.closeOthers(seconds);
}

void BusReport::note(EndsList<Mark>& marks, double seconds, const std::string& text)
{
    marks.add({seconds, text.substr(0, kLongestText)});
}

Json BusReport::marksJson(const EndsList<Mark>& marks)
{
    Json rows = Json::array();
    for (const Mark& mark : marks.values()) rows.push_back({roundedTo(mark.seconds, 0.001), mark.text});
    return {{"count", marks.count()}, {"leftOut", marks.leftOut()}, {"marks", rows}};
}

Json BusReport::json() const
{
    Json publications = Json::array(), errors = Json::object(), threats = Json::array();
    for (const auto& [name, regularity] : m_publications) {
        Json row = {{"name", name}};
        row.update(regularity.json());
        publications.push_back(row);
    }
    for (const auto& error : kErrors)
        if (const auto found = m_errors.find(error.name); found != m_errors.end())
            errors[error.name] = {{"spread", found->second.spread.json(error.step)},
                                  {"course", found->second.course.json(error.step == 1 ? 0.01 : error.step)}};
    for (const auto& [seconds, rows] : m_threats.rows())
        threats.push_back({{"seconds", roundedTo(seconds, 0.001)}, {"rows", rows}});
    return {{"publications", publications},
            {"errors", errors},
            {"gps", m_gps.json()},
            {"gpsLost", roundedTo(m_gpsLost, 0.001)},
            {"threats", {{"count", m_threatCount.json(0.01)}, {"looks", threats}}},
            {"warnings", m_warnings.json()},
            {"service", marksJson(m_service)},
            {"clearData", marksJson(m_clearData)},
            {"builtInTests", marksJson(m_builtInTests)}};
}

}  // namespace orvanectl
