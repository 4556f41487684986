#include "lab/ctl/play/PlayPlan.h"

#include "ASPN/AspnDeviceIds.h"
#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/play/RecordTimes.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingTrouble.h"

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <string_view>

namespace orvanectl {

namespace {

using std::chrono::nanoseconds;

constexpr std::size_t kTimesLookedAt = 4096;

bool isOfService(mcap::Bytes payload)
{
    const auto header = travelHeaderOf(payload);
    return header && ASPN2::ServerIds::to_string(header->server) == ASPN2::ServerIds::OrvaneServer_name;
}

/// The queue that a channel is of; empty for another channel.
std::string queueOf(std::string topic)
{
    if (!topic.starts_with(recording::kQueue)) return "";
    topic.erase(0, std::string_view(recording::kQueue).size());
    if (topic.ends_with(recording::kRest)) topic.resize(topic.size() - std::string_view(recording::kRest).size());
    return topic;
}

class PlanSink : public mcap::RecordSink {
public:
    PlanSink(PlayPlan& plan, const PlayChoice& choice, std::uint64_t from)
        : m_plan(plan), m_choice(choice), m_from(from)
    {}

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        notePlayable(channel);
        if (m_plan.channels.contains(channel.id) || m_foreign.contains(channel.id)) return;
        const auto& chosen = m_choice.channels;
        if (!chosen.empty() && std::ranges::find(chosen, channel.topic) == chosen.end()) return;
        if (const std::string queue = queueOf(channel.topic); !queue.empty()) {
            const bool hasRecords = !channel.topic.ends_with(recording::kRest);
            m_plan.channels[channel.id] = {wayOf(queue, nullptr), hasRecords};
        } else if (channel.encoding == recording::kCdr) {
            const auto schema = m_schemas.find(channel.schema);
            const RecordType* const type = schema == m_schemas.end() ? nullptr : findRecordType(schema->second);
            if (type)
                m_plan.channels[channel.id] = {wayOf(channel.topic, type), true};
            else
                m_foreign.insert(channel.id);
        }
    }

    void message(const mcap::Message& message) override
    {
        if (message.logTime < m_from) return;
        if (m_foreign.contains(message.channel)) ++m_plan.foreign;
        const auto channel = m_plan.channels.find(message.channel);
        if (channel == m_plan.channels.end()) return;
        if (!m_plan.has(message)) {
            ++m_plan.own;
            return;
        }
        ++m_plan.messages;
        ++m_plan.ways[channel->second.way].messages;
        m_plan.first = std::min(m_plan.first, message.logTime);
        m_plan.last = std::max(m_plan.last, message.logTime);
        noteTime(message, channel->second);
    }

    void problem(std::uint64_t, const std::string&) override { ++m_problems; }
    std::uint64_t problems() const { return m_problems; }

    std::vector<std::int64_t> takeTimes() { return std::move(m_ahead); }

    /// Topics of channels that can be played, chosen or not.
    const std::vector<std::string>& playable() const { return m_playable; }

private:
    void notePlayable(const mcap::Channel& channel)
    {
        const bool canBePlayed = !queueOf(channel.topic).empty() || channel.encoding == recording::kCdr;
        if (canBePlayed && std::ranges::find(m_playable, channel.topic) == m_playable.end())
            m_playable.push_back(channel.topic);
    }

    std::size_t wayOf(const std::string& name, const RecordType* type)
    {
        const auto known = std::ranges::find_if(m_plan.ways, [&](const PlayPlan::Way& way) {
            return way.name == name && (way.type == nullptr) == (type == nullptr);
        });
        if (known == m_plan.ways.end()) {
            m_plan.ways.push_back({name, type});
            return m_plan.ways.size() - 1;
        }
        if (known->type != type)
            throw std::runtime_error("topic " + printable(name) + " has two types in the recording");
        return static_cast<std::size_t>(known - m_plan.ways.begin());
    }

    void noteTime(const mcap::Message& message, const PlayPlan::Channel& channel)
    {
        constexpr auto kLast = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        if (!channel.hasRecords || m_ahead.size() == kTimesLookedAt || message.logTime > kLast) return;
        const auto header = travelHeaderOf(message.data);
        std::int64_t ahead = 0;
        if (header &&
            !__builtin_sub_overflow(header->arrival.count(), static_cast<std::int64_t>(message.logTime), &ahead))
            m_ahead.push_back(ahead);
    }

    PlayPlan& m_plan;
    const PlayChoice& m_choice;
    const std::uint64_t m_from;
    std::map<std::uint16_t, std::string> m_schemas;
    std::set<std::uint16_t> m_foreign;  // channels
    std::vector<std::string> m_playable;
    std::vector<std::int64_t> m_ahead;  // ns
    std::uint64_t m_problems = 0;
};

/// Throws for channels that are not among those that can be played.
void checkChannels(const std::vector<std::string>& known, const std::string& name,
                   const std::vector<std::string>& chosen)
{
    for (const std::string& channel : chosen)
        if (std::ranges::find(known, channel) == known.end())
            throw UnknownName(name + ": no channel " + printable(channel) + " that can be played; " +
                              nearestOrAll(channel, known));
}

}  // namespace

bool PlayPlan::has(const mcap::Message& message) const
{
    const auto channel = channels.find(message.channel);
    if (channel == channels.end()) return false;
    return withOwn || !channel->second.hasRecords || !isOfService(message.data);
}

nanoseconds PlayPlan::length() const
{
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() / 4);
    return nanoseconds(static_cast<std::int64_t>(std::min(last - first, kMost)));
}

PlayPlan planOf(const mcap::Source& source, const std::string& name, const PlayChoice& choice)
{
    std::uint64_t from = 0;
    if (choice.startSeconds > 0) from = overviewOf(source, name).timeBehindStart(choice.startSeconds);
    PlayPlan plan;
    plan.withOwn = choice.withOwn;
    PlanSink sink(plan, choice, from);
    const mcap::ScanResult result = mcap::scan(source, sink);
    if (!result.isRecording) throw std::runtime_error(name + ": is no recording");
    plan.trouble = troubleText(result, sink.problems());
    checkChannels(sink.playable(), name, choice.channels);
    if (plan.messages == 0) throw std::runtime_error(name + ": has nothing to play");
    if (std::vector<std::int64_t> ahead = sink.takeTimes(); !ahead.empty()) {
        const auto middle = ahead.begin() + static_cast<std::ptrdiff_t>(ahead.size() / 2);
        std::ranges::nth_element(ahead, middle);
        plan.registersAhead = nanoseconds(*middle);
    }
    return plan;
}

}  // namespace orvanectl
