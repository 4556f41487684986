#include "lab/ctl/serve/RecordingIndex.h"

#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingSource.h"

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orvanectl {

namespace {

class IndexSink : public mcap::RecordSink {
public:
    explicit IndexSink(RecordingIndex& index) : m_index(index) {}

    void schema(const mcap::Schema& schema) override
    {
        m_index.schemas.push_back(schema);
        m_schemas[schema.id] = schema.name;
    }

    void channel(const mcap::Channel& channel) override
    {
        m_index.channels.push_back(channel);
        if (const auto way = wayOf(channel)) m_index.ways[channel.id] = *way;
    }

    void message(const mcap::Message& message) override
    {
        const RecordingIndex::Time time = arrivalTimeOf(message.logTime);
        if (m_index.messages++ == 0) m_index.start = m_index.end = time;
        m_index.end = std::max(m_index.end, time);
    }

    void problem(std::uint64_t, const std::string&) override { ++m_index.problems; }

private:
    using Kind = RecordingIndex::Kind;

    std::optional<RecordingIndex::Way> wayOf(const mcap::Channel& channel)
    {
        if (channel.topic == recording::kBus && channel.encoding == recording::kJson) {
            m_index.hasBus = true;
            return RecordingIndex::Way{Kind::Bus};
        }
        if (channel.topic == recording::kConsole && channel.encoding == recording::kJson) {
            m_index.hasConsole = true;
            return RecordingIndex::Way{Kind::Console};
        }
        if (channel.topic.starts_with(recording::kQueue)) return wayOfQueue(channel.topic);
        const auto schema = m_schemas.find(channel.schema);
        const RecordType* const type = schema == m_schemas.end() ? nullptr : findRecordType(schema->second);
        if (channel.encoding != recording::kCdr || !type) return std::nullopt;
        return wayOfTopic(channel.topic, *type);
    }

    std::optional<RecordingIndex::Way> wayOfTopic(const std::string& name, const RecordType& type)
    {
        auto& topics = m_index.topics;
        const auto known = std::ranges::find_if(
            topics, [&](const WatchedTopic& topic) { return topic.name == name && topic.type == &type; });
        const auto number = static_cast<std::size_t>(known - topics.begin());
        if (number >= kMostRecordedTopics) {
            m_topicsPassedOver.emplace(name, &type);
            m_index.topicsPassedOver = m_topicsPassedOver.size();
            return std::nullopt;
        }
        if (known == topics.end()) topics.push_back({name, &type});
        return RecordingIndex::Way{Kind::Topic, number};
    }

    std::optional<RecordingIndex::Way> wayOfQueue(std::string name)
    {
        name.erase(0, std::string_view(recording::kQueue).size());
        const bool isRest = name.ends_with(recording::kRest);
        if (isRest) name.resize(name.size() - std::string_view(recording::kRest).size());
        auto& queues = m_index.queues;
        const auto known = std::ranges::find(queues, name, &QueueName::name);
        const auto number = static_cast<std::size_t>(known - queues.begin());
        if (number >= kMostRecordedQueues) {
            m_queuesPassedOver.insert(name);
            m_index.queuesPassedOver = m_queuesPassedOver.size();
            return std::nullopt;
        }
        if (known == queues.end()) queues.push_back({name, ""});
        if (name == kReceiverQueue) m_index.receiver = number;
        return RecordingIndex::Way{isRest ? Kind::Rest : Kind::Records, number};
    }

    RecordingIndex& m_index;
    std::map<std::uint16_t, std::string> m_schemas;
    std::set<std::pair<std::string, const RecordType*>> m_topicsPassedOver;
    std::set<std::string> m_queuesPassedOver;
};

}  // namespace

RecordingIndex indexOf(const mcap::Source& source, const std::string& name)
{
    RecordingIndex index;
    index.name = printable(std::string_view(name).substr(name.find_last_of('/') + 1));
    IndexSink sink(index);
    const mcap::ScanResult result = mcap::scan(source, sink);
    if (!result.isRecording) throw std::runtime_error(name + ": is no recording");
    if (index.messages == 0) throw std::runtime_error(name + ": has nothing to show");
    index.isClosed = result.isClosed;
    return index;
}

}  // namespace orvanectl
