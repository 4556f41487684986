#include "lab/mcap/Reader.h"

#include "lab/mcap/Crc32.h"

#include <algorithm>

namespace mcap {

namespace {

struct Front {
    std::uint8_t op;
    std::uint64_t length;
};

Front readFront(ByteReader& reader)
{
    const std::uint8_t op = reader.u8();
    return {op, reader.u64()};
}

std::vector<std::uint8_t> readBytes(const Source& source, std::uint64_t offset, std::uint64_t size)
{
    if (size > kLargest) throw Malformed("is too large");
    if (offset > source.size() || size > source.size() - offset) throw Malformed("ends too early");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    source.read(offset, bytes);
    return bytes;
}

bool isMagic(Bytes bytes)
{
    return std::ranges::equal(bytes, kMagic);
}

bool isSkipped(Op op)
{
    switch (op) {
    case Op::Schema:
    case Op::Channel:
    case Op::Message:
    case Op::Chunk:
    case Op::Metadata:
        return false;
    case Op::Header:
    case Op::Footer:
    case Op::MessageIndex:
    case Op::ChunkIndex:
    case Op::Attachment:
    case Op::AttachmentIndex:
    case Op::Statistics:
    case Op::MetadataIndex:
    case Op::SummaryOffset:
    case Op::DataEnd:
        break;
    }
    return true;
}

std::optional<Footer> findFooter(const Source& source)
{
    const std::uint64_t behind = kFooterSize + kMagic.size();
    if (source.size() < behind + kMagic.size()) return std::nullopt;
    const auto bytes = readBytes(source, source.size() - behind, behind);
    ByteReader reader(bytes);
    const Front front = readFront(reader);
    if (static_cast<Op>(front.op) != Op::Footer || front.length != kFooterSize - kFrontSize) return std::nullopt;
    const Footer footer = readFooter(reader.take(front.length));
    return isMagic(reader.rest()) ? std::optional(footer) : std::nullopt;
}

/// Up to, and without, the footer; nothing if its checksum is wrong.
std::optional<std::vector<std::uint8_t>> summaryBytes(const Source& source, const Footer& footer)
{
    constexpr std::size_t kCrc = 4;
    const std::uint64_t end = source.size() - kMagic.size();
    if (footer.summaryStart < kMagic.size() || footer.summaryStart > end - kFooterSize) return std::nullopt;
    auto bytes = readBytes(source, footer.summaryStart, end - footer.summaryStart);
    if (footer.summaryCrc != 0 && crc32Of(Bytes(bytes).first(bytes.size() - kCrc)) != footer.summaryCrc)
        return std::nullopt;
    bytes.resize(bytes.size() - kFooterSize);
    return bytes;
}

Summary parseSummary(Bytes bytes)
{
    Summary summary;
    ByteReader reader(bytes);
    while (!reader.isAtEnd()) {
        const Front front = readFront(reader);
        const Bytes content = reader.take(front.length);
        const auto op = static_cast<Op>(front.op);
        if (op == Op::Schema) summary.schemas.push_back(readSchema(content));
        if (op == Op::Channel) summary.channels.push_back(readChannel(content));
        if (op == Op::ChunkIndex) summary.chunks.push_back(readChunkIndex(content));
        if (op == Op::Statistics) summary.statistics = readStatistics(content);
    }
    std::ranges::sort(summary.chunks, {}, &ChunkIndex::offset);
    return summary;
}

}  // namespace

/// Hands over what makes sense: channels whose schema is known, messages whose channel is. Problems are the recording's;
/// what the sink throws passes through, as long as it is no `Malformed`.
class RecordGate {
public:
    RecordGate(RecordSink& sink, TimeRange range) : m_sink(sink), m_range(range) {}

    /// A record that stands outside of chunks, or in one.
    /// @param offset  of the file, for problems
    void take(Front front, Bytes content, std::uint64_t offset)
    {
        const char* what = "record";
        try {
            switch (static_cast<Op>(front.op)) {
            case Op::Schema:
                what = "schema";
                return take(readSchema(content), content.size());
            case Op::Channel:
                what = "channel";
                return take(readChannel(content), content.size());
            case Op::Message:
                what = "message";
                return take(readMessage(content));
            case Op::Metadata:
                what = "metadata";
                return m_sink.metadata(readMetadata(content));
            case Op::Chunk:
                what = "chunk";
                return takeChunk(readChunk(content), offset);
            case Op::Header:
            case Op::Footer:
            case Op::MessageIndex:
            case Op::ChunkIndex:
            case Op::Attachment:
            case Op::AttachmentIndex:
            case Op::Statistics:
            case Op::MetadataIndex:
            case Op::SummaryOffset:
            case Op::DataEnd:
                return;
            }
        } catch (const Malformed& error) {
            m_sink.problem(offset, std::string(what) + ' ' + error.what());
        }
    }

private:
    void take(const Schema& schema, std::size_t size)
    {
        if (const auto known = m_schemas.find(schema.id); known != m_schemas.end()) {
            if (known->second == schema) return;  // it may be told again
            throw Malformed("has a number that another has");
        }
        account(size);
        m_sink.schema(m_schemas.emplace(schema.id, schema).first->second);
    }

