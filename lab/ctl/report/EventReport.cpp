#include "lab/ctl/report/EventReport.h"

#include "lab/ctl/RecordText.h"

#include <algorithm>

namespace orvanectl {

namespace {

constexpr std::uint32_t kFault = 3;  // and above
constexpr std::size_t kLongestText = 300;

template <class Characters>
std::string textOf(const Characters& characters)
{
    const std::string text(characters.data(), characters.size());
    return printable(text.substr(0, std::min(text.find('\0'), kLongestText)));
}

}  // namespace

void EventReport::take(const aspn2_msgs::idl::EventLog& event, double seconds)
{
    const auto type = static_cast<std::uint32_t>(event.event_log_type());
    add({seconds, eventTypeText(type), sourceText(event.header().device_id()),
         printable(event.eventlog().substr(0, kLongestText))},
        type >= kFault);
}

void EventReport::take(const aspn2_msgs::idl::MaintenanceEvent& event, double seconds)
{
    add({seconds, "MAINTENANCE", sourceText(event.header().device_id()),
         textOf(event.identity()) + ' ' + textOf(event.description())},
        true);
}

void EventReport::add(Row row, bool isFault)
{
    if (m_types.size() < kMostTypes || m_types.contains(row.type)) ++m_types[row.type];
    (isFault ? m_faults : m_others).add(std::move(row));
}

Json EventReport::json() const
{
    std::vector<Row> all = m_faults.values();
    for (const Row& row : m_others.values()) all.push_back(row);
    std::ranges::stable_sort(all, {}, &Row::seconds);
    Json rows = Json::array(), types = Json::object();
    for (const Row& row : all) rows.push_back({roundedTo(row.seconds, 0.001), row.type, row.source, row.text});
    for (const auto& [type, times] : m_types) types[type] = times;
    return {{"count", m_faults.count() + m_others.count()},
            {"types", types},
            {"leftOut", m_faults.leftOut() + m_others.leftOut()},
            {"rows", rows}};
}

}  // namespace orvanectl
