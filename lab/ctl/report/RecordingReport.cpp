#include "lab/ctl/report/RecordingReport.h"

#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/RecordText.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"
#include "lab/ctl/record/RecordingInfo.h"
#include "lab/ctl/report/BusReport.h"
#include "lab/ctl/report/EventReport.h"
#include "lab/ctl/report/JoinLine.h"
#include "lab/ctl/report/Latencies.h"
#include "lab/ctl/report/TrackReport.h"
#include "lab/ctl/why/BusText.h"
#include "lab/ctl/why/JoinEntries.h"
#include "lab/ctl/why/JoinRule.h"

#include <algorithm>
#include <map>
#include <optional>

namespace orvanectl {

using namespace aspn2_msgs::idl;

namespace {

constexpr double kNanosecond = 1e-9;
constexpr std::size_t kMostRates = 64;      // channels whose rates are followed
constexpr std::size_t kMostChannels = 200;  // that are told
constexpr std::size_t kRateBuckets = 240;
constexpr std::uint64_t kBetweenTells = 1U << 20;  // bytes, after which progress is told

constexpr const char* kEventLog = "EventLog";
constexpr const char* kMaintenance = "MaintenanceEvent";
constexpr const char* kCommand = "CommandResponse";
constexpr const char* kBitReport = "BitReport";

bool hasMessages(const RecordingInfo& info, const std::string& topic)
{
    return std::ranges::any_of(
        info.channels, [&](const ChannelInfo& channel) { return channel.topic == topic && channel.messages > 0; });
}

bool hasChannel(const RecordingInfo& info, const std::string& topic)
{
    return std::ranges::find(info.channels, topic, &ChannelInfo::topic) != info.channels.end();
}

/// The first and the last time of all messages; of none both are 0.
std::pair<std::uint64_t, std::uint64_t> spanOf(const RecordingInfo& info)
{
    std::uint64_t first = ~std::uint64_t{0}, last = 0;
    for (const ChannelInfo& channel : info.channels) {
        if (channel.messages == 0) continue;
        first = std::min(first, channel.first);
        last = std::max(last, channel.last);
    }
    return {std::min(first, last), last};
}

class ReportSink : public mcap::RecordSink {
public:
    ReportSink(const RecordingInfo& info, const ServerSettings& settings)
        : m_hearing{hasMessages(info, recording::kBus), hasChannel(info, m_receiverTopic), false},
          m_start(spanOf(info).first), m_joins(settings, m_hearing)
    {}

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        const auto schema = m_schemas.find(channel.schema);
        Followed& followed = m_channels[channel.id];
        followed = {};
        followed.rate = rateOf(channel.topic);
        if (channel.topic == recording::kBus && channel.encoding == recording::kJson) followed.kind = Kind::Bus;
        if (channel.topic == m_receiverTopic + recording::kRest) followed.kind = Kind::NoRecord;
        if (schema == m_schemas.end() || channel.encoding != recording::kCdr) return;
        const RecordType* const type = findRecordType(schema->second);
        if (!type) return;
        const auto input = std::ranges::find(kJoinTopics, channel.topic);
        followed.input = static_cast<std::size_t>(input - std::begin(kJoinTopics));
        if (channel.topic == m_receiverTopic && type->name == "GSSIP")
            followed.kind = Kind::Receiver;
        else if (input != std::end(kJoinTopics) && type->name == *input)
            followed.kind = Kind::Input;
        else if (type->name == kEventLog || type->name == kMaintenance || type->name == kCommand ||
                 type->name == kBitReport)
            followed.kind = Kind::Other;
        else
            return;
        followed.type = type;
        RecordPointer& record = m_records[type];
        if (!record) record = type->make();
        followed.record = record;
    }

