#include "lab/ctl/record/RecordingInfo.h"

#include "lab/ctl/RecordTypes.h"
#include "lab/ctl/Rendering.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/ctl/record/RecordPayload.h"
#include "lab/ctl/record/Recorder.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <iomanip>
#include <map>
#include <sstream>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr std::uint64_t kSecond = 1'000'000'000;
constexpr std::size_t kMostProblems = 20;
constexpr std::size_t kMostSources = 256;   // of a channel, whose numbers are followed
constexpr std::size_t kMostOfAll = 16'384;  // of all channels
constexpr std::size_t kWidestTopicColumn = 60;

class InfoSink : public mcap::RecordSink {
public:
    explicit InfoSink(RecordingInfo& info) : m_info(info) {}

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        const auto schema = m_schemas.find(channel.schema);
        Followed followed{m_info.channels.size(), nullptr, nullptr, {}};
        m_info.channels.push_back(
            {channel.topic, channel.encoding, schema == m_schemas.end() ? "" : schema->second, 0, 0, 0, 0, {}, 0});
        if (schema != m_schemas.end() && channel.encoding == recording::kCdr)
            followed.type = findRecordType(schema->second);
        if (followed.type) followed.record = recordOf(*followed.type);
        m_channels.emplace(channel.id, std::move(followed));
    }

    void message(const mcap::Message& message) override
    {
        Followed& followed = m_channels.at(message.channel);
        ChannelInfo& info = m_info.channels[followed.index];
        const std::uint64_t time = message.logTime;
        if (info.messages == 0) info.first = info.last = time;
        if (time > info.last) info.longest = std::max(info.longest, time - info.last);
        info.first = std::min(info.first, time);
        info.last = std::max(info.last, time);
        ++info.messages;
        if (followed.type) follow(followed, info, message.data);
    }

    void metadata(const mcap::Metadata& metadata) override
    {
        if (metadata.name == recording::kMissed) m_info.missed = metadata.values;
        if (metadata.name == recording::kEarlier) m_info.earlier = metadata.values;
        if (metadata.name == recording::kAbout) m_info.about = metadata.values;
    }

    void problem(std::uint64_t offset, const std::string& what) override
    {
        ++m_info.problemCount;
        if (m_info.problems.size() < kMostProblems)
            m_info.problems.push_back("offset " + std::to_string(offset) + ": " + what);
    }

private:
    struct Followed {
        std::size_t index;  // in the information
        const RecordType* type;
        RecordPointer record;                          // to read into, of all channels of the type
        std::map<std::int32_t, SequenceTrack> tracks;  // by device id
    };

    RecordPointer recordOf(const RecordType& type)
    {
        RecordPointer& record = m_records[&type];
        if (!record) record = type.make();
        return record;
    }

    void follow(Followed& followed, ChannelInfo& info, mcap::Bytes payload)
    {
        if (!readPayload(*followed.type, payload, followed.record.get())) {
            ++info.unreadable;
            return;
        }
        const aspn2_msgs::idl::header& header = followed.type->headerOf(followed.record.get());
        auto track = followed.tracks.find(header.device_id());
        if (track == followed.tracks.end()) {
            if (followed.tracks.size() >= kMostSources || m_followed >= kMostOfAll) return;
            track = followed.tracks.emplace(header.device_id(), SequenceTrack()).first;
            ++m_followed;
        }
        track->second.take(header.seq_num(), info.holes);
    }

    RecordingInfo& m_info;
    std::map<std::uint16_t, std::string> m_schemas;  // their names
    std::map<const RecordType*, RecordPointer> m_records;
    std::map<std::uint16_t, Followed> m_channels;
    std::size_t m_followed = 0;  // sources, of all channels
};

double seconds(std::uint64_t nanoseconds)
{
    return static_cast<double>(nanoseconds) / static_cast<double>(kSecond);
}

/// Messages a second between the first and the last; 0 where there is no time between.
double rateOf(const ChannelInfo& channel)
{
    if (channel.last <= channel.first) return 0;
    return static_cast<double>(channel.messages - 1) / seconds(channel.last - channel.first);
}

struct Span {
    std::uint64_t messages = 0;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

Span spanOf(const RecordingInfo& info)
{
    Span span;
    for (const ChannelInfo& channel : info.channels) {
        if (channel.messages == 0) continue;
        span.first = span.messages == 0 ? channel.first : std::min(span.first, channel.first);
        span.last = std::max(span.last, channel.last);
        span.messages += channel.messages;
    }
    return span;
}

std::string missedOf(const RecordingInfo& info, const std::string& topic)
{
    const auto found = info.missed.find(topic);
    return found == info.missed.end() ? "-" : printable(found->second);
}

std::string fixed(double value)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << value;
    return text.str();
}

}  // namespace

RecordingInfo infoOf(const std::string& file)
{
    const mcap::FileSource source(file);
    return infoOf(ReadProgress(source, "reads " + printable(file)), file);
}

