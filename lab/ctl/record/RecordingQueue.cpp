#include "lab/ctl/record/RecordingQueue.h"

#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingOverview.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace orvanectl {

namespace {

std::vector<std::string> queuesOf(const RecordingOverview& overview)
{
    std::vector<std::string> queues;
    for (const std::string& topic : overview.topics())
        if (topic.starts_with(recording::kQueue) && !topic.ends_with(recording::kRest))
            queues.push_back(topic.substr(std::string_view(recording::kQueue).size()));
    return queues;
}

std::string choose(const std::vector<std::string>& queues, const std::string& queue, const std::string& file)
{
    if (queues.empty()) throw UnknownName(file + ": has no queue");
    if (queue.empty() && queues.size() == 1) return queues.front();
    if (queue.empty()) throw UnknownName(file + ": has several queues; " + nearestOrAll("", queues));
    if (std::ranges::find(queues, queue) == queues.end())
        throw UnknownName(file + ": no queue " + printable(queue) + "; " + nearestOrAll(queue, queues));
    return queue;
}

class QueueReader : public mcap::RecordSink {
public:
    QueueReader(const std::string& queue, StreamSink& sink) : m_topic(recording::kQueue + queue), m_sink(sink) {}

    void channel(const mcap::Channel& channel) override
    {
        if (channel.topic == m_topic) m_records = channel.id;
        if (channel.topic == m_topic + recording::kRest) m_rest = channel.id;
    }

    void message(const mcap::Message& message) override
    {
        if (message.channel == m_records)
            takeRecord(message.data);
        else if (message.channel == m_rest)
            m_sink.problem(m_offset, std::to_string(message.data.size()) + " bytes are no record");
        else
            return;
        m_offset += message.data.size();
    }

    void problem(std::uint64_t, const std::string& what) override
    {
        m_sink.problem(m_offset, "the recording is damaged here: " + what);
    }

    std::uint64_t offset() const { return m_offset; }

private:
    void takeRecord(mcap::Bytes bytes)
    {
        aspn2_msgs::idl::GSSIP record;
        if (readPayload(m_type, bytes, &record))
            m_sink.record(m_offset, record);
        else
            m_sink.problem(m_offset, std::to_string(bytes.size()) + " bytes are no record");
    }

    const std::string m_topic;
    StreamSink& m_sink;
    const RecordType& m_type = *findRecordType("GSSIP");
    std::optional<std::uint16_t> m_records;
    std::optional<std::uint16_t> m_rest;
    std::uint64_t m_offset = 0;
};

}  // namespace

void readQueue(const std::string& file, const std::string& queue, StreamSink& sink)
{
    const mcap::FileSource source(file);
    QueueReader reader(choose(queuesOf(overviewOf(source, file)), queue, file), sink);
    if (!mcap::scan(source, reader).isClosed) sink.problem(reader.offset(), "the recording was cut off here");
}

}  // namespace orvanectl
