#include "lab/mcap/Writer.h"

#include "lab/mcap/Compression.h"

#include <algorithm>
#include <limits>

namespace mcap {

Writer::Writer(Output& output, Options options) : m_output(output), m_options(std::move(options))
{
    ByteWriter content;
    content.text("");  // no profile: nothing more is promised than the format does
    content.text(m_options.writtenBy);
    ByteWriter bytes;
    bytes.raw(kMagic);
    writeFront(bytes, Op::Header, content.size());
    bytes.raw(content.bytes());
    put(bytes);
}

void Writer::put(Bytes bytes)
{
    m_output.write(bytes);
    m_crc.add(bytes);
    m_offset += bytes.size();
}

// Schemas and channels stand between chunks, so that none is lost with one.

std::uint16_t Writer::addSchema(const std::string& name, const std::string& encoding, const std::string& text)
{
    if (m_schemas.size() >= std::numeric_limits<std::uint16_t>::max()) throw Malformed("has too many schemas");
    const auto id = static_cast<std::uint16_t>(m_schemas.size() + 1);
    m_schemas.push_back({id, name, encoding, text});
    ByteWriter bytes;
    write(bytes, m_schemas.back());
    put(bytes);
    ++m_statistics.schemas;
    return id;
}

std::uint16_t Writer::addChannel(std::uint16_t schema, const std::string& topic, const std::string& encoding,
                                 const Table& metadata)
{
    if (m_channels.size() >= std::numeric_limits<std::uint16_t>::max()) throw Malformed("has too many channels");
    if (schema > m_schemas.size()) throw Malformed("has no such schema");
    const auto id = static_cast<std::uint16_t>(m_channels.size());
    m_channels.push_back({id, schema, topic, encoding, metadata});
    ByteWriter bytes;
    write(bytes, m_channels.back());
    put(bytes);
    ++m_statistics.channels;
    m_statistics.messagesOf[id] = 0;
    return id;
}

void Writer::add(const Message& message)
{
    if (message.channel >= m_channels.size()) throw Malformed("has no such channel");
    constexpr std::uint64_t kRoomForTheRest = 128;  // fronts of message and chunk
    if (message.data.size() > kLargest - kRoomForTheRest) throw Malformed("is too long a message");
    // A large one doesn't make a chunk too large that others have begun.
    if (m_chunk.size() > 0 && m_chunk.size() + message.data.size() + kRoomForTheRest > kLargest) endChunk();
    if (m_chunk.size() == 0) m_chunkStart = m_chunkEnd = message.logTime;
    m_chunkStart = std::min(m_chunkStart, message.logTime);
    m_chunkEnd = std::max(m_chunkEnd, message.logTime);
    m_places[message.channel].emplace_back(message.logTime, m_chunk.size());
    write(m_chunk, message);

    const bool isFirst = m_statistics.messages == 0;
    m_statistics.startTime = isFirst ? message.logTime : std::min(m_statistics.startTime, message.logTime);
    m_statistics.endTime = isFirst ? message.logTime : std::max(m_statistics.endTime, message.logTime);
    ++m_statistics.messages;
    ++m_statistics.messagesOf[message.channel];
    if (m_chunk.size() >= m_options.chunkSize) endChunk();
}

void Writer::add(const Metadata& metadata)
{
    ByteWriter bytes;
    write(bytes, metadata);
    ByteWriter content;
    content.u64(m_offset);
    content.u64(bytes.size());
    content.text(metadata.name);
    ByteWriter index;
    writeFront(index, Op::MetadataIndex, content.size());
    index.raw(content.bytes());
    keepIndex(m_metadataIndexes, index);
    put(bytes);
    ++m_statistics.metadata;
}

void Writer::add(const Attachment& attachment, const Source& source)
{
    constexpr std::uint64_t kPiece = std::uint64_t{256} * 1024;
    Attachment copy = attachment;
    copy.offset = m_offset;
    ByteWriter index;
    writeIndex(index, copy);
    keepIndex(m_attachmentIndexes, index);
    std::vector<std::uint8_t> piece;
    for (std::uint64_t done = 0; done < attachment.length; done += piece.size()) {
        piece.resize(static_cast<std::size_t>(std::min(kPiece, attachment.length - done)));
        source.read(attachment.offset + done, piece);
        put(Bytes(piece));
    }
    ++m_statistics.attachments;
}

/// All or none, since some of them would hide the others.
void Writer::keepIndex(ByteWriter& indexes, const ByteWriter& index)
{
    if (!m_hasIndexes) return;
    indexes.raw(index.bytes());
    if (m_chunkIndexes.size() + m_attachmentIndexes.size() + m_metadataIndexes.size() <= m_options.mostIndex) return;
    m_hasIndexes = false;
    m_chunkIndexes = m_attachmentIndexes = m_metadataIndexes = ByteWriter();
}

void Writer::endChunk()
{
    if (m_chunk.size() == 0) return;
    ChunkIndex index;
    index.startTime = m_chunkStart;
    index.endTime = m_chunkEnd;
    index.offset = m_offset;
    index.size = m_chunk.size();

    std::vector<std::uint8_t> shortened;
    if (m_options.isCompressed) shortened = compressed(m_chunk.bytes());
    // What doesn't become shorter stays as it is: the largest chunk would be too large else.
    const bool isShorter = m_options.isCompressed && shortened.size() < m_chunk.size();
    index.compression = isShorter ? "zstd" : "";
    const Bytes records = isShorter ? Bytes(shortened) : m_chunk.bytes();
    index.compressedSize = records.size();

    ByteWriter front;
    front.u64(index.startTime);
    front.u64(index.endTime);
    front.u64(index.size);
    front.u32(crc32Of(m_chunk.bytes()));
    front.text(index.compression);
    front.u64(records.size());
    ByteWriter chunk;
    writeFront(chunk, Op::Chunk, front.size() + records.size());
    chunk.raw(front.bytes());
    chunk.raw(records);
    index.length = chunk.size();
    put(chunk);

    putMessageIndexes(index);
    ByteWriter kept;
    write(kept, index);
    keepIndex(m_chunkIndexes, kept);
    ++m_statistics.chunks;
    m_chunk.clear();
    m_places.clear();
}

void Writer::putMessageIndexes(ChunkIndex& index)
{
    const std::uint64_t start = m_offset;
    ByteWriter bytes;
    for (const auto& [channel, places] : m_places) {
        index.messageIndexes[channel] = start + bytes.size();
        ByteWriter content;
        content.u16(channel);
        const std::size_t length = content.beginLength32();
        for (const auto& [time, offset] : places) {
            content.u64(time);
            content.u64(offset);
        }
        content.endLength32(length);
        writeFront(bytes, Op::MessageIndex, content.size());
        bytes.raw(content.bytes());
    }
    put(bytes);
    index.messageIndexesLength = m_offset - start;
}

void Writer::close()
{
    endChunk();
    ByteWriter end;
    writeFront(end, Op::DataEnd, 4);
    end.u32(m_crc.value());
    put(end);

    const std::uint64_t start = m_offset;
    ByteWriter summary;
    std::vector<Group> groups;
    const auto addGroup = [&](Op op, const auto& writeAll) {
        const std::size_t from = summary.size();
        writeAll();
        if (summary.size() > from) groups.push_back({op, start + from, summary.size() - from});
    };
    const auto writeEach = [&](const auto& records) {
        for (const auto& record : records) write(summary, record);
    };
    addGroup(Op::Schema, [&] { writeEach(m_schemas); });
    addGroup(Op::Channel, [&] { writeEach(m_channels); });
    addGroup(Op::Statistics, [&] { write(summary, m_statistics); });
    addGroup(Op::ChunkIndex, [&] { summary.raw(m_chunkIndexes.bytes()); });
    addGroup(Op::AttachmentIndex, [&] { summary.raw(m_attachmentIndexes.bytes()); });
    addGroup(Op::MetadataIndex, [&] { summary.raw(m_metadataIndexes.bytes()); });

    const std::uint64_t offsetStart = start + summary.size();
    for (const Group& group : groups) {
        writeFront(summary, Op::SummaryOffset, 1 + 8 + 8);
        summary.u8(static_cast<std::uint8_t>(group.op));
        summary.u64(group.start);
        summary.u64(group.length);
    }
    writeFront(summary, Op::Footer, 8 + 8 + 4);
    summary.u64(start);
    summary.u64(offsetStart);
    summary.u32(crc32Of(summary.bytes()));  // up to here
    summary.raw(kMagic);
    put(summary);
}

}  // namespace mcap