RecordingInfo infoOf(const mcap::Source& source, const std::string& name)
{
    RecordingInfo info;
    info.file = name;
    info.size = source.size();
    InfoSink sink(info);
    const mcap::ScanResult result = mcap::scan(source, sink);
    if (!result.isRecording) throw std::runtime_error(name + ": is no recording");
    info.isClosed = result.isClosed;
    info.end = result.end;
    return info;
}

std::string dateText(std::uint64_t time)
{
    const auto whole = static_cast<std::time_t>(time / kSecond);
    std::tm parts{};
    gmtime_r(&whole, &parts);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::ostringstream date;
    date << text.data() << '.' << std::setw(3) << std::setfill('0') << time % kSecond / 1'000'000 << 'Z';
    return date.str();
}

std::string infoText(const RecordingInfo& info)
{
    const Span span = spanOf(info);
    std::ostringstream text;
    text << printable(info.file) << ": " << info.size << " bytes, " << span.messages << " messages";
    if (span.messages > 0)
        text << " in " << fixed(seconds(span.last - span.first)) << " s, from " << dateText(span.first) << " to "
             << dateText(span.last);
    text << '\n';
    if (!info.isClosed)
        text << "not closed: it was cut off at byte " << info.end << ", or its end is damaged (orvanectl repair)\n";
    for (const auto& [key, value] : info.about)
        if (!value.empty()) text << printable(key) << ": " << printable(value) << '\n';

    std::size_t width = 7;
    for (const ChannelInfo& channel : info.channels) width = std::max(width, printable(channel.topic).size());
    width = std::min(width, kWidestTopicColumn);  // one long name is not to widen all rows
    const auto row = [&](const std::string& name, const std::array<std::string, 7>& cells, const std::string& type) {
        text << std::left << std::setw(static_cast<int>(width)) << name << std::right;
        for (const std::string& cell : cells) text << std::setw(11) << cell;
        text << "  " << type << '\n';
    };
    row("channel", {"messages", "rate Hz", "longest s", "gaps", "missing", "back", "missed"}, "type");
    for (const ChannelInfo& channel : info.channels)
        row(printable(channel.topic),
            {std::to_string(channel.messages), fixed(rateOf(channel)), fixed(seconds(channel.longest)),
             std::to_string(channel.holes.gaps), std::to_string(channel.holes.missing),
             std::to_string(channel.holes.back), missedOf(info, channel.topic)},
            printable(channel.schema.empty() ? channel.encoding : channel.schema) +
                (channel.unreadable > 0 ? ", " + std::to_string(channel.unreadable) + " unreadable" : ""));
    if (const auto leftOut = info.missed.find("left out"); leftOut != info.missed.end() && leftOut->second != "0")
        text << "left out by the recorder: " << printable(leftOut->second) << '\n';
    for (const auto& [topic, count] : info.earlier)
        text << "sent before their publisher was heard: " << printable(topic) << ' ' << printable(count) << '\n';
    for (const std::string& problem : info.problems) text << "damaged: " << problem << '\n';
    if (info.problemCount > info.problems.size())
        text << "damaged: " << info.problemCount - info.problems.size() << " places more\n";
    return text.str();
}

std::string infoJson(const RecordingInfo& info)
{
    const Span span = spanOf(info);
    Json channels = Json::array();
    for (const ChannelInfo& channel : info.channels)
        channels.push_back({{"topic", printable(channel.topic)},
                            {"type", printable(channel.schema)},
                            {"encoding", printable(channel.encoding)},
                            {"messages", channel.messages},
                            {"first", channel.messages > 0 ? dateText(channel.first) : ""},
                            {"last", channel.messages > 0 ? dateText(channel.last) : ""},
                            {"rate_hz", rateOf(channel)},
                            {"longest_s", seconds(channel.longest)},
                            {"gaps", channel.holes.gaps},
                            {"missing", channel.holes.missing},
                            {"back", channel.holes.back},
                            {"unreadable", channel.unreadable}});
    Json missed = Json::object(), earlier = Json::object(), about = Json::object();
    for (const auto& [key, value] : info.missed) missed[printable(key)] = printable(value);
    for (const auto& [key, value] : info.earlier) earlier[printable(key)] = printable(value);
    for (const auto& [key, value] : info.about) about[printable(key)] = printable(value);
    return jsonLine({{"kind", "recording"},
                     {"file", printable(info.file)},
                     {"bytes", info.size},
                     {"closed", info.isClosed},
                     {"messages", span.messages},
                     {"from", span.messages > 0 ? dateText(span.first) : ""},
                     {"to", span.messages > 0 ? dateText(span.last) : ""},
                     {"seconds", seconds(span.last - span.first)},
                     {"recording", about},
                     {"missed", missed},
                     {"earlier", earlier},
                     {"channels", channels},
                     {"problems", info.problemCount}});
}

}  // namespace orvanectl