    void message(const mcap::Message& message) override
    {
        Followed& followed = m_channels.at(message.channel);
        const std::uint64_t since = message.logTime - std::min(m_start, message.logTime);
        m_seconds = std::max(m_seconds, static_cast<double>(since) * kNanosecond);
        m_joins.passUntil(m_seconds);
        if (followed.rate) followed.rate->append(m_seconds, 1);
        switch (followed.kind) {
        case Kind::None:
            return;
        case Kind::Bus:
            return takeBusLine(bus::parsed({reinterpret_cast<const char*>(message.data.data()), message.data.size()}));
        case Kind::NoRecord:
            return m_joins.takeNoRecord();
        case Kind::Receiver:
            return read(followed, message) ? takeReceiver(*static_cast<const GSSIP*>(followed.record.get()))
                                           : m_joins.takeNoRecord();
        case Kind::Input:
            if (read(followed, message)) takeInput(followed.input, followed.record.get());
            return;
        case Kind::Other:
            if (read(followed, message)) takeOther(followed.type->name, followed.record.get());
            return;
        }
    }

    void end() { m_joins.end(); }

    Json json() const
    {
        Json report = m_bus.json();
        report["heard"] = {{"bus", m_hearing.bus}, {"receiver", m_hearing.receiver}};
        report["joins"] = m_joins.json();
        report["track"] = m_track.json();
        report["events"] = m_events.json();
        report["latencies"] = m_latencies.json();
        return report;
    }

    const Course* rateOfTopic(const std::string& topic) const
    {
        const auto found = m_rates.find(topic);
        return found == m_rates.end() ? nullptr : &found->second;
    }

private:
    enum class Kind { None, Bus, NoRecord, Receiver, Input, Other };

    struct Followed {
        Kind kind = Kind::None;
        std::size_t input = 0;
        const RecordType* type = nullptr;
        RecordPointer record = {};
        Course* rate = nullptr;  // of its topic
    };

    Course* rateOf(const std::string& topic)
    {
        if (const auto found = m_rates.find(topic); found != m_rates.end()) return &found->second;
        if (m_rates.size() >= kMostRates) return nullptr;
        return &m_rates.emplace(topic, Course(kRateBuckets, 1)).first->second;
    }

    static bool read(Followed& followed, const mcap::Message& message)
    {
        return readPayload(*followed.type, message.data, followed.record.get());
    }

    void takeInput(std::size_t input, const void* record)
    {
        const auto which = static_cast<JoinInput>(input);
        if (which == JoinInput::UtcTime) m_latencies.takeTime(*static_cast<const UTCTime*>(record), m_seconds);
        if (which == JoinInput::Pva) m_track.take(*static_cast<const PositionVelocityAttitude*>(record), m_seconds);
        m_latencies.take(findRecordType(kJoinTopics[input])->headerOf(record), m_seconds);
        m_joins.take(input, record);
    }

    void takeReceiver(const GSSIP& record)
    {
        if (JoinRule::isReport(record)) m_latencies.take(record.header(), m_seconds);
        m_joins.take(record);
    }

    /// As the screens of `orvanectl top` tell them apart.
    void takeOther(std::string_view type, const void* record)
    {
        if (type == kEventLog) m_events.take(*static_cast<const EventLog*>(record), m_seconds);
        if (type == kMaintenance) m_events.take(*static_cast<const MaintenanceEvent*>(record), m_seconds);
        if (type == kBitReport)
            m_bus.noteBuiltInTest(
                m_seconds, "report of " + sourceText(static_cast<const BitReport*>(record)->header().device_id()));
        if (type != kCommand) return;
        constexpr std::size_t kLongestText = 300;
        const std::string& text = static_cast<const CommandResponse*>(record)->command_response();
        const auto has = [&](const char* word) { return text.find(word) != std::string::npos; };
        if (has("ZEROIZE") || has("DESTROY")) m_bus.noteClearData(m_seconds, printable(text.substr(0, kLongestText)));
        if (has("CBIT")) m_bus.noteBuiltInTest(m_seconds, printable(text.substr(0, kLongestText)));
    }

    void takeBusLine(const Json& line)
    {
        const double told = toldAt(line);
        m_bus.take(line, m_seconds, m_lastTold = std::max(m_lastTold, told));
        m_joins.takeBusLine(line);
        if (!bus::isToldNow(line, "blended-navigation")) return;
        if (const auto second = bus::number(bus::record(line), "gpsSeconds")) m_latencies.tell(*second, told);
    }

