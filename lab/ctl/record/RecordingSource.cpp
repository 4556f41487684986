#include "lab/ctl/record/RecordingSource.h"

#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingTrouble.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace orvanectl {

namespace {

using Time = TopicStatistics::Time;

/// Topics whose records we know.
std::vector<WatchedTopic> topicsOf(const mcap::Source& source, const std::string& file)
{
    std::vector<WatchedTopic> topics;
    for (const RecordingOverview::Channel& channel : overviewOf(source, file).channels)
        if (const RecordType* const type = findRecordType(channel.schema); type && channel.encoding == recording::kCdr)
            topics.push_back({channel.topic, type});
    return topics;
}

/// As `chooseTopics` chooses of a connection file.
std::vector<WatchedTopic> choose(const std::vector<WatchedTopic>& all, const std::vector<std::string>& names,
                                 const std::string& typeName, const std::string& file)
{
    const RecordType* const type = typeName.empty() ? nullptr : findRecordType(typeName);
    if (!typeName.empty() && !type)
        throw UnknownName("no type " + printable(typeName) + "; there are " + namesOfRecordTypes());
    std::vector<WatchedTopic> chosen;
    const auto add = [&](const WatchedTopic& topic) {
        if (std::ranges::find(chosen, topic.name, &WatchedTopic::name) == chosen.end())
            chosen.push_back({topic.name, type ? type : topic.type});
    };
    if (names.empty()) std::ranges::for_each(all, add);
    for (const std::string& name : names) {
        const auto topic = std::ranges::find(all, name, &WatchedTopic::name);
        if (topic == all.end()) {
            std::string known;
            for (const WatchedTopic& one : all) known.append(known.empty() ? "" : ", ").append(printable(one.name));
            throw UnknownName(file + ": no topic " + printable(name) + "; there are " + known);
        }
        add(*topic);
    }
    return chosen;
}

}  // namespace

Time arrivalTimeOf(std::uint64_t nanoseconds)
{
    constexpr auto kLast = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() / 2);
    const auto since = std::chrono::nanoseconds(static_cast<std::int64_t>(std::min(nanoseconds, kLast)));
    return Time(std::chrono::duration_cast<Time::duration>(since));
}

RecordingSource::RecordingSource(const std::string& file, const std::vector<std::string>& topics,
                                 const std::string& type)
    : m_file(file), m_source(m_file, "reads " + printable(file)),
      m_topics(choose(topicsOf(m_source, file), topics, type, file)),
      m_scanner(std::make_unique<mcap::Scanner>(m_source, static_cast<mcap::RecordSink&>(*this)))
{
    while (m_samples.empty() && m_scanner->step()) {
    }
    if (!m_samples.empty()) m_now = m_samples.front().arrival.time;
    m_source.hide();
}

void RecordingSource::channel(const mcap::Channel& channel)
{
    const auto topic = std::ranges::find(m_topics, channel.topic, &WatchedTopic::name);
    if (topic != m_topics.end() && channel.encoding == recording::kCdr)
        m_channels[channel.id] = static_cast<std::size_t>(topic - m_topics.begin());
}

void RecordingSource::message(const mcap::Message& message)
{
    const auto channel = m_channels.find(message.channel);
    if (channel == m_channels.end()) return;
    const RecordType& type = *m_topics[channel->second].type;
    Sample sample{channel->second, {}, type.make()};
    if (!readPayload(type, message.data, sample.record.get())) {
        ++m_leftOut;
        return;
    }
    const aspn2_msgs::idl::header& header = type.headerOf(sample.record.get());
    sample.arrival = {arrivalTimeOf(message.logTime), {}, 0, header.device_id(), header.seq_num()};
    m_samples.push_back(std::move(sample));
}

std::vector<Sample> RecordingSource::take()
{
    std::vector<Sample> samples;
    if (m_samples.empty() || m_samples.front().arrival.time > m_now) return samples;
    samples.push_back(std::move(m_samples.front()));
    m_samples.pop_front();
    samples.front().arrival.time = m_now;  // which doesn't go back, whatever the recording says
    return samples;
}

void RecordingSource::wait(const EndingSignals& signals, std::optional<Time> until)
{
    constexpr std::chrono::hours kLongest{1};  // pause in which time passes as it did
    while (m_samples.empty()) {
        if (signals.received()) return;
        if (m_scanner->step()) continue;
        m_hasEnded = true;
        return;
    }
    const Time next = m_samples.front().arrival.time;
    const bool isEarlier = until && *until < next && next - *until < kLongest;
    m_now = std::max(m_now, isEarlier ? *until : next);
}

std::string RecordingSource::trouble() const
{
    mcap::ScanResult ending;
    ending.isClosed = true;  // as far as is known
    if (m_hasEnded) ending = m_scanner->ending();
    return troubleText(ending, m_problems);
}

void runEchoOfRecording(const WatchOptions& options, std::ostream& output)
{
    RecordingSource source(options.recording, options.topics, options.type);  // which a signal ends as any other
    EndingSignals signals;
    echoFrom(source, options, signals, output);
    sayTrouble(options.recording, source.trouble());
}

void runHzOfRecording(const WatchOptions& options, std::ostream& output)
{
    RecordingSource source(options.recording, options.topics, options.type);
    EndingSignals signals;
    hzFrom(source, options, signals, output);
    sayTrouble(options.recording, source.trouble());
}

}  // namespace orvanectl
