#include "lab/ctl/record/RecordRing.h"

#include "aspn2_msgs/EventLog.h"
#include "lab/ctl/record/RecordPayload.h"

#include <utility>

namespace orvanectl {

bool isTrouble(const RecordType& type, const void* record)
{
    constexpr std::uint32_t kFault = 3;
    constexpr std::uint32_t kSevere = 5;
    if (type.name != "EventLog") return false;
    const std::uint32_t number = static_cast<const aspn2_msgs::idl::EventLog*>(record)->event_log_type();
    return number >= kFault && number <= kSevere;
}

bool RingTrigger::isDue(Time now) const
{
    if (m_isAsked) return true;
    return m_hasEvent && (!m_written || std::chrono::duration<double>(now - *m_written).count() >= m_seconds);
}

void RingTrigger::written(Time now)
{
    m_isAsked = m_hasEvent = false;
    m_written = now;
}

RecordRing::RecordRing(std::vector<WatchedTopic> topics, double seconds, std::size_t mostBytes)
    : m_topics(std::move(topics)), m_seconds(seconds), m_mostBytes(mostBytes)
{}

void RecordRing::take(const Sample& sample, std::uint64_t time)
{
    const RecordType& type = *m_topics.at(sample.topic).type;
    if (isTrouble(type, sample.record.get())) ++m_troubles;
    add({Kind::Record, sample.topic, sample.arrival.sequenceNumber, sample.sent, time, m_now,
         payloadOf(type, sample.record.get())});
}

void RecordRing::takeBusLine(const std::string& line, std::uint64_t time)
{
    add({Kind::BusLine, 0, 0, 0, time, m_now, {line.begin(), line.end()}});
}

void RecordRing::takeConsoleLine(const std::string& line, std::uint64_t time)
{
    add({Kind::ConsoleLine, 0, 0, 0, time, m_now, {line.begin(), line.end()}});
}

void RecordRing::takeQueueRecord(std::size_t queue, mcap::Bytes record, std::int64_t number, std::uint64_t time)
{
    add({Kind::QueueRecord, queue, number, 0, time, m_now, {record.begin(), record.end()}});
}

void RecordRing::takeQueueRest(std::size_t queue, mcap::Bytes bytes, std::uint64_t time)
{
    add({Kind::QueueRest, queue, 0, 0, time, m_now, {bytes.begin(), bytes.end()}});
}

void RecordRing::add(Entry entry)
{
    m_bytes += entry.size();
    m_entries.push_back(std::move(entry));
    for (; m_bytes > m_mostBytes; ++m_leftOut) dropFirst();
}

void RecordRing::dropFirst()
{
    m_bytes -= m_entries.front().size();
    m_entries.pop_front();
}

void RecordRing::turn(Time now)
{
    m_now = now;
    while (!m_entries.empty() && std::chrono::duration<double>(now - m_entries.front().heard).count() > m_seconds)
        dropFirst();
}

void RecordRing::writeTo(Recorder& recorder)
{
    for (; !m_entries.empty(); dropFirst()) {
        const Entry& entry = m_entries.front();
        switch (entry.kind) {
        case Kind::Record:
            recorder.takePayload(entry.index, entry.bytes, entry.number, entry.sent, entry.time);
            break;
        case Kind::BusLine:
            recorder.takeBusLine({entry.bytes.begin(), entry.bytes.end()}, entry.time);
            break;
        case Kind::ConsoleLine:
            recorder.takeConsoleLine({entry.bytes.begin(), entry.bytes.end()}, entry.time);
            break;
        case Kind::QueueRecord:
            recorder.takeQueueRecord(entry.index, entry.bytes, entry.number, entry.time);
            break;
        case Kind::QueueRest:
            recorder.takeQueueRest(entry.index, entry.bytes, entry.time);
            break;
        }
    }
}

}  // namespace orvanectl