    /// By its own wall clock, which is the recorder's too if it is a little earlier.
    double toldAt(const Json& line) const
    {
        constexpr double kMostEarlier = 10, kMostLater = 0.002;  // s
        const auto at = bus::number(line, "at_ms");
        if (!at) return m_seconds;
        const double told = *at * 1e-3 - static_cast<double>(m_start) * kNanosecond;
        return told <= m_seconds + kMostLater && told >= m_seconds - kMostEarlier ? told : m_seconds;
    }

    const std::string m_receiverTopic = std::string(recording::kQueue) + kReceiverQueue;
    const JoinDiary::Hearing m_hearing;
    const std::uint64_t m_start;
    double m_seconds = 0;
    double m_lastTold = 0;
    std::map<std::uint16_t, std::string> m_schemas;
    std::map<const RecordType*, RecordPointer> m_records;  // to read into, of all channels of a type
    std::map<std::uint16_t, Followed> m_channels;
    std::map<std::string, Course> m_rates;
    JoinLine m_joins;
    BusReport m_bus;
    TrackReport m_track;
    EventReport m_events;
    Latencies m_latencies;
};

/// A source the reading of which is told as the first half.
class FirstReading : public mcap::Source {
public:
    FirstReading(const mcap::Source& source, const std::function<void(double)>& progress)
        : m_source(source), m_progress(progress)
    {}

    std::uint64_t size() const override { return m_source.size(); }
    void read(std::uint64_t offset, std::span<std::uint8_t> into) const override
    {
        m_source.read(offset, into);
        if (!m_progress || offset < m_told + kBetweenTells) return;
        m_told = offset;
        m_progress(0.5 * static_cast<double>(offset) / static_cast<double>(std::max<std::uint64_t>(size(), 1)));
    }

private:
    const mcap::Source& m_source;
    const std::function<void(double)>& m_progress;
    mutable std::uint64_t m_told = 0;
};

Json topicsJson(const RecordingInfo& info, const ReportSink& sink)
{
    Json rows = Json::array();
    for (const ChannelInfo& channel : info.channels) {
        if (rows.size() >= kMostChannels) break;
        const double seconds = static_cast<double>(channel.last - channel.first) * kNanosecond;
        const auto missed = info.missed.find(channel.topic);
        const Course* const rate = sink.rateOfTopic(channel.topic);
        rows.push_back(
            {{"name", printable(channel.topic)},
             {"type", printable(channel.schema)},
             {"messages", channel.messages},
             {"hertz", seconds > 0 ? roundedTo(static_cast<double>(channel.messages - 1) / seconds, 0.001) : Json()},
             {"longest", roundedTo(static_cast<double>(channel.longest) * kNanosecond, 0.001)},
             {"gaps", channel.holes.gaps},
             {"missing", channel.holes.missing},
             {"unreadable", channel.unreadable},
             {"missed", missed == info.missed.end() ? Json() : Json(printable(missed->second))},
             {"rates", rate ? rate->ratesJson() : Json()}});
    }
    return rows;
}

}  // namespace

Json reportOf(const mcap::Source& source, const std::string& name, const ServerSettings& settings,
              const std::function<void(double)>& progress)
{
    const RecordingInfo info = infoOf(FirstReading(source, progress), name);
    ReportSink sink(info, settings);
    mcap::Scanner scanner(source, sink);
    const auto size = static_cast<double>(std::max<std::uint64_t>(source.size(), 1));
    for (std::uint64_t told = 0; scanner.step();) {
        if (!progress || scanner.result().end < told + kBetweenTells) continue;
        told = scanner.result().end;
        progress(0.5 + 0.5 * static_cast<double>(told) / size);
    }
    sink.end();

    const auto [first, last] = spanOf(info);
    std::uint64_t messages = 0;
    for (const ChannelInfo& channel : info.channels) messages += channel.messages;
    Json problems = Json::array();
    for (const std::string& problem : info.problems) problems.push_back(printable(problem));
    Json report = {{"file", printable(name)},
                   {"start", messages > 0 ? Json(dateText(first)) : Json()},
                   {"seconds", roundedTo(static_cast<double>(last - first) * kNanosecond, 0.001)},
                   {"messages", messages},
                   {"bytes", info.size},
                   {"closed", info.isClosed},
                   {"problemCount", info.problemCount},
                   {"problems", problems}};
    report.update(sink.json());
    report["topics"] = topicsJson(info, sink);
    return report;
}

}  // namespace orvanectl
