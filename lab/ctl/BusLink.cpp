#include "lab/ctl/BusLink.h"

#include "lab/ctl/FrameDecoder.h"

#include <iomanip>
#include <numbers>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

/// A plain value in letters that a terminal may get, nothing for one that is not there.
std::string shown(const Json& object, const char* key)
{
    if (!object.is_object() || !object.contains(key)) return "";
    const Json& value = object[key];
    return printable(value.is_string() ? value.get<std::string>() : value.dump());
}

struct Shown {
    const char* label;
    const char* key;
};

template <std::size_t Size>
std::string listed(const Json& object, const Shown (&rows)[Size])
{
    std::string text;
    for (const Shown& row : rows)
        if (const std::string value = shown(object, row.key); !value.empty())
            text += std::string("  ") + row.label + ' ' + value;
    return text;
}

constexpr Shown kOfRecord[] = {
    {"gps s", "gpsSeconds"},
    {"fom", "fom"},
    {"efom", "efom"},
    {"tfom", "tfom"},
    {"horizontal m", "horizontalPositionError_m"},
    {"vertical m", "verticalPositionError_m"},
    {"horizontal m/s", "horizontalVelocityError_m_per_s"},
    {"vertical m/s", "verticalVelocityError_m_per_s"},
    {"time ms", "timeError_ms"},
    {"attitude deg", "attitudeError_deg"},
    {"assurance", "assuranceConfidence"},
    {"gps", "gpsAvailability"},
    {"sources", "sourceCount"},
    {"threats", "threatCount"},
    {"warnings", "warningCount"},
    {"name", "systemName"},
    {"components", "componentCount"},
    {"outputs", "outputCount"},
    {"sensors", "sensorCount"},
    {"tests", "resultCount"},
};

std::string degrees(const Json& object, const char* key)
{
    if (!object.is_object() || !object.contains(key) || !object[key].is_number()) return "?";
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << object[key].get<double>() * 180.0 / std::numbers::pi;
    return text.str();
}

std::string twoDigits(const Json& object, const char* key)
{
    const std::string text = shown(object, key);
    return text.size() == 1 ? '0' + text : text;
}

/// A time of the bus, which has no zone; to the millisecond.
std::string timeShown(const Json& time)
{
    const std::string nanoseconds = shown(time, "nanoseconds");
    const std::string digits = nanoseconds.size() < 9 ? std::string(9 - nanoseconds.size(), '0') : "";
    return shown(time, "year") + '-' + twoDigits(time, "month") + '-' + twoDigits(time, "day") + ' ' +
           twoDigits(time, "hour") + ':' + twoDigits(time, "minute") + ':' + twoDigits(time, "seconds") + '.' +
           (digits + nanoseconds).substr(0, 3);
}

std::string sourceShown(const Json& row)
{
    const std::string text = shown(row, "description");
    return shown(row, "sourceType") + (text.empty() ? "" : " \"" + text + '"');
}

std::string threatShown(const Json& row)
{
    return "az deg " + degrees(row, "azimuth_rad") + " el deg " + degrees(row, "elevation_rad") + " Hz " +
           shown(row, "centreFrequency_Hz");
}

std::string warningShown(const Json& row)
{
    const std::string text = shown(row, "customText");
    return shown(row, "warningId") + (text.empty() ? "" : " \"" + text + '"');
}

std::string componentShown(const Json& row)
{
    return shown(row, "componentId") + ' ' + shown(row, "name");
}

std::string sensorShown(const Json& row)
{
    return shown(row, "sensorId");
}

std::string testedSensorShown(const Json& row)
{
    return shown(row, "sensorId") + ' ' + testStatusText(row);
}

std::string faultShown(const Json& row)
{
    return shown(row, "id") + " severity " + shown(row, "severity") + " \"" + shown(row, "text") + '"';
}

/// The rows of a list behind each other; nothing of what is none.
std::string rowsShown(const Json& record, const char* key, std::string (*row)(const Json&))
{
    if (!record.is_object() || !record.contains(key) || !record[key].is_array() || record[key].empty()) return "";
    std::string text;
    for (const Json& one : record[key]) text += (text.empty() ? " [" : "; ") + row(one);
    return text + ']';
}

std::string testShown(const Json& row)
{
    return shown(row, "builtInTestId") + ' ' + testStatusText(row) + rowsShown(row, "sensors", testedSensorShown);
}

constexpr struct {
    const char* key;
    std::string (*row)(const Json&);
} kLists[] = {{"sources", sourceShown},       {"threats", threatShown}, {"warnings", warningShown},
              {"components", componentShown}, {"sensors", sensorShown}, {"results", testShown}};

constexpr Shown kOfLine[] = {
    {"result", "result"},
    {"expected s", "expectedSeconds"},
    {"test", "id"},
    {"cleared", "cleared"},
    {"service", "service"},
    {"event", "event"},
    {"held ms", "milliseconds"},
    {"lines", "lines"},
    {"what", "what"},
    {"ok", "ok"},
    {"returned", "returned"},
    {"error", "error"},
    {"protocol", "protocol"},
};

std::string titleOf(const Json& line)
{
    for (const char* key : {"tell", "request", "type"})
        if (std::string title = shown(line, key); !title.empty()) return title;
    return "?";
}

}  // namespace

void BusLink::send(const Json& request)
{
    m_lines.send(request.dump(-1, ' ', false, Json::error_handler_t::replace));
}

BusLink::Json BusLink::ask(Json request, const std::function<void(const Json&)>& onTold)
{
    // So that nobody else's request is taken for this one.
    const std::string id = "orvanectl-" + std::to_string(::getpid());
    const auto isOwn = [&](const Json& named) { return shown(named, "id") == id; };
    request["id"] = id;
    send(request);
    while (const auto text = nextLine()) {
        Json line = Json::parse(*text, nullptr, false);
        const std::string type = shown(line, "type");
        if (type == "error" || (type == "answer" && isOwn(line))) return line;
        const bool isNew = type == "tell" && !line.contains("last") && line.contains("during");
        if (onTold && isNew && isOwn(line["during"])) onTold(line);
    }
    throw std::runtime_error("the bus has closed without an answer");
}

std::string testStatusText(const Json& row)
{
    constexpr const char* kNames[] = {"queued", "running", "failed", "passed"};
    const std::string status = shown(row, "status");
    return status.size() == 1 && status[0] >= '0' && status[0] <= '3' ? kNames[status[0] - '0'] : "status " + status;
}

std::string busSummary(const Json& line)
{
    const std::string number = shown(line, "number");
    std::string text = (number.empty() ? "" : number + ' ') + titleOf(line);
    if (line.is_object() && line.contains("last")) text += " (last)";
    if (line.is_object() && line.contains("timeOfValidity") && line["timeOfValidity"].is_object())
        text += "  " + timeShown(line["timeOfValidity"]);
    if (line.is_object() && line.contains("record")) {
        text += listed(line["record"], kOfRecord);
        for (const auto& list : kLists) text += rowsShown(line["record"], list.key, list.row);
    }
    text += listed(line, kOfLine);
    if (line.is_object() && line.contains("faults"))
        text += "  faults " + std::to_string(line["faults"].size()) + rowsShown(line, "faults", faultShown);
    return text;
}

}  // namespace orvanectl
