#include "lab/ctl/serve/PageModel.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <numbers>
#include <string_view>

namespace orvanectl {

namespace {

using Json = PageModel::Json;

/// What is kept of the bus, and under which name it is shown.
constexpr struct {
    std::string_view tell;
    const char* section;
} kTells[] = {{"blended-navigation", "navigation"}, {"navwar-sa", "navwar"},
              {"warning-messages", "warnings"},     {"system-configuration", "configuration"},
              {"available-outputs", "outputs"},     {"available-sensors", "sensors"},
              {"built-in-test-results", "tests"},   {"execute-built-in-tests", "testBegun"},
              {"clear-system-data", "clearAsked"}};
constexpr const char* kFaults = "faults";

constexpr double kEarthRadius = 6'378'137;  // m; the track is for the eye
constexpr std::size_t kMostRows = 50;       // as the bus has at the most
constexpr std::size_t kLongestText = 512;
constexpr int kDeepest = 8;

std::string textOf(const Json& object, const char* key)
{
    if (!object.is_object()) return "";
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

/// Without what is more than the bus's own library can have.
Json bounded(const Json& value, int depth = 0)
{
    if (depth >= kDeepest) return nullptr;
    if (value.is_string()) return value.get_ref<const std::string&>().substr(0, kLongestText);
    if (!value.is_structured()) return value;
    Json copy = value.is_object() ? Json::object() : Json::array();
    for (const auto& [key, member] : value.items()) {
        if (copy.size() >= kMostRows) break;
        if (value.is_object())
            copy[key.substr(0, kLongestText)] = bounded(member, depth + 1);
        else
            copy.push_back(bounded(member, depth + 1));
    }
    return copy;
}

/// A number that the record says is valid; null for anything else.
Json validNumber(const Json& record, const char* key, const char* valid)
{
    const auto number = record.find(key);
    const auto flag = record.find(valid);
    const bool isValid = flag != record.end() && flag->is_number_integer() && *flag != 0;
    return isValid && number != record.end() && number->is_number() ? *number : Json();
}

/// @param step  a whole part of 1
Json rounded(double value, double step)
{
    const double parts = std::round(1 / step);
    const double scaled = std::round(value * parts) / parts;
    if (!std::isfinite(scaled)) return nullptr;
    return scaled;
}

Json orNull(const std::optional<double>& value, double step)
{
    return value ? rounded(*value, step) : Json();
}

double degrees(double radians)
{
    return radians * 180 / std::numbers::pi;
}

Json topicsJson(const TopView& view)
{
    Json rows = Json::array();
    for (const TopicRow& row : view.topics)
        rows.push_back({{"name", row.name},
                        {"rateHz", orNull(row.rateHz, 0.001)},
                        {"ageSeconds", orNull(row.ageSeconds, 0.1)},
                        {"records", row.records},
                        {"gaps", row.gaps},
                        {"lost", row.lost},
                        {"sources", row.sources}});
    return rows;
}

Json inputsJson(const TopView& view)
{
    Json rows = Json::array();
    for (const InputRow& row : view.inputs)
        rows.push_back({{"name", row.name},
                        {"ageSeconds", orNull(row.ageSeconds, 0.1)},
                        {"offsetSeconds", orNull(row.offsetSeconds, 0.001)}});
    return {{"rows", std::move(rows)}, {"join", view.join}};
}

Json queuesJson(const TopView& view)
{
    Json rows = Json::array();
    for (const QueueRow& row : view.queues)
        rows.push_back({{"name", row.name},
                        {"device", row.device},
                        {"isThere", row.isThere},
                        {"written", row.written},
                        {"taken", row.taken},
                        {"faults", row.faults},
                        {"holders", row.holders}});
    return rows;
}

std::string textOf(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

double PageModel::secondsAt(Time now) const
{
    return std::chrono::duration<double>(now - m_start).count();
}

void PageModel::take(const WatchedTopic& topic, const Sample& sample)
{
    if (topic.type->name != "PositionVelocityAttitude") return;
    takePosition(*static_cast<const aspn2_msgs::idl::PositionVelocityAttitude*>(sample.record.get()),
                 sample.arrival.time);
}

void PageModel::takePosition(const aspn2_msgs::idl::PositionVelocityAttitude& message, Time now)
{
    const double latitude = message.position().latitude(), longitude = message.position().longitude();
    const bool isPlace = std::isfinite(latitude) && std::isfinite(longitude) &&
                         std::abs(latitude) <= std::numbers::pi / 2 && std::abs(longitude) <= 2 * std::numbers::pi;
    if (!isPlace) {
        m_position = {{"error", "the latest position is no place"}};
        return;
    }
    if (!m_origin) m_origin = {longitude, latitude};
    const double along = std::remainder(longitude - m_origin->east, 2 * std::numbers::pi);
    const Point point = {along * std::cos(m_origin->north) * kEarthRadius, (latitude - m_origin->north) * kEarthRadius};
    m_track.append(secondsAt(now), point);

    const auto& covariance = message.covariance();
    const auto ellipse = errorEllipse(covariance[0][0], covariance[0][1], covariance[1][1]);
    m_position = {{"latitudeDegrees", rounded(degrees(latitude), 1e-7)},
                  {"longitudeDegrees", rounded(degrees(longitude), 1e-7)},
                  {"altitudeMetres", rounded(message.position().altitude(), 0.01)},
                  {"headingDegrees", rounded(degrees(message.attitude()[2]), 0.1)},
                  {"speed", rounded(std::hypot(message.velocity()[0], message.velocity()[1]), 0.01)},
                  {"ellipse", nullptr}};
    if (ellipse)
        m_position["ellipse"] = {{"majorMetres", rounded(ellipse->majorMetres, 0.001)},
                                 {"minorMetres", rounded(ellipse->minorMetres, 0.001)},
                                 {"azimuthDegrees", rounded(ellipse->azimuthDegrees, 0.1)}};
}

void PageModel::takeBusLine(const Json& line, Time now)
{
    const std::string type = textOf(line, "type");
    if (type == "service") m_serviceRuns = textOf(line, "phase") == "started" && textOf(line, "event") != "deleted";
    const std::string name = type == "tell" ? textOf(line, "tell") : type == kFaults ? kFaults : "";
    const bool isKept = name == kFaults || std::ranges::find(kTells, name, [](const auto& row) {
                                               return std::string(row.tell);
                                           }) != std::end(kTells);
    if (!isKept) return;
    const bool isPast = line.contains("last");
    m_told.insert_or_assign(name, Told{std::make_shared<const std::string>(textOf(bounded(line))),
                                       isPast ? std::nullopt : std::optional(now)});
    const auto record = line.find("record");
    if (name == kTells[0].tell && !isPast && record != line.end() && record->is_object()) takeErrors(*record, now);
}

void PageModel::takeErrors(const Json& record, Time now)
{
    m_errors.append(secondsAt(now), {validNumber(record, "horizontalPositionError_m", "horizontalPositionErrorValid"),
                                     validNumber(record, "verticalPositionError_m", "verticalPositionErrorValid"),
                                     validNumber(record, "fom", "fomValid"), validNumber(record, "efom", "efomValid"),
                                     validNumber(record, "tfom", "tfomValid")});
}

void PageModel::takeRecorder(const std::optional<RecorderReading>& reading, Time now)
{
    // One that ends at once, since its words were wrong, has recorded nothing.
    const int before = std::exchange(m_recorderBefore, reading ? reading->id : 0);
    if (reading && reading->id == before)
        m_recorder = {*reading, now, true};
    else if (!reading && m_recorder)
        m_recorder->runs = false;
}

FrameBoard::Sections PageModel::sections(const TopView& view, const std::string& trouble, std::uint64_t leftOut,
                                         Time now) const
{
    Json events = Json::array();
    for (const std::string& event : view.events) events.push_back(event);
    FrameBoard::Sections sections = {{"status", textOf(statusJson(view, trouble, leftOut, now))},
                                     {"ages", textOf(agesJson(now))},
                                     {"position", textOf(m_position)},
                                     {"track", textOf(trackJson())},
                                     {"errors", textOf(errorsJson())},
                                     {"inputs", textOf(inputsJson(view))},
                                     {"topics", textOf(topicsJson(view))},
                                     {"queues", textOf(queuesJson(view))},
                                     {"events", textOf(events)}};
    for (const auto& row : kTells)
        if (const auto found = m_told.find(std::string(row.tell)); found != m_told.end())
            sections.emplace_back(row.section, *found->second.line);
    if (const auto found = m_told.find(kFaults); found != m_told.end())
        sections.emplace_back(kFaults, *found->second.line);
    return sections;
}

std::size_t PageModel::weight() const
{
    std::size_t weight = sizeof *this;
    for (const auto& [name, told] : m_told) weight += sizeof(std::string) + sizeof told + told.line->size();
    return weight;
}

Json PageModel::recorderJson(Time now) const
{
    if (!m_recorder) return nullptr;
    const auto& [reading, seen, runs] = *m_recorder;
    return {{"id", reading.id},
            {"file", reading.file},
            {"others", reading.others},
            {"goneSeconds", runs ? Json() : rounded(std::chrono::duration<double>(now - seen).count(), 1)}};
}

Json PageModel::statusJson(const TopView& view, const std::string& trouble, std::uint64_t leftOut, Time now) const
{
    Json process;
    if (view.process)
        process = {{"id", view.process->id},
                   {"cpuPercent", orNull(view.process->cpuPercent, 0.1)},
                   {"residentKiB", view.process->residentKiB},
                   {"threads", view.process->threads},
                   {"others", view.process->others}};
    return {{"seconds", rounded(view.seconds, 1)},
            {"bus", view.bus},
            {"busTrouble", trouble},
            {"serviceRuns", m_serviceRuns},
            {"process", std::move(process)},
            {"recorder", recorderJson(now)},
            {"clearData", view.clearData},
            {"builtInTest", view.builtInTest},
            {"leftOut", leftOut}};
}

/// Points as east and north in metres.
Json PageModel::trackJson() const
{
    Json points = Json::array();
    for (const auto& row : m_track.rows())
        points.push_back({rounded(row.value.east, 0.01), rounded(row.value.north, 0.01)});
    return points;
}

/// Columns, the first of them seconds since the start.
Json PageModel::errorsJson() const
{
    std::array<Json, 6> columns;
    columns.fill(Json::array());
    for (const auto& [seconds, errors] : m_errors.rows()) {
        columns[0].push_back(rounded(seconds, 0.01));
        columns[1].push_back(errors.horizontal);
        columns[2].push_back(errors.vertical);
        columns[3].push_back(errors.fom);
        columns[4].push_back(errors.efom);
        columns[5].push_back(errors.tfom);
    }
    return {{"seconds", columns[0]}, {"horizontal", columns[1]}, {"vertical", columns[2]},
            {"fom", columns[3]},     {"efom", columns[4]},       {"tfom", columns[5]}};
}

/// How long ago each was told; null if it was before the start.
Json PageModel::agesJson(Time now) const
{
    Json ages = Json::object();
    const auto add = [&](std::string_view name, const char* section) {
        const auto found = m_told.find(std::string(name));
        if (found == m_told.end()) return;
        ages[section] = found->second.time
                            ? rounded(std::chrono::duration<double>(now - *found->second.time).count(), 0.1)
                            : Json();
    };
    for (const auto& row : kTells) add(row.tell, row.section);
    add(kFaults, kFaults);
    return ages;
}

}  // namespace orvanectl
