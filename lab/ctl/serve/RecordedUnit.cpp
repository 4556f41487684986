#include "lab/ctl/serve/RecordedUnit.h"

#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/why/ServiceSettings.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

namespace orvanectl {

namespace {

using Json = BusLink::Json;

// What is larger is no record or line of a unit.
constexpr std::size_t kLargestRecord = std::size_t{256} * 1024;
constexpr std::size_t kLongestLine = std::size_t{1024} * 1024;
constexpr std::size_t kMostMembers = 20'000;  // of a line
constexpr int kDeepest = 16;
constexpr std::size_t kLongestText = 1000;  // of a line of the console that is kept

constexpr std::chrono::seconds kStretch{10};                   // as rates are taken over
constexpr std::size_t kLeastWeight = std::size_t{256} * 1024;  // track, course of errors, and all that is small
constexpr std::size_t kOfByte = 2;  // of a record; its objects are not much larger than itself

/// By the settings, which know the devices of the unit's own queues. Others get a name that no event has.
std::vector<QueueName> devicesOf(const RecordingIndex& index, const ServerSettings& settings)
{
    const std::vector<QueueName> known = queuesOf(settings);
    std::vector<QueueName> queues = index.queues;
    for (QueueName& queue : queues) {
        const auto found = std::ranges::find(known, queue.name, &QueueName::name);
        queue.device = found == known.end() ? "queue/" + queue.name : found->device;
    }
    return queues;
}

/// Null for what is no JSON, or more than a line of the bus has.
Json parsed(mcap::Bytes text)
{
    if (text.size() > kLongestLine) return nullptr;
    std::size_t members = 0;
    const auto isWanted = [&](int depth, Json::parse_event_t event, Json&) {
        if (event == Json::parse_event_t::key || event == Json::parse_event_t::value) ++members;
        return depth <= kDeepest && members <= kMostMembers;
    };
    Json value = Json::parse(text.begin(), text.end(), isWanted, false);
    return value.is_object() ? value : Json();
}

}  // namespace

RecordedUnit::RecordedUnit(const RecordingIndex& index, const ServerSettings& settings)
    : m_index(index), m_model(index.topics, devicesOf(index, settings), index.start),
      m_joins(settings, {.bus = index.hasBus, .receiver = index.receiver.has_value(), .queue = false}),
      m_page(index.start), m_queues(index.queues.size()), m_held(index.topics.size(), Held{index.start})
{
    if (!index.hasBus) m_model.setBus("not recorded");
    if (index.receiver) m_model.setReceiver(m_joins.diary().input(JoinInput::Receiver));
}

void RecordedUnit::take(std::uint16_t channel, mcap::Bytes payload, Time time)
{
    const auto way = m_index.ways.find(channel);
    if (way == m_index.ways.end()) return;
    m_joins.settle(time);
    const std::size_t number = way->second.number;
    switch (way->second.kind) {
    case RecordingIndex::Kind::Topic:
        return takeRecord(number, payload, time);
    case RecordingIndex::Kind::Bus:
        return takeBusLine(payload, time);
    case RecordingIndex::Kind::Console:
        return takeConsoleLine(payload);
    case RecordingIndex::Kind::Records:
        ++m_queues.at(number).records;
        if (m_index.receiver == number) takeReceiver(payload, true, time);
        return;
    case RecordingIndex::Kind::Rest:
        ++m_queues.at(number).rest;
        if (m_index.receiver == number) takeReceiver(payload, false, time);
        return;
    }
}

void RecordedUnit::Held::count(Time time)
{
    if (const auto passed = time - stretch; passed > kStretch) {
        before = passed < 2 * kStretch ? inStretch : 0;
        inStretch = 0;
        stretch = time;
    }
    ++inStretch;
}

std::size_t RecordedUnit::Held::weight() const
{
    // The arrivals of the last seconds before the latest one are all kept, for the rates.
    const auto arrivals = std::min<std::uint64_t>(before + inStretch, TopicStatistics::kMostArrivals);
    return static_cast<std::size_t>(arrivals) * sizeof(Time) + kOfByte * latestBytes;
}

void RecordedUnit::takeRecord(std::size_t topic, mcap::Bytes payload, Time time)
{
    const WatchedTopic& watched = m_index.topics.at(topic);
    Sample sample{topic, {}, watched.type->make()};
    if (payload.size() > kLargestRecord || !readPayload(*watched.type, payload, sample.record.get())) {
        ++m_unreadable;
        return;
    }
    const aspn2_msgs::idl::header& header = watched.type->headerOf(sample.record.get());
    sample.arrival = {time, {}, 0, header.device_id(), header.seq_num()};
    m_held.at(topic).count(time);
    m_held.at(topic).latestBytes = payload.size();
    m_model.take(sample);
    m_joins.take(watched, sample);
    m_page.take(watched, sample);
}

void RecordedUnit::takeBusLine(mcap::Bytes text, Time time)
{
    const Json line = parsed(text);
    if (line.is_null()) {
        ++m_unreadable;
        return;
    }
    m_model.takeBusLine(line, time);
    m_joins.takeBusLine(line, time);
    m_page.takeBusLine(line, time);
}

void RecordedUnit::takeConsoleLine(mcap::Bytes text)
{
    const Json line = parsed(text);
    const auto found = line.is_object() ? line.find("line") : line.end();
    if (found == line.end() || !found->is_string()) {
        ++m_unreadable;
        return;
    }
    m_console.push_back(printable(std::string_view(found->get_ref<const std::string&>()).substr(0, kLongestText)));
    if (m_console.size() > kMostLines) m_console.pop_front();
}

void RecordedUnit::takeReceiver(mcap::Bytes payload, bool isRecord, Time time)
{
    static const RecordType& type = *findRecordType("GSSIP");
    aspn2_msgs::idl::GSSIP record;
    if (isRecord && payload.size() <= kLargestRecord && readPayload(type, payload, &record))
        m_joins.diary().take(record, time);
    else
        m_joins.diary().takeNoRecord(time);
    m_model.setReceiver(m_joins.diary().input(JoinInput::Receiver));
}

FrameBoard::Sections RecordedUnit::sections(Time now) const
{
    // What is looked at at one time makes no difference to what is seen at another.
    return RecordedUnit(*this).sectionsNow(now);
}

FrameBoard::Sections RecordedUnit::sectionsNow(Time now)
{
    m_model.setJoin(m_joins.text(now));
    const TopView view = m_model.view(now);
    FrameBoard::Sections sections = m_page.sections(view, "", m_unreadable, now);
    std::erase_if(sections, [](const auto& section) { return section.first == "queues"; });
    sections.emplace_back("queues", queuesText(view));
    Json console = Json::array();
    for (const std::string& line : m_console) console.push_back(line);
    if (m_index.hasConsole) sections.emplace_back("console", console.dump());
    return sections;
}

/// What was read from them, and by whom, a recording does not know.
std::string RecordedUnit::queuesText(const TopView& view) const
{
    Json rows = Json::array();
    for (std::size_t queue = 0; queue < m_queues.size(); ++queue)
        rows.push_back({{"name", printable(m_index.queues[queue].name)},
                        {"records", m_queues[queue].records},
                        {"rest", m_queues[queue].rest},
                        {"faults", view.queues.at(queue).faults}});
    return rows.dump();
}

std::size_t RecordedUnit::weight() const
{
    std::size_t weight = kLeastWeight + m_model.weight() + m_joins.weight() + m_page.weight();
    for (const Held& held : m_held) weight += held.weight();
    for (const std::string& line : m_console) weight += sizeof(std::string) + line.size();
    return weight;
}

}  // namespace orvanectl
