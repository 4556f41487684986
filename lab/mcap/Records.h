#ifndef LAB_MCAP_RECORDS_H
#define LAB_MCAP_RECORDS_H

#include "lab/mcap/Bytes.h"

#include <array>
#include <optional>
#include <vector>

/// What a recording is made of. Times are nanoseconds since 1970.
namespace mcap {

inline constexpr std::array<std::uint8_t, 8> kMagic = {0x89, 'M', 'C', 'A', 'P', '0', '\r', '\n'};

enum class Op : std::uint8_t {
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Attachment = 0x09,
    AttachmentIndex = 0x0A,
    Statistics = 0x0B,
    Metadata = 0x0C,
    MetadataIndex = 0x0D,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

inline constexpr std::size_t kFrontSize = 9;  ///< of every record: what it is, and the length of its content
inline constexpr std::size_t kFooterSize = kFrontSize + 20;

/// Longest content of a record that is kept, longest chunk once it is decompressed, and the most that all schemas and
/// channels, and the summary, may take, in bytes.
inline constexpr std::uint64_t kLargest = std::uint64_t{64} * 1024 * 1024;

struct Schema {
    std::uint16_t id = 0;  ///< 0 is none
    std::string name;
    std::string encoding;
    std::string text;

    bool operator==(const Schema&) const = default;
};

struct Channel {
    std::uint16_t id = 0;
    std::uint16_t schema = 0;  ///< 0 for a channel that has none
    std::string topic;
    std::string encoding;
    Table metadata;

    bool operator==(const Channel&) const = default;
};

struct Message {
    std::uint16_t channel = 0;
    std::uint32_t sequence = 0;
    std::uint64_t logTime = 0;      ///< when it was recorded
    std::uint64_t publishTime = 0;  ///< when it was sent
    Bytes data;                     ///< belongs to whoever gave the message
};

struct Metadata {
    std::string name;
    Table values;

    bool operator==(const Metadata&) const = default;
};

/// A file within a recording, whose data may be larger than the memory.
struct Attachment {
    std::uint64_t logTime = 0;
    std::uint64_t createTime = 0;
    std::string name;
    std::string mediaType;
    std::uint64_t dataSize = 0;
    std::uint64_t offset = 0;  ///< of the whole record in the file
    std::uint64_t length = 0;  ///< of it
};

/// What stands before the messages of a chunk.
struct ChunkFront {
    std::uint64_t startTime = 0;  ///< lowest and highest log time
    std::uint64_t endTime = 0;
    std::uint64_t size = 0;  ///< decompressed
    std::uint32_t crc = 0;   ///< 0 if there is none
    std::string compression;
};

struct ChunkIndex {
    std::uint64_t startTime = 0;
    std::uint64_t endTime = 0;
    std::uint64_t offset = 0;                               ///< of the chunk in the file
    std::uint64_t length = 0;                               ///< of the whole record
    std::map<std::uint16_t, std::uint64_t> messageIndexes;  ///< offsets by channel
    std::uint64_t messageIndexesLength = 0;
    std::string compression;
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
};

struct Statistics {
    std::uint64_t messages = 0;
    std::uint16_t schemas = 0;
    std::uint32_t channels = 0;
    std::uint32_t attachments = 0;
    std::uint32_t metadata = 0;
    std::uint32_t chunks = 0;
    std::uint64_t startTime = 0;
    std::uint64_t endTime = 0;
    std::map<std::uint16_t, std::uint64_t> messagesOf;  ///< by channel

    bool operator==(const Statistics&) const = default;
};

/// The last record of a recording that was closed.
struct Footer {
    std::uint64_t summaryStart = 0;
    std::uint64_t summaryOffsetStart = 0;
    std::uint32_t summaryCrc = 0;
};

/// Each appends a whole record.
void write(ByteWriter& bytes, const Schema& schema);
void write(ByteWriter& bytes, const Channel& channel);
void write(ByteWriter& bytes, const Message& message);
void write(ByteWriter& bytes, const Metadata& metadata);
void write(ByteWriter& bytes, const ChunkIndex& index);
/// The record of an index, which tells of it.
void writeIndex(ByteWriter& bytes, const Attachment& attachment);
void write(ByteWriter& bytes, const Statistics& statistics);

/// The front of a record.
void writeFront(ByteWriter& bytes, Op op, std::uint64_t length);

/// Each reads the content of a record; `Malformed` for what is none.
Schema readSchema(Bytes content);
Channel readChannel(Bytes content);
Message readMessage(Bytes content);
Metadata readMetadata(Bytes content);
ChunkIndex readChunkIndex(Bytes content);
Statistics readStatistics(Bytes content);
Footer readFooter(Bytes content);

/// The front of an attachment's content, up to its data; without its place.
Attachment readAttachmentFront(ByteReader& content);

/// The front of a chunk's content, and the records in it, decompressed and checked.
ChunkFront readChunkFront(ByteReader& content);
std::vector<std::uint8_t> readChunk(Bytes content);

}  // namespace mcap

#endif
