#include "lab/ctl/record/RecordingOverview.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <stdexcept>
#include <string_view>

namespace orvanectl {

namespace {

class OverviewSink : public mcap::RecordSink {
public:
    explicit OverviewSink(RecordingOverview& overview) : m_overview(overview) {}

    void schema(const mcap::Schema& schema) override { m_schemas[schema.id] = schema.name; }

    void channel(const mcap::Channel& channel) override
    {
        const auto schema = m_schemas.find(channel.schema);
        m_overview.channels.push_back(
            {channel.topic, channel.encoding, schema == m_schemas.end() ? "" : schema->second});
    }

    void message(const mcap::Message& message) override
    {
        m_overview.start = std::min(m_overview.start, message.logTime);
    }

private:
    RecordingOverview& m_overview;
    std::map<std::uint16_t, std::string> m_schemas;
};

}  // namespace

std::vector<std::string> RecordingOverview::topics() const
{
    std::vector<std::string> names;
    std::set<std::string_view> seen;
    for (const Channel& channel : channels)
        if (seen.insert(channel.topic).second) names.push_back(channel.topic);
    return names;
}

std::uint64_t RecordingOverview::timeBehindStart(double seconds) const
{
    constexpr double kNanoseconds = 1e9;
    constexpr auto kLast = std::numeric_limits<std::uint64_t>::max();
    const double length = seconds * kNanoseconds;
    if (length >= static_cast<double>(kLast - start)) return kLast;
    return start + static_cast<std::uint64_t>(std::max(length, 0.0));
}

RecordingOverview overviewOf(const mcap::Source& source, const std::string& name)
{
    RecordingOverview overview;
    OverviewSink sink(overview);
    if (!mcap::Scanner(source, sink).result().isRecording) throw std::runtime_error(name + ": is no recording");
    const auto summary = mcap::readSummary(source);
    if (!summary || !mcap::isComplete(*summary)) {
        mcap::scan(source, sink);
        return overview;
    }
    for (const mcap::Schema& schema : summary->schemas) sink.schema(schema);
    for (const mcap::Channel& channel : summary->channels) sink.channel(channel);
    if (summary->statistics->messages > 0) overview.start = summary->statistics->startTime;
    return overview;
}

}  // namespace orvanectl
