#include "lab/mcap/Copy.h"

#include <algorithm>

namespace mcap {

namespace {

class Copier : public RecordSink {
public:
    Copier(const Source& source, Writer& writer, const CopyFilter& filter)
        : m_source(source), m_writer(writer), m_filter(filter)
    {}

    std::uint64_t problems() const { return m_problems; }

    void schema(const Schema& schema) override { m_schemas[schema.id] = {schema, 0}; }

    /// A schema is written with the first channel that has it.
    void channel(const Channel& channel) override
    {
        if (m_filter.channel && !m_filter.channel(channel)) return;
        std::uint16_t schema = 0;
        if (channel.schema != 0) {
            auto& [known, number] = m_schemas.at(channel.schema);
            if (number == 0) number = m_writer.addSchema(known.name, known.encoding, known.text);
            schema = number;
        }
        m_channels[channel.id] = m_writer.addChannel(schema, channel.topic, channel.encoding, channel.metadata);
    }

    void message(const Message& message) override
    {
        const auto channel = m_channels.find(message.channel);
        if (channel == m_channels.end()) return;
        Message copy = message;
        copy.channel = channel->second;
        m_writer.add(copy);
    }

    void metadata(const Metadata& metadata) override { m_writer.add(metadata); }
    void attachment(const Attachment& attachment) override { m_writer.add(attachment, m_source); }
    void problem(std::uint64_t, const std::string&) override { ++m_problems; }

private:
    const Source& m_source;
    Writer& m_writer;
    const CopyFilter& m_filter;
    std::map<std::uint16_t, std::pair<Schema, std::uint16_t>> m_schemas;  // with the number in the copy, 0 for none yet
    std::map<std::uint16_t, std::uint16_t> m_channels;
    std::uint64_t m_problems = 0;
};

bool beginsAsRecording(const Source& source)
{
    std::array<std::uint8_t, kMagic.size()> bytes{};
    if (source.size() < bytes.size()) return false;
    source.read(0, bytes);
    return bytes == kMagic;
}

}  // namespace

CopyResult copy(const Source& source, Output& output, const Writer::Options& options, const CopyFilter& filter)
{
    CopyResult result;
    if (!beginsAsRecording(source)) return result;
    Writer writer(output, options);
    Copier copier(source, writer, filter);
    result.source = scan(source, copier, filter.range);
    writer.close();
    result.written = writer.statistics();
    result.problems = copier.problems();
    return result;
}

}  // namespace mcap
