#include "lab/ctl/record/Recorder.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/record/CatalogueSchema.h"
#include "lab/ctl/record/RecordPayload.h"

namespace orvanectl {

namespace {

constexpr const char* kQueueType = "GSSIP";

/// A recording counts by 32 bits.
std::uint32_t sequenceOf(std::int64_t number)
{
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(number) & 0xFFFFFFFF);
}

}  // namespace

Recorder::Recorder(mcap::Output& output, const std::vector<WatchedTopic>& topics,
                   const std::vector<std::string>& queues, const mcap::Table& about)
    : m_writer(output, {}), m_topics(topics)
{
    m_writer.add(mcap::Metadata{recording::kAbout, about});
    for (const WatchedTopic& topic : m_topics)
        m_channels.push_back(m_writer.addChannel(schemaOf(*topic.type), topic.name, recording::kCdr, {}));
    for (const std::string& queue : queues)
        m_queues.push_back(
            {queue,
             m_writer.addChannel(schemaOf(*findRecordType(kQueueType)), recording::kQueue + queue, recording::kCdr, {}),
             std::nullopt});
}

std::uint16_t Recorder::schemaOf(const RecordType& type)
{
    const auto known = m_schemas.find(type.name);
    if (known != m_schemas.end()) return known->second;
    const std::uint16_t schema = m_writer.addSchema(type.typeName(), recording::kIdl, schemaTextOf(type.name));
    return m_schemas[type.name] = schema;
}

void Recorder::take(const Sample& sample, std::uint64_t time)
{
    takePayload(sample.topic, payloadOf(*m_topics.at(sample.topic).type, sample.record.get()),
                sample.arrival.sequenceNumber, sample.sent, time);
}

void Recorder::takePayload(std::size_t topic, mcap::Bytes payload, std::int64_t number, std::int64_t sent,
                           std::uint64_t time)
{
    const std::uint64_t published = sent > 0 ? static_cast<std::uint64_t>(sent) : time;
    m_writer.add(mcap::Message{m_channels.at(topic), sequenceOf(number), time, published, payload});
}

void Recorder::takeBusLine(const std::string& line, std::uint64_t time)
{
    takeLine(m_bus, recording::kBus, line, time);
}

void Recorder::takeConsoleLine(const std::string& line, std::uint64_t time)
{
    takeLine(m_console, recording::kConsole,
             Json({{"line", line}}).dump(-1, ' ', false, Json::error_handler_t::replace), time);
}

void Recorder::takeLine(LineChannel& channel, const char* name, const std::string& json, std::uint64_t time)
{
    if (!channel.id) {
        const std::uint16_t schema = m_writer.addSchema(name, "jsonschema", R"({"type":"object"})");
        channel.id = m_writer.addChannel(schema, name, recording::kJson, {});
    }
    m_writer.add(mcap::Message{*channel.id, channel.lines++, time, time, mcap::bytesOf(json)});
}

void Recorder::takeQueueRecord(std::size_t queue, mcap::Bytes record, std::int64_t number, std::uint64_t time)
{
    m_writer.add(mcap::Message{m_queues.at(queue).records, sequenceOf(number), time, time, record});
}

void Recorder::takeQueueRest(std::size_t queue, mcap::Bytes bytes, std::uint64_t time)
{
    QueueChannels& channels = m_queues.at(queue);
    if (!channels.rest)
        channels.rest = m_writer.addChannel(0, recording::kQueue + channels.name + recording::kRest, "", {});
    m_writer.add(mcap::Message{*channels.rest, 0, time, time, bytes});
}

void Recorder::noteEarlier(const mcap::Table& earlier)
{
    if (earlier == m_earlier) return;
    m_earlier = earlier;
    m_writer.add(mcap::Metadata{recording::kEarlier, earlier});
}

void Recorder::settle(const mcap::Table& missed)
{
    m_writer.endChunk();
    if (missed == m_missed) return;
    m_missed = missed;
    m_writer.add(mcap::Metadata{recording::kMissed, missed});
}

void Recorder::close(const mcap::Table& missed)
{
    m_writer.endChunk();
    m_writer.add(mcap::Metadata{recording::kMissed, missed});
    m_writer.close();
}

}  // namespace orvanectl
