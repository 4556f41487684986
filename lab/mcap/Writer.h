#ifndef LAB_MCAP_WRITER_H
#define LAB_MCAP_WRITER_H

#include "lab/mcap/Crc32.h"
#include "lab/mcap/File.h"
#include "lab/mcap/Records.h"

#include <utility>

namespace mcap {

/// Writes a recording: messages in chunks, each with indexes of its messages behind it, and at the end a summary. What
/// was written can be read up to the last whole chunk at any time. Errors of the output come out of every call but the
/// destructor, which closes nothing. One thread at a time.
class Writer {
public:
    struct Options {
        std::string writtenBy = "orvanectl";
        std::size_t chunkSize = std::size_t{1024} * 1024;  ///< a chunk that has grown to it, in bytes, is ended
        bool isCompressed = true;
        /// Bytes that the indexes of the summary may take. They are left out where that is not enough: a recording of
        /// days is read from front to back then.
        std::size_t mostIndex = std::size_t{48} * 1024 * 1024;
    };

    /// Writes what stands first.
    /// @param output  outlives this object
    Writer(Output& output, Options options);

    /// Answers the number that the new schema has. Throws `Malformed` for the 65536th, as the next does.
    std::uint16_t addSchema(const std::string& name, const std::string& encoding, const std::string& text);
    /// @param schema  0 for none
    std::uint16_t addChannel(std::uint16_t schema, const std::string& topic, const std::string& encoding,
                             const Table& metadata);

    /// Throws `Malformed` for a channel that was not added, and for a message that no reader would take.
    void add(const Message& message);
    void add(const Metadata& metadata);
    /// @param source  has the attachment at its place
    void add(const Attachment& attachment, const Source& source);

    /// Writes the messages that are held, if there are any.
    void endChunk();

    /// Bytes of messages that are held.
    std::size_t held() const { return m_chunk.size(); }
    /// Bytes that were written.
    std::uint64_t size() const { return m_offset; }
    const Statistics& statistics() const { return m_statistics; }

    /// Writes what makes it whole. To be called once, and nothing after it.
    void close();

private:
    struct Group {
        Op op;
        std::uint64_t start;
        std::uint64_t length;
    };
    void put(Bytes bytes);
    void put(const ByteWriter& bytes) { put(bytes.bytes()); }
    void putMessageIndexes(ChunkIndex& index);
    void keepIndex(ByteWriter& indexes, const ByteWriter& index);

    Output& m_output;
    const Options m_options;
    std::uint64_t m_offset = 0;
    Crc32 m_crc;  // of all that was written

    std::vector<Schema> m_schemas;
    std::vector<Channel> m_channels;
    // As they are written at the end, which takes far less memory than what they are made of.
    ByteWriter m_chunkIndexes;
    ByteWriter m_attachmentIndexes;
    ByteWriter m_metadataIndexes;
    bool m_hasIndexes = true;
    Statistics m_statistics;

    // The chunk that is being filled.
    ByteWriter m_chunk;
    std::uint64_t m_chunkStart = 0;
    std::uint64_t m_chunkEnd = 0;
    std::map<std::uint16_t, std::vector<std::pair<std::uint64_t, std::uint64_t>>> m_places;  // log time, offset
};

}  // namespace mcap

#endif
