#include "lab/ctl/top/BusBoard.h"

#include "lab/ctl/FrameDecoder.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace orvanectl {

namespace {

/// Under which member a tell's record counts its rows.
constexpr struct {
    const char* tell;
    const char* count;
} kCounts[] = {{"warning-messages", "warningCount"},       {"navwar-sa", "threatCount"},
               {"system-configuration", "componentCount"}, {"available-outputs", "outputCount"},
               {"available-sensors", "sensorCount"},       {"built-in-test-results", "resultCount"}};

// The warnings that tell of requests to clear data.
constexpr std::int64_t kZeroizeDone = 22, kDestroyDone = 24;  // each with its failure behind it

/// A member that is a text, for a terminal; empty if there is none.
std::string textOf(const Json& object, const char* key)
{
    if (!object.is_object()) return "";
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? printable(found->get<std::string>()) : "";
}

std::optional<std::int64_t> numberOf(const Json& object, const char* key)
{
    if (!object.is_object()) return std::nullopt;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_integer()) return std::nullopt;
    if (found->is_number_unsigned() && found->get<std::uint64_t>() > INT64_MAX) return std::nullopt;
    return found->get<std::int64_t>();
}

const Json& listOf(const Json& object, const char* key)
{
    static const Json kNone = Json::array();
    if (!object.is_object()) return kNone;
    const auto found = object.find(key);
    return found != object.end() && found->is_array() ? *found : kNone;
}

/// The time of day of a wall clock, UTC.
std::string timeOfDay(std::int64_t milliseconds)
{
    constexpr std::int64_t kDay = 86'400;
    const std::int64_t second = ((milliseconds / 1000) % kDay + kDay) % kDay;
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", static_cast<int>(second / 3600),
                  static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
    return text;
}

std::string testsText(const Json& record)
{
    std::string text;
    for (const Json& row : listOf(record, "results")) {
        const auto number = numberOf(row, "builtInTestId");
        const std::string id = number ? std::to_string(*number) : textOf(row, "builtInTestId");
        text += (text.empty() ? "" : ", ") + (id.empty() ? "" : id + ' ') + testStatusText(row);
    }
    return text.empty() ? "no results" : text;
}

}  // namespace

std::string BusNote::textAt(TopicStatistics::Time now) const
{
    if (text.empty()) return "-";
    if (!time) return text;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - *time).count();
    return text + ' ' + std::to_string(std::max<decltype(seconds)>(seconds, 0)) + " s ago";
}

BusBoard::BusBoard()
    : m_groups{{"blended-navigation", {}, 0, ""}, {"warning-messages", {}, 0, ""}, {"navwar-sa", {}, 0, ""}}
{}

void BusBoard::take(const Json& line, TopicStatistics::Time now, BusNotes& notes)
{
    const std::string type = textOf(line, "type");
    if (type == "tell") takeTell(line, now, notes);
    if (type == "service") {
        const auto number = numberOf(line, "service");
        m_state = "service " + (number ? std::to_string(*number) + ' ' : std::string()) + textOf(line, "event");
    }
    if (type == "faults") {
        GroupRow* const group = groupOf("faults");
        if (!group) return;
        group->listed = listOf(line, "faults").size();
        if (!line.contains("last")) ++group->count;
        if (const auto at = numberOf(line, "at_ms")) group->last = timeOfDay(*at);
    }
}

std::size_t BusBoard::weight() const
{
    std::size_t weight = m_state.size() + m_clearDataWarnings.size();
    for (const GroupRow& group : m_groups) weight += sizeof group + group.name.size() + group.last.size();
    return weight;
}

GroupRow* BusBoard::groupOf(const std::string& name)
{
    const auto found = std::ranges::find(m_groups, name, &GroupRow::name);
    if (found != m_groups.end()) return &*found;
    if (m_groups.size() >= kMostNames) return nullptr;
    return &m_groups.emplace_back(GroupRow{name, {}, 0, ""});
}

void BusBoard::takeTell(const Json& line, TopicStatistics::Time now, BusNotes& notes)
{
    const std::string tell = textOf(line, "tell");
    GroupRow* const group = groupOf(tell);
    if (!group) return;
    const bool isPast = line.contains("last");
    if (!isPast) ++group->count;
    if (const auto at = numberOf(line, "at_ms")) group->last = timeOfDay(*at);
    static const Json kNone = Json::object();
    const auto found = line.find("record");
    const Json& record = found == line.end() ? kNone : *found;
    for (const auto& row : kCounts)
        if (tell == row.tell)
            if (const auto count = numberOf(record, row.count); count && *count >= 0)
                group->listed = static_cast<std::uint64_t>(*count);

    const std::optional<TopicStatistics::Time> when = isPast ? std::nullopt : std::optional(now);
    if (tell == "warning-messages") takeWarnings(record, notes.clearData, when);
    if (tell == "clear-system-data")
        notes.clearData = {"asked for, result " + std::to_string(numberOf(line, "result").value_or(-1)), when};
    if (tell == "execute-built-in-tests")
        notes.builtInTest = {"test " + std::to_string(numberOf(line, "id").value_or(-1)) + " begun", when};
    if (tell == "built-in-test-results") notes.builtInTest = {testsText(record), when};
}

/// The list is told again and again: what counts is a change of it.
void BusBoard::takeWarnings(const Json& record, BusNote& note, std::optional<TopicStatistics::Time> when)
{
    std::string all;
    std::string latest;
    for (const Json& row : listOf(record, "warnings")) {
        const auto id = numberOf(row, "warningId");
        if (!id || *id < kZeroizeDone || *id > kDestroyDone + 1) continue;
        const bool isDone = *id == kZeroizeDone || *id == kDestroyDone;
        latest = std::string(isDone ? "done" : "failed") + " (warning " + std::to_string(*id) + ')';
        all += latest + textOf(row, "customText") + '\n';
    }
    if (all != m_clearDataWarnings && !latest.empty()) note = {latest, when};
    m_clearDataWarnings = all;
}

}  // namespace orvanectl
