#include "lab/mcap/Records.h"

#include "lab/mcap/Compression.h"
#include "lab/mcap/Crc32.h"

namespace mcap {

namespace {

void writeRecord(ByteWriter& bytes, Op op, const ByteWriter& content)
{
    writeFront(bytes, op, content.size());
    bytes.raw(content.bytes());
}

void writeNumbers(ByteWriter& bytes, const std::map<std::uint16_t, std::uint64_t>& numbers)
{
    const std::size_t place = bytes.beginLength32();
    for (const auto& [key, value] : numbers) {
        bytes.u16(key);
        bytes.u64(value);
    }
    bytes.endLength32(place);
}

std::map<std::uint16_t, std::uint64_t> readNumbers(ByteReader& reader)
{
    ByteReader entries(reader.take(reader.u32()));
    std::map<std::uint16_t, std::uint64_t> numbers;
    while (!entries.isAtEnd()) {
        const std::uint16_t key = entries.u16();
        numbers[key] = entries.u64();
    }
    return numbers;
}

}  // namespace

void writeFront(ByteWriter& bytes, Op op, std::uint64_t length)
{
    bytes.u8(static_cast<std::uint8_t>(op));
    bytes.u64(length);
}

void write(ByteWriter& bytes, const Schema& schema)
{
    ByteWriter content;
    content.u16(schema.id);
    content.text(schema.name);
    content.text(schema.encoding);
    content.text(schema.text);
    writeRecord(bytes, Op::Schema, content);
}

void write(ByteWriter& bytes, const Channel& channel)
{
    ByteWriter content;
    content.u16(channel.id);
    content.u16(channel.schema);
    content.text(channel.topic);
    content.text(channel.encoding);
    content.table(channel.metadata);
    writeRecord(bytes, Op::Channel, content);
}

void write(ByteWriter& bytes, const Message& message)
{
    constexpr std::size_t kNumbers = 2 + 4 + 8 + 8;
    writeFront(bytes, Op::Message, kNumbers + message.data.size());
    bytes.u16(message.channel);
    bytes.u32(message.sequence);
    bytes.u64(message.logTime);
    bytes.u64(message.publishTime);
    bytes.raw(message.data);
}

void write(ByteWriter& bytes, const Metadata& metadata)
{
    ByteWriter content;
    content.text(metadata.name);
    content.table(metadata.values);
    writeRecord(bytes, Op::Metadata, content);
}

void write(ByteWriter& bytes, const ChunkIndex& index)
{
    ByteWriter content;
    content.u64(index.startTime);
    content.u64(index.endTime);
    content.u64(index.offset);
    content.u64(index.length);
    writeNumbers(content, index.messageIndexes);
    content.u64(index.messageIndexesLength);
    content.text(index.compression);
    content.u64(index.compressedSize);
    content.u64(index.size);
    writeRecord(bytes, Op::ChunkIndex, content);
}

void writeIndex(ByteWriter& bytes, const Attachment& attachment)
{
    ByteWriter content;
    content.u64(attachment.offset);
    content.u64(attachment.length);
    content.u64(attachment.logTime);
    content.u64(attachment.createTime);
    content.u64(attachment.dataSize);
    content.text(attachment.name);
    content.text(attachment.mediaType);
    writeRecord(bytes, Op::AttachmentIndex, content);
}

void write(ByteWriter& bytes, const Statistics& statistics)
{
    ByteWriter content;
    content.u64(statistics.messages);
    content.u16(statistics.schemas);
    content.u32(statistics.channels);
    content.u32(statistics.attachments);
    content.u32(statistics.metadata);
    content.u32(statistics.chunks);
    content.u64(statistics.startTime);
    content.u64(statistics.endTime);
    writeNumbers(content, statistics.messagesOf);
    writeRecord(bytes, Op::Statistics, content);
}

Schema readSchema(Bytes content)
{
    ByteReader reader(content);
    Schema schema;
    schema.id = reader.u16();
    if (schema.id == 0) throw Malformed("has the number 0");
    schema.name = reader.text();
    schema.encoding = reader.text();
    schema.text = reader.text();
    return schema;
}

Channel readChannel(Bytes content)
{
    ByteReader reader(content);
    Channel channel;
    channel.id = reader.u16();
    channel.schema = reader.u16();
    channel.topic = reader.text();
    channel.encoding = reader.text();
    channel.metadata = reader.table();
    return channel;
}

Message readMessage(Bytes content)
{
    ByteReader reader(content);
    Message message;
    message.channel = reader.u16();
    message.sequence = reader.u32();
    message.logTime = reader.u64();
    message.publishTime = reader.u64();
    message.data = reader.rest();
    return message;
}

Metadata readMetadata(Bytes content)
{
    ByteReader reader(content);
    Metadata metadata;
    metadata.name = reader.text();
    metadata.values = reader.table();
    return metadata;
}

ChunkIndex readChunkIndex(Bytes content)
{
    ByteReader reader(content);
    ChunkIndex index;
    index.startTime = reader.u64();
    index.endTime = reader.u64();
    index.offset = reader.u64();
    index.length = reader.u64();
    index.messageIndexes = readNumbers(reader);
    index.messageIndexesLength = reader.u64();
    index.compression = reader.text();
    index.compressedSize = reader.u64();
    index.size = reader.u64();
    return index;
}

Statistics readStatistics(Bytes content)
{
    ByteReader reader(content);
    Statistics statistics;
    statistics.messages = reader.u64();
    statistics.schemas = reader.u16();
    statistics.channels = reader.u32();
    statistics.attachments = reader.u32();
    statistics.metadata = reader.u32();
    statistics.chunks = reader.u32();
    statistics.startTime = reader.u64();
    statistics.endTime = reader.u64();
    statistics.messagesOf = readNumbers(reader);
    return statistics;
}

Footer readFooter(Bytes content)
{
    ByteReader reader(content);
    Footer footer;
    footer.summaryStart = reader.u64();
    footer.summaryOffsetStart = reader.u64();
    footer.summaryCrc = reader.u32();
    return footer;
}

Attachment readAttachmentFront(ByteReader& content)
{
    Attachment attachment;
    attachment.logTime = content.u64();
    attachment.createTime = content.u64();
    attachment.name = content.text();
    attachment.mediaType = content.text();
    attachment.dataSize = content.u64();
    return attachment;
}

ChunkFront readChunkFront(ByteReader& content)
{
    ChunkFront front;
    front.startTime = content.u64();
    front.endTime = content.u64();
    front.size = content.u64();
    front.crc = content.u32();
    front.compression = content.text();
    return front;
}

std::vector<std::uint8_t> readChunk(Bytes content)
{
    ByteReader reader(content);
    const ChunkFront front = readChunkFront(reader);
    const Bytes records = reader.take(reader.u64());
    if (front.size > kLargest) throw Malformed("is too large");
    std::vector<std::uint8_t> bytes;
    if (front.compression == "zstd")
        bytes = decompressed(records, static_cast<std::size_t>(front.size));
    else if (front.compression.empty())
        bytes.assign(records.begin(), records.end());
    else
        throw Malformed("has an unknown compression");
    if (bytes.size() != front.size) throw Malformed("is not as long as it says");
    if (front.crc != 0 && crc32Of(bytes) != front.crc) throw Malformed("has a wrong checksum");
    return bytes;
}

}  // namespace mcap
