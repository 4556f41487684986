#include "lab/ctl/record/RecordingWhy.h"

#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingSource.h"
#include "lab/ctl/record/RecordingTrouble.h"
#include "lab/ctl/why/BusEntries.h"
#include "lab/ctl/why/BusText.h"
#include "lab/ctl/why/DiaryClock.h"
#include "lab/ctl/why/JoinEntries.h"
#include "lab/ctl/why/ServiceSettings.h"
#include "lab/ctl/why/WhyReport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <utility>

namespace orvanectl {

namespace {

using Time = JoinDiary::Time;

bool has(const RecordingOverview& overview, const std::string& topic)
{
    return std::ranges::find(overview.channels, topic, &RecordingOverview::Channel::topic) != overview.channels.end();
}

class RecordingWhy : public mcap::RecordSink {
public:
    RecordingWhy(const WhyOptions& options, const ServerSettings& settings, const RecordingOverview& overview,
                 std::ostream& output)
        : m_options(options), m_hasBus(has(overview, recording::kBus)), m_hasReceiver(has(overview, m_receiverTopic)),
          m_start(arrivalTimeOf(overview.start)), m_diary(settings, {m_hasBus, m_hasReceiver, false}),
          m_report(output, options.all, options.json, m_start)
    {
        for (const std::string& topic : kJoinTopics) m_types.push_back(findRecordType(topic));
        m_report.progress("reads " + printable(options.recording));
    }

    bool isOver() const { return m_isOver; }

    std::uint64_t problems() const { return m_problems; }

    void problem(std::uint64_t, const std::string&) override { ++m_problems; }

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        const auto schema = m_schemas.find(channel.schema);
        const RecordType* const type = schema == m_schemas.end() ? nullptr : findRecordType(schema->second);
        const auto topic = std::ranges::find(kJoinTopics, channel.topic);
        const auto index = static_cast<std::size_t>(topic - kJoinTopics.begin());
        if (topic != kJoinTopics.end() && type == m_types[index] && channel.encoding == recording::kCdr)
            m_topics[channel.id] = index;
        if (channel.topic == recording::kBus) m_bus = channel.id;
        if (channel.topic == m_receiverTopic) m_receiver = channel.id;
        if (channel.topic == m_receiverTopic + recording::kRest) m_rest = channel.id;
    }

    void message(const mcap::Message& message) override
    {
        if (m_isOver) return;
        passUntil(arrivalTimeOf(message.logTime));
        if (m_isOver) return;
        if (const auto topic = m_topics.find(message.channel); topic != m_topics.end())
            takeRecord(topic->second, message.data);
        else if (message.channel == m_bus)
            takeBusLine(message.data);
        else if (message.channel == m_receiver)
            takeReceiver(message.data);
        else if (message.channel == m_rest)
            m_diary.takeNoRecord(now());
    }

    void end()
    {
        const auto silence = m_diary.silence(now());
        m_report.show(m_diary.end(now()));
        WhyHeard heard{m_hasBus, m_hasReceiver, false, {}, "the recording has no ", m_leftOut, " records are none"};
        for (std::size_t topic = 0; topic < kJoinTopics.size(); ++topic)
            if (!m_isHeard[topic]) heard.without.push_back(kJoinTopics[topic]);
        m_report.printSum(heard, silence);
    }

private:
    /// As `why` looks while it waits.
    void passUntil(Time time)
    {
        if (m_options.seconds > 0) {
            const auto length = std::chrono::duration<double>(m_options.seconds);
            if (time - m_start >= length) {
                m_isOver = true;
                time = m_start + std::chrono::duration_cast<Time::duration>(length);
            }
        }
        m_clock.passUntil(time, [this] {
            m_report.show(m_diary.takeDecided(now()));
            m_report.saySilence(m_diary.silence(now()), now());
        });
    }

    Time now() const { return m_clock.now(); }

    void takeRecord(std::size_t topic, mcap::Bytes payload)
    {
        const RecordPointer record = m_types[topic]->make();
        if (!readPayload(*m_types[topic], payload, record.get())) {
            ++m_leftOut;
            return;
        }
        enterRecord(m_diary, topic, record.get(), now());
        if (std::exchange(m_isHeard[topic], true)) return;
        if (std::ranges::count(m_isHeard, true) == std::ssize(kJoinTopics)) m_report.hearsAll();
    }

    void takeReceiver(mcap::Bytes payload)
    {
        aspn2_msgs::idl::GSSIP record;
        if (readPayload(*findRecordType("GSSIP"), payload, &record))
            m_diary.take(record, now());
        else
            m_diary.takeNoRecord(now());
    }

    void takeBusLine(mcap::Bytes text)
    {
        enterBusLine(m_diary, bus::parsed({reinterpret_cast<const char*>(text.data()), text.size()}), now());
    }

    const WhyOptions& m_options;
    const std::string m_receiverTopic = std::string(recording::kQueue) + kReceiverQueue;
    const bool m_hasBus;
    const bool m_hasReceiver;
    const Time m_start;
    DiaryClock m_clock{m_start};
    JoinDiary m_diary;
    WhyReport m_report;
    std::vector<const RecordType*> m_types;  // of the five
    std::map<std::uint16_t, std::string> m_schemas;
    std::map<std::uint16_t, std::size_t> m_topics;
    std::optional<std::uint16_t> m_bus;
    std::optional<std::uint16_t> m_receiver;
    std::optional<std::uint16_t> m_rest;
    std::array<bool, kJoinInputs> m_isHeard{};
    std::uint64_t m_leftOut = 0;
    std::uint64_t m_problems = 0;  // damaged places
    bool m_isOver = false;
};

}  // namespace

void runWhyOfRecording(const WhyOptions& options, std::ostream& output)
{
    runWhyOfRecording(options, serviceSettings(options.file), output);
}

void runWhyOfRecording(const WhyOptions& options, const ServerSettings& settings, std::ostream& output)
{
    const mcap::FileSource source(options.recording);
    RecordingOverview overview =
        overviewOf(ReadProgress(source, "reads " + printable(options.recording)), options.recording);
    if (overview.start == ~std::uint64_t{0}) overview.start = 0;  // without a message
    RecordingWhy why(options, settings, overview, output);
    mcap::Scanner scanner(source, why);
    while (!why.isOver() && scanner.step()) {
    }
    why.end();
    mcap::ScanResult ending = scanner.ending();
    ending.isClosed = ending.isClosed || why.isOver();  // as far as is known
    sayTrouble(options.recording, troubleText(ending, why.problems()));
}

}  // namespace orvanectl
