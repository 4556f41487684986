#include "lab/mcap/Reader.h"

#include <algorithm>
#include <functional>
#include <set>

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

/// Takes no more memory than for a piece.
void readPieces(const Source& source, std::uint64_t offset, std::uint64_t size, const std::function<void(Bytes)>& take)
{
    constexpr std::uint64_t kPiece = std::uint64_t{256} * 1024;
    while (size > 0) {
        const std::uint64_t length = std::min(size, kPiece);
        take(readBytes(source, offset, length));
        offset += length;
        size -= length;
    }
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

/// Where the summary begins, or the footer where there is none; nothing for what is no such place.
std::optional<std::uint64_t> startOfEnd(const Source& source, const Footer& footer)
{
    const std::uint64_t place = source.size() - kMagic.size() - kFooterSize;
    if (footer.summaryStart == 0) return place;
    if (footer.summaryStart < kMagic.size() || footer.summaryStart > place) return std::nullopt;
    return footer.summaryStart;
}

/// Where the end of a closed recording begins, however large its summary is; nothing if it has none.
std::optional<std::uint64_t> findWholeEnd(const Source& source)
{
    const auto footer = findFooter(source);
    const auto start = footer ? startOfEnd(source, *footer) : std::nullopt;
    if (!start) return std::nullopt;
    constexpr std::size_t kCrc = 4;
    Crc32 crc;
    readPieces(source, *start, source.size() - kMagic.size() - kCrc - *start, [&](Bytes bytes) { crc.add(bytes); });
    return footer->summaryCrc == 0 || crc.value() == footer->summaryCrc ? start : std::nullopt;
}

/// Up to, and without, the footer; nothing if there is none.
std::optional<std::vector<std::uint8_t>> summaryBytes(const Source& source)
{
    const auto start = findWholeEnd(source);
    const std::uint64_t footer = source.size() - kMagic.size() - kFooterSize;
    if (!start || *start == footer) return std::nullopt;
    return readBytes(source, *start, footer - *start);
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

    /// What stands further in front, as if it had been taken.
    void know(std::span<const Schema> schemas, std::span<const Channel> channels)
    {
        for (const Schema& schema : schemas) know(m_schemas, schema);
        for (const Channel& channel : channels) know(m_channels, channel);
    }

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
            problem(offset, std::string(what) + ' ' + error.what());
        }
    }

    void take(const Attachment& attachment) { m_sink.attachment(attachment); }

    void problem(std::uint64_t offset, const std::string& what)
    {
        m_hasProblem = true;
        m_sink.problem(offset, what);
    }

    bool hasProblem() const { return m_hasProblem; }

private:
    template <class T>
    void know(std::map<std::uint16_t, T>& all, const T& one)
    {
        ByteWriter bytes;
        write(bytes, one);
        if (all.emplace(one.id, one).second) account(bytes.size() - kFrontSize);
    }

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
    bool m_hasProblem = false;
};

Scanner::Scanner(const Source& source, RecordSink& sink, TimeRange range)
    : m_source(source), m_gate(std::make_unique<RecordGate>(sink, range))
{
    m_result.isRecording = source.size() >= kMagic.size() && isMagic(readBytes(source, 0, kMagic.size()));
    m_result.end = m_result.isRecording ? kMagic.size() : 0;
    m_hasEnded = !m_result.isRecording;
    m_crc.add(kMagic);
}

Scanner::Scanner(const Source& source, RecordSink& sink, std::uint64_t place, std::span<const Schema> schemas,
                 std::span<const Channel> channels)
    : Scanner(source, sink)
{
    m_gate->know(schemas, channels);
    m_isFromFront = place <= m_result.end;
    m_result.end = std::clamp(place, m_result.end, std::max(source.size(), m_result.end));
}

Scanner::~Scanner() = default;

bool Scanner::step()
{
    if (m_hasEnded || m_source.size() - m_result.end < kFrontSize) return false;
    m_hasEnded = true;
    const auto bytes = readBytes(m_source, m_result.end, kFrontSize);
    ByteReader reader(bytes);
    const Front front = readFront(reader);
    const auto op = static_cast<Op>(front.op);
    if (front.op == 0) {
        m_gate->problem(m_result.end, "no record begins here");
        return false;
    }
    if (front.length > m_source.size() - m_result.end - kFrontSize) return false;  // it is cut off
    if (op == Op::DataEnd) {
        checkSum(front.length);
    } else {
        m_crc.add(bytes);
        takeContent(op, front.length);
    }
    m_result.end += kFrontSize + front.length;
    m_hasEnded = m_result.isClosed = op == Op::DataEnd;
    return true;
}

