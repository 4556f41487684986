#include "lab/ctl/RecordText.h"

#include "ASPN/AspnDeviceIds.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "lab/ctl/FieldWriting.h"
#include "lab/ctl/Rendering.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <string_view>

namespace orvanectl {

using aspn2_msgs::idl::EventLog;
using aspn2_msgs::idl::MaintenanceEvent;

namespace {

constexpr std::int32_t kNanoseconds = 1'000'000'000;
constexpr const char* kEventTypes[] = {"GENERAL", "STATUS", "INFORMATION", "FAULT", "OPERATION_FAILED", "SEVERE"};

/// Seconds and nanoseconds make one number.
bool isOneNumber(const aspn2_msgs::idl::timestamp& time)
{
    const std::int64_t seconds = time.sec();
    const std::int32_t nanoseconds = time.nsec();
    return nanoseconds > -kNanoseconds && nanoseconds < kNanoseconds &&
           ((seconds <= 0 && nanoseconds <= 0) || (seconds >= 0 && nanoseconds >= 0));
}

std::string digits(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

/// Time, source and sequence number.
std::string front(const WatchedTopic& topic, const aspn2_msgs::idl::header& header, bool withTopic)
{
    const std::string name = withTopic ? printable(topic.name) + "  " : "";
    return name + timeText(header.timestamp_valid()) + "  " + sourceText(header.device_id()) + "  #" +
           std::to_string(header.seq_num()) + "  ";
}

std::string eventLine(const WatchedTopic& topic, const EventLog& event, bool withTopic)
{
    return front(topic, event.header(), withTopic) + eventTypeText(event.event_log_type()) + "  " +
           printable(event.eventlog()) + '\n';
}

std::string maintenanceLine(const WatchedTopic& topic, const MaintenanceEvent& event, bool withTopic)
{
    const auto textOf = [](const auto& characters) { return printable({characters.data(), characters.size()}); };
    std::ostringstream line;
    line << front(topic, event.header(), withTopic) << textOf(event.identity()) << "  " << textOf(event.description())
         << "  criticality_id " << event.criticality_id() << "  category_id " << event.category_id() << "  location_id "
         << event.location_id() << "  outcome_id " << event.outcome_id() << "  repeat_in_seconds "
         << event.repeat_in_seconds() << "  fault_sources";
    for (const auto& source : event.fault_sources()) line << ' ' << source.lru_id() << '/' << source.component_id();
    line << '\n';
    return line.str();
}

/// A server may send for several parts of itself, each with a device id of its own.
std::vector<std::string> serversOf(const TopicStatistics& statistics)
{
    std::vector<std::string> servers;
    for (const std::int32_t id : statistics.sources())
        if (std::string server = sourceText(id); std::ranges::find(servers, server) == servers.end())
            servers.push_back(std::move(server));
    return servers;
}

std::string sourcesText(const TopicStatistics& statistics)
{
    std::string names;
    for (const std::string& server : serversOf(statistics)) names += (names.empty() ? "" : ", ") + server;
    return names.empty() ? "-" : names;
}

/// Columns of a width each, the first to the left, the others to the right, and the last as it is.
std::string tableRow(const std::vector<std::string>& cells, std::size_t firstWidth)
{
    constexpr std::array kWidths = {0, 10, 11, 9, 6, 9, 6, 6, 6};
    std::ostringstream row;
    row << std::left << std::setw(static_cast<int>(firstWidth)) << cells.front() << std::right;
    for (std::size_t i = 1; i + 1 < cells.size(); ++i) row << std::setw(kWidths.at(i)) << cells[i];
    row << "  " << cells.back() << '\n';
    return row.str();
}

std::vector<std::string> cellsOf(const TopicRate& rate, TopicStatistics::Time now)
{
    TopicStatistics& statistics = *rate.statistics;
    const auto orNone = [](const std::optional<double>& value) { return value ? digits(*value, 3) : "-"; };
    return {printable(rate.topic->name),
            orNone(statistics.rate(now)),
            orNone(statistics.longestInterval(now)),
            std::to_string(statistics.count()),
            std::to_string(statistics.holes().gaps),
            std::to_string(statistics.holes().missing),
            std::to_string(statistics.holes().back),
            std::to_string(statistics.lost()),
            std::to_string(rate.publishers),
            sourcesText(statistics)};
}

std::string plural(std::uint64_t count, const char* one, const char* several)
{
    return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

}  // namespace

std::string timeText(const aspn2_msgs::idl::timestamp& time)
{
    const std::int64_t seconds = time.sec();
    const std::int32_t nanoseconds = time.nsec();
    if (!isOneNumber(time)) return std::to_string(seconds) + " s " + std::to_string(nanoseconds) + " ns";
    const bool isNegative = seconds < 0 || nanoseconds < 0;
    // The lowest number has no magnitude with a sign.
    const std::uint64_t magnitude =
        seconds < 0 ? 0 - static_cast<std::uint64_t>(seconds) : static_cast<std::uint64_t>(seconds);
    std::ostringstream text;
    text << (isNegative ? "-" : "") << magnitude << '.' << std::setw(9) << std::setfill('0') << std::abs(nanoseconds);
    return text.str();
}

std::string sourceText(std::int32_t deviceId)
{
    const auto server = static_cast<std::uint8_t>(static_cast<std::uint32_t>(deviceId) >> 16);
    const std::string_view name = ASPN2::ServerIds::to_string(server);
    if (name == "INVALID_SERVER_ID") return "server " + std::to_string(server);
    return std::string(name) + " (" + std::to_string(server) + ')';
}

std::string eventTypeText(std::uint32_t type)
{
    return type < std::size(kEventTypes) ? kEventTypes[type] : "TYPE " + std::to_string(type);
}

std::string recordJson(const WatchedTopic& topic, const void* record)
{
    JsonLine line;
    line.begin();
    line.member("kind", "record");
    line.member("topic", printable(topic.name));
    line.member("type", topic.type->name);
    line.name("header");
    writeHeader(topic.type->headerOf(record), line);
    line.name("message");
    writeFields(*topic.type, record, line);
    return line.end();
}

std::string recordParagraph(const WatchedTopic& topic, const void* record)
{
    const aspn2_msgs::idl::header& header = topic.type->headerOf(record);
    const std::string heading = printable(topic.name) + " #" + std::to_string(header.seq_num()) + " from " +
                                sourceText(header.device_id()) + ", valid " + timeText(header.timestamp_valid()) +
                                (isOneNumber(header.timestamp_valid()) ? " s" : "");
    return paragraph(heading, {{"header", decodeHeader(header)}, {"message", topic.type->fieldsOf(record)}}, false,
                     {{"header", headerUnits()}, {"message", topic.type->units()}});
}

std::string recordText(const WatchedTopic& topic, const void* record, bool withTopic)
{
    if (topic.type->name == "EventLog") return eventLine(topic, *static_cast<const EventLog*>(record), withTopic);
    if (topic.type->name == "MaintenanceEvent")
        return maintenanceLine(topic, *static_cast<const MaintenanceEvent*>(record), withTopic);
    return recordParagraph(topic, record);
}

std::string rateTable(const std::vector<TopicRate>& rates, TopicStatistics::Time now)
{
    constexpr std::string_view kHeading = "topic";
    std::size_t width = kHeading.size();
    std::vector<std::vector<std::string>> rows = {
        {std::string(kHeading), "rate Hz", "longest s", "records", "gaps", "missing", "back", "lost", "pubs", "from"}};
    for (const TopicRate& rate : rates) {
        rows.push_back(cellsOf(rate, now));
        width = std::max(width, rows.back().front().size());
    }
    std::string table;
    for (const auto& row : rows) table += tableRow(row, width);
    return table + '\n';
}

std::string rateJson(const TopicRate& rate, TopicStatistics::Time now, double seconds)
{
    TopicStatistics& statistics = *rate.statistics;
    const auto orNull = [](const std::optional<double>& value) { return value ? Json(*value) : Json(); };
    return jsonLine({{"kind", "rate"},
                     {"seconds", seconds},
                     {"topic", printable(rate.topic->name)},
                     {"type", rate.topic->type->name},
                     {"rate_hz", orNull(statistics.rate(now))},
                     {"longest_s", orNull(statistics.longestInterval(now))},
                     {"records", statistics.count()},
                     {"gaps", statistics.holes().gaps},
                     {"missing", statistics.holes().missing},
                     {"back", statistics.holes().back},
                     {"lost", statistics.lost()},
                     {"publishers", rate.publishers},
                     {"sources", serversOf(statistics)}});
}

void WatchSum::add(const TopicStatistics& statistics)
{
    records = saturatedSum(records, statistics.count());
    holes.add(statistics.holes());
    lost = saturatedSum(lost, statistics.lost());
}

std::string sumText(const WatchSum& sum)
{
    std::string text = "orvanectl: " + plural(sum.records, "record", "records") + " in " + digits(sum.seconds, 1) +
                       " s, " + plural(sum.holes.gaps, "gap", "gaps") + " with " + std::to_string(sum.holes.missing) +
                       " missing, " + std::to_string(sum.holes.back) + " back, " + std::to_string(sum.lost) + " lost";
    if (sum.leftOut > 0) text += ", " + std::to_string(sum.leftOut) + " left out";
    return text + '\n';
}

std::string sumJson(const WatchSum& sum)
{
    return jsonLine({{"kind", "sum"},
                     {"seconds", sum.seconds},
                     {"records", sum.records},
                     {"gaps", sum.holes.gaps},
                     {"missing", sum.holes.missing},
                     {"back", sum.holes.back},
                     {"lost", sum.lost},
                     {"left_out", sum.leftOut}});
}

}  // namespace orvanectl