    void take(const Channel& channel, std::size_t size)
    {
        if (const auto known = m_channels.find(channel.id); known != m_channels.end()) {
            if (known->second == channel) return;
            throw Malformed("has a number that another has");
        }
        if (channel.schema != 0 && !m_schemas.contains(channel.schema))
            throw Malformed("has a schema that is not there");
        account(size);
        m_sink.channel(m_channels.emplace(channel.id, channel).first->second);
    }

    void take(const Message& message)
    {
        if (!m_channels.contains(message.channel)) throw Malformed("has a channel that is not there");
        if (m_range.contains(message.logTime)) m_sink.message(message);
    }

    void takeChunk(const std::vector<std::uint8_t>& records, std::uint64_t offset)
    {
        ByteReader reader(records);
        while (!reader.isAtEnd()) {
            const Front front = readFront(reader);
            const Bytes content = reader.take(front.length);
            const auto op = static_cast<Op>(front.op);
            if (op == Op::Schema || op == Op::Channel || op == Op::Message) take(front, content, offset);
        }
    }

    /// What is kept of a recording has a limit.
    void account(std::size_t size)
    {
        constexpr std::size_t kOfEach = 512;  // that it takes besides its content
        if (size + kOfEach > kLargest - m_kept) throw Malformed("is one too many");
        m_kept += size + kOfEach;
    }

    RecordSink& m_sink;
    const TimeRange m_range;
    std::map<std::uint16_t, Schema> m_schemas;
    std::map<std::uint16_t, Channel> m_channels;
    std::uint64_t m_kept = 0;
};

Scanner::Scanner(const Source& source, RecordSink& sink, TimeRange range)
    : m_source(source), m_sink(sink), m_gate(std::make_unique<RecordGate>(sink, range))
{
    m_result.isRecording = source.size() >= kMagic.size() && isMagic(readBytes(source, 0, kMagic.size()));
    m_result.end = m_result.isRecording ? kMagic.size() : 0;
    m_hasEnded = !m_result.isRecording;
}

Scanner::~Scanner() = default;

bool Scanner::step()
{
    if (m_hasEnded || m_source.size() - m_result.end < kFrontSize) return false;
    m_hasEnded = true;
    const auto bytes = readBytes(m_source, m_result.end, kFrontSize);
    ByteReader reader(bytes);
    const Front front = readFront(reader);
    if (front.op == 0) {
        m_sink.problem(m_result.end, "no record begins here");
        return false;
    }
    if (front.length > m_source.size() - m_result.end - kFrontSize) return false;  // it is cut off
    if (static_cast<Op>(front.op) == Op::Attachment) ++m_result.attachments;
    if (!isSkipped(static_cast<Op>(front.op))) {
        if (front.length > kLargest)
            m_sink.problem(m_result.end, "record is too large");
        else
            m_gate->take(front, readBytes(m_source, m_result.end + kFrontSize, front.length), m_result.end);
    }
    m_result.end += kFrontSize + front.length;
    m_hasEnded = m_result.isClosed = static_cast<Op>(front.op) == Op::DataEnd;
    return true;
}

ScanResult scan(const Source& source, RecordSink& sink, TimeRange range)
{
    Scanner scanner(source, sink, range);
    while (scanner.step()) {
    }
    ScanResult result = scanner.result();
    result.isClosed = result.isClosed && readSummary(source).has_value();
    return result;
}

std::optional<Summary> readSummary(const Source& source)
{
    try {
        const auto footer = findFooter(source);
        if (!footer) return std::nullopt;
        const auto bytes = summaryBytes(source, *footer);
        if (!bytes) return std::nullopt;
        return parseSummary(*bytes);
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

void readIndexed(const Source& source, const Summary& summary, RecordSink& sink, TimeRange range)
{
    RecordGate gate(sink, range);
    const auto takeAgain = [&](Op op, const auto& record) {
        ByteWriter bytes;
        write(bytes, record);
        gate.take({static_cast<std::uint8_t>(op), 0}, bytes.bytes().subspan(kFrontSize), 0);
    };
    for (const Schema& schema : summary.schemas) takeAgain(Op::Schema, schema);
    for (const Channel& channel : summary.channels) takeAgain(Op::Channel, channel);
    for (const ChunkIndex& chunk : summary.chunks) {
        if (chunk.endTime < range.start || chunk.startTime > range.end) continue;
        try {
            const auto bytes = readBytes(source, chunk.offset, chunk.length);
            ByteReader reader(bytes);
            const Front front = readFront(reader);
            if (static_cast<Op>(front.op) != Op::Chunk) throw Malformed("is none");
            gate.take(front, reader.take(front.length), chunk.offset);
        } catch (const Malformed& error) {
            sink.problem(chunk.offset, std::string("chunk ") + error.what());
        }
    }
}

}  // namespace mcap