void Scanner::takeContent(Op op, std::uint64_t length)
{
    const std::uint64_t place = m_result.end + kFrontSize;
    const bool isLarge = length > kLargest;
    if (!isSkipped(op) && !isLarge) {
        const auto content = readBytes(m_source, place, length);
        m_crc.add(content);
        return m_gate->take({static_cast<std::uint8_t>(op), length}, content, m_result.end);
    }
    if (!isSkipped(op)) m_gate->problem(m_result.end, "record is too large");
    readPieces(m_source, place, length, [this](Bytes bytes) { m_crc.add(bytes); });
    if (op == Op::Attachment) takeAttachment(length);
}

void Scanner::takeAttachment(std::uint64_t length)
{
    constexpr std::uint64_t kCrc = 4;
    constexpr std::uint64_t kMostFront = std::uint64_t{1024} * 1024;
    ++m_result.attachments;
    const std::uint64_t place = m_result.end + kFrontSize;
    try {
        const auto front = readBytes(m_source, place, std::min(length, kMostFront));
        ByteReader reader(front);
        Attachment attachment = readAttachmentFront(reader);
        const std::uint64_t rest = length - (front.size() - reader.rest().size());
        if (rest < kCrc || rest - kCrc != attachment.dataSize) throw Malformed("is not as long as it says");
        Crc32 crc;
        readPieces(m_source, place, length - kCrc, [&](Bytes bytes) { crc.add(bytes); });
        const auto end = readBytes(m_source, place + length - kCrc, kCrc);
        const std::uint32_t told = ByteReader(end).u32();
        if (told != 0 && told != crc.value()) throw Malformed("has a wrong checksum");
        attachment.offset = m_result.end;
        attachment.length = kFrontSize + length;
        m_gate->take(attachment);
    } catch (const Malformed& error) {
        m_gate->problem(m_result.end, std::string("attachment ") + error.what());
    }
}

/// What was damaged where no chunk's own checksum tells of it.
void Scanner::checkSum(std::uint64_t length)
{
    constexpr std::uint64_t kCrc = 4;
    if (length < kCrc) return m_gate->problem(m_result.end, "data end ends too early");
    const auto content = readBytes(m_source, m_result.end + kFrontSize, kCrc);
    const std::uint32_t told = ByteReader(content).u32();
    if (m_isFromFront && told != 0 && told != m_crc.value() && !m_gate->hasProblem())
        m_gate->problem(m_result.end, "the checksum of all before is wrong");
}

ScanResult Scanner::ending() const
{
    ScanResult result = m_result;
    result.isClosed = result.isClosed && findWholeEnd(m_source) == result.end;
    return result;
}

ScanResult scan(const Source& source, RecordSink& sink, TimeRange range)
{
    Scanner scanner(source, sink, range);
    while (scanner.step()) {
    }
    return scanner.ending();
}

std::optional<Summary> readSummary(const Source& source)
{
    try {
        const auto bytes = summaryBytes(source);
        if (!bytes) return std::nullopt;
        return parseSummary(*bytes);
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

bool isComplete(const Summary& summary)
{
    const auto& statistics = summary.statistics;
    if (!statistics || statistics->chunks != summary.chunks.size() || statistics->channels > summary.channels.size())
        return false;
    if ((statistics->messages > 0) == summary.chunks.empty()) return false;  // they are in none, or none is in them
    if (!summary.chunks.empty() &&
        std::ranges::min(summary.chunks, {}, &ChunkIndex::startTime).startTime != statistics->startTime)
        return false;
    std::set<std::uint16_t> schemas = {0};  // which is none
    for (const Schema& schema : summary.schemas) schemas.insert(schema.id);
    std::set<std::uint16_t> channels;
    return std::ranges::all_of(summary.channels, [&](const Channel& channel) {
        return schemas.contains(channel.schema) && channels.insert(channel.id).second;
    });
}

}  // namespace mcap
