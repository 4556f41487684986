#include "lab/ctl/top/TopModel.h"

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/RecordText.h"

#include <algorithm>
#include <string_view>

namespace orvanectl {

namespace {

using Time = TopModel::Time;

constexpr std::chrono::seconds kWindow{10};
constexpr std::chrono::seconds kCpuWindow{2};

/// The inputs that come as topics, and what they are called where there is little room.
constexpr struct {
    std::string_view topic;
    const char* name;
} kInputs[] = {{"UTCTime", "UTCTime"},
               {"PositionVelocityAttitude", "PosVelAtt"},
               {"HalvexPNT", "HalvexPNT"},
               {"MeasurementIncorporationStatus", "MeasStatus"},
               {"AssuranceState", "Assurance"}};
constexpr std::size_t kTimeInput = 0;
constexpr std::size_t kLongestText = 1000;  // of an event or a command that is kept

// What is kept of each takes so many bytes.
constexpr std::size_t kOfTopic = 1024;  // or queue
constexpr std::size_t kOfSource = 128;

constexpr std::size_t kReceiverInput = std::size(kInputs);
constexpr const char* kHeardReceiver = "8504";
constexpr const char* kReadReceiver = "8504/queue";

std::optional<std::size_t> inputOf(const WatchedTopic& topic)
{
    for (std::size_t input = 0; input < std::size(kInputs); ++input)
        if (topic.name == kInputs[input].topic && topic.type->name == kInputs[input].topic) return input;
    return std::nullopt;
}

/// Whether an event names that device, and not one whose number is longer.
bool names(std::string_view event, std::string_view device)
{
    const std::size_t found = event.find(device);
    if (found == std::string_view::npos) return false;
    const std::size_t end = found + device.size();
    return end == event.size() || event[end] < '0' || event[end] > '9';
}

/// To the millisecond, "60.083".
std::string shortTime(const aspn2_msgs::idl::timestamp& time)
{
    const std::string text = timeText(time);
    return text.find(' ') == std::string::npos ? text.substr(0, text.find('.') + 4) : text;
}

std::string sourcesOf(const TopicStatistics& statistics)
{
    std::vector<std::string> servers;
    std::string text;
    for (const std::int32_t id : statistics.sources()) {
        const std::string server = sourceText(id);
        if (std::ranges::find(servers, server) != servers.end()) continue;
        servers.push_back(server);
        text += (text.empty() ? "" : ", ") + server;
    }
    return text.empty() ? "-" : text;
}

double secondsBetween(Time from, Time to)
{
    return std::chrono::duration<double>(to - from).count();
}

}  // namespace

TopModel::TopModel(std::vector<WatchedTopic> topics, std::vector<QueueName> queues, Time start)
    : m_topics(std::move(topics)), m_queues(std::move(queues)), m_start(start),
      m_statistics(m_topics.size(), TopicStatistics(kWindow)), m_latest(m_topics.size()), m_publishers(m_topics.size()),
      m_readings(m_queues.size()), m_queueFaults(m_queues.size())
{}

void TopModel::take(const Sample& sample)
{
    m_statistics.at(sample.topic).take(sample.arrival);
    m_latest.at(sample.topic) = sample.record;
    const WatchedTopic& topic = m_topics[sample.topic];
    takeInput(sample);
    if (topic.type->name == "CommandResponse") takeCommand(sample);
    if (topic.type->name == "EventLog" || topic.type->name == "MaintenanceEvent") takeEvent(sample);
    if (topic.type->name == "BitReport")
        m_notes.builtInTest = {"report of " + sourceText(topic.type->headerOf(sample.record.get()).device_id()),
                               sample.arrival.time};
}

void TopModel::takeInput(const Sample& sample)
{
    const std::optional<std::size_t> input = inputOf(m_topics[sample.topic]);
    if (!input) return;
    const aspn2_msgs::idl::header& header = m_topics[sample.topic].type->headerOf(sample.record.get());
    if (*input == kTimeInput) m_offsets.takeTime(header, sample.arrival.time);
    m_offsets.take(*input, header, sample.arrival.time);
}

/// Commands and answers that erase data, or have to do with built-in tests.
void TopModel::takeCommand(const Sample& sample)
{
    const auto& command = *static_cast<const aspn2_msgs::idl::CommandResponse*>(sample.record.get());
    const std::string& text = command.command_response();
    const auto has = [&](const char* word) { return text.find(word) != std::string::npos; };
    const BusNote note{printable(text.substr(0, kLongestText)), sample.arrival.time};
    if (has("ZEROIZE") || has("DESTROY")) m_notes.clearData = note;
    if (has("CBIT")) m_notes.builtInTest = note;
}

void TopModel::takeEvent(const Sample& sample)
{
    const WatchedTopic& topic = m_topics[sample.topic];
    if (topic.type->name == "EventLog") {
        const auto& event = *static_cast<const aspn2_msgs::idl::EventLog*>(sample.record.get());
        const std::string text = printable(event.eventlog().substr(0, kLongestText));
        m_events.push_back(shortTime(event.header().timestamp_valid()) + ' ' + sourceText(event.header().device_id()) +
                           ' ' + eventTypeText(event.event_log_type()) + ' ' + text);
        // A stream that is no records is told without the queue's name.
        const bool isAnyQueue = text.find("Process_Notification_Event()") != std::string::npos;
        for (std::size_t queue = 0; queue < m_queues.size(); ++queue)
            if (isAnyQueue || names(text, m_queues[queue].device)) ++m_queueFaults[queue];
    } else {
        std::string text = recordText(topic, sample.record.get(), false);
        while (text.ends_with('\n')) text.pop_back();
        m_events.push_back(text.substr(0, kLongestText));
    }
    if (m_events.size() > kMostEvents) m_events.pop_front();
}

void TopModel::setReceiver(const std::optional<JoinDiary::InputState>& receiver)
{
    const bool isNew = receiver && receiver->taken > 0 && (!m_receiver || receiver->taken != m_receiver->taken);
    m_receiver = receiver;
    if (isNew) m_offsets.take(kReceiverInput, receiver->header, *receiver->arrived);
}

void TopModel::setProcess(const std::optional<ProcessReading>& reading, Time now)
{
    if (!reading || !m_process || reading->id != m_process->id) m_cpu.clear();
    m_process = reading;
    if (!reading) return;
    m_cpu.push_back({now, reading->cpuSeconds});
    while (m_cpu.size() > 2 && now - m_cpu[1].time >= kCpuWindow) m_cpu.pop_front();
}

TopView TopModel::view(Time now)
{
    TopView view;
    view.seconds = secondsBetween(m_start, now);
    view.process = processRow();
    view.clearData = m_notes.clearData.textAt(now);
    view.builtInTest = m_notes.builtInTest.textAt(now);
    for (std::size_t topic = 0; topic < m_topics.size(); ++topic) view.topics.push_back(topicRow(topic, now));
    view.inputs = inputRows(now);
    view.bus = m_bus.state();
    view.groups = m_bus.groups();
    view.join = m_join;
    view.queues = queueRows(now);
    view.events.assign(m_events.begin(), m_events.end());
    return view;
}

TopicRow TopModel::topicRow(std::size_t topic, Time now)
{
    TopicStatistics& statistics = m_statistics[topic];
    TopicRow row;
    row.name = printable(m_topics[topic].name);
    row.rateHz = statistics.rate(now);
    row.jitterSeconds = statistics.jitter(now);
    row.ageSeconds = ageOf(statistics.last(), now);
    row.records = statistics.count();
    row.gaps = statistics.holes().gaps;
    row.missing = statistics.holes().missing;
    row.back = statistics.holes().back;
    row.lost = statistics.lost();
    row.publishers = m_publishers[topic];
    row.sources = sourcesOf(statistics);
    row.type = m_topics[topic].type;
    row.latest = m_latest[topic];
    return row;
}

std::vector<InputRow> TopModel::inputRows(Time now) const
{
    std::vector<InputRow> rows;
    for (std::size_t input = 0; input < std::size(kInputs); ++input) {
        InputRow row{kInputs[input].name, std::nullopt, m_offsets.of(input)};
        for (std::size_t topic = 0; topic < m_topics.size(); ++topic)
            if (inputOf(m_topics[topic]) == input) row.ageSeconds = ageOf(m_statistics[topic].last(), now);
        rows.push_back(row);
    }
    if (m_receiver) {
        rows.push_back({kHeardReceiver, ageOf(m_receiver->arrived, now), m_offsets.of(kReceiverInput)});
        return rows;
    }
    // What is in it is the service's to read: all that is seen is that it did.
    rows.push_back({kReadReceiver, std::nullopt, std::nullopt});
    for (std::size_t queue = 0; queue < m_queues.size(); ++queue)
        if (m_queues[queue].name == kReceiverQueue) rows.back().ageSeconds = ageOf(m_readings[queue].lastTaken, now);
    return rows;
}

std::vector<QueueRow> TopModel::queueRows(Time now) const
{
    std::vector<QueueRow> rows;
    for (std::size_t queue = 0; queue < m_queues.size(); ++queue) {
        const QueueReading& reading = m_readings[queue];
        const bool isHeard = m_receiver && m_queues[queue].name == kReceiverQueue;
        const auto refused = isHeard ? std::optional(m_receiver->refused + m_receiver->broken) : std::nullopt;
        rows.push_back({m_queues[queue].name, m_queues[queue].device, reading.isThere, reading.written, reading.taken,
                        reading.waitingBytes, ageOf(reading.lastTaken, now), reading.holders, m_queueFaults[queue],
                        refused});
    }
    return rows;
}

std::optional<ProcessRow> TopModel::processRow() const
{
    if (!m_process) return std::nullopt;
    ProcessRow row{m_process->id, std::nullopt, m_process->residentKiB, m_process->threads, m_process->others};
    if (m_cpu.size() >= 2 && m_cpu.back().time > m_cpu.front().time)
        row.cpuPercent = 100.0 * (m_cpu.back().seconds - m_cpu.front().seconds) /
                         secondsBetween(m_cpu.front().time, m_cpu.back().time);
    return row;
}

std::size_t TopModel::weight() const
{
    std::size_t weight =
        m_bus.weight() + m_join.size() + m_notes.clearData.text.size() + m_notes.builtInTest.text.size();
    for (const WatchedTopic& topic : m_topics) weight += kOfTopic + topic.name.size();
    for (const QueueName& queue : m_queues) weight += kOfTopic + queue.name.size() + queue.device.size();
    for (const TopicStatistics& statistics : m_statistics) weight += statistics.sources().size() * kOfSource;
    for (const std::string& event : m_events) weight += sizeof(std::string) + event.size();
    return weight;
}

std::optional<double> TopModel::ageOf(std::optional<Time> last, Time now)
{
    if (!last) return std::nullopt;
    return std::max(secondsBetween(*last, now), 0.0);
}

}  // namespace orvanectl
