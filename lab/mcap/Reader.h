#ifndef LAB_MCAP_READER_H
#define LAB_MCAP_READER_H

#include "lab/mcap/Crc32.h"
#include "lab/mcap/File.h"
#include "lab/mcap/Records.h"

#include <memory>
#include <span>

/// Recordings are read whatever their bytes are: what is damaged is told and left out, every length is checked, and no
/// more memory is taken than some multiples of `kLargest`.
namespace mcap {

/// Takes what is in a recording, in its order. A channel comes before its messages and behind its schema.
class RecordSink {
public:
    virtual ~RecordSink() = default;

    virtual void schema(const Schema&) {}
    virtual void channel(const Channel&) {}
    virtual void message(const Message&) {}
    virtual void metadata(const Metadata&) {}
    /// Its checksum is right.
    virtual void attachment(const Attachment&) {}

    /// What stands at `offset` of the file is left out.
    virtual void problem(std::uint64_t /*offset*/, const std::string& /*what*/) {}

protected:
    RecordSink() = default;
    RecordSink(const RecordSink&) = default;
    RecordSink& operator=(const RecordSink&) = default;
};

/// Log times, both within.
struct TimeRange {
    std::uint64_t start = 0;
    std::uint64_t end = ~std::uint64_t{0};

    bool contains(std::uint64_t time) const { return time >= start && time <= end; }
};

/// How a recording ended.
struct ScanResult {
    bool isRecording = false;       ///< it begins as one
    bool isClosed = false;          ///< it is whole up to the last byte
    std::uint64_t end = 0;          ///< offset behind the last whole record that was read
    std::uint64_t attachments = 0;  ///< be they whole or not
};

class RecordGate;

/// Reads from front to back, without the summary, as far as it is asked to. The checksum of all of it is looked at where
/// it ends; a wrong one is told as a problem if none was told before. What the sink throws comes out. One thread at a time.
class Scanner {
public:
    /// @param source, sink  outlive this object
    Scanner(const Source& source, RecordSink& sink, TimeRange range = {});

    /// Reads on from a place that another one came to. The checksum of all of it is not looked at then.
    /// @param place              its `result().end`
    /// @param schemas, channels  those that were handed over up to there; they are not handed over again
    Scanner(const Source& source, RecordSink& sink, std::uint64_t place, std::span<const Schema> schemas,
            std::span<const Channel> channels);
    ~Scanner();
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    /// Hands over what the next record has, which is nothing or one thing or what is in a chunk. False at the end.
    bool step();

    /// Up to what `step` has read; `isClosed` is not told.
    const ScanResult& result() const { return m_result; }

    /// Likewise, with `isClosed`.
    ScanResult ending() const;

private:
    void takeContent(Op op, std::uint64_t length);
    void takeAttachment(std::uint64_t length);
    void checkSum(std::uint64_t length);

    const Source& m_source;
    std::unique_ptr<RecordGate> m_gate;
    ScanResult m_result;
    Crc32 m_crc;  // of all that was read
    bool m_isFromFront = true;
    bool m_hasEnded = false;
};

/// Reads from front to back, without the summary. Messages of other times are left out. Their chunks are read
/// nevertheless: others put schemas and channels there, and what a chunk says of its times is under no checksum. What the
/// sink throws comes out.
ScanResult scan(const Source& source, RecordSink& sink, TimeRange range = {});

/// What stands at the end of a recording that was closed.
struct Summary {
    std::vector<Schema> schemas;
    std::vector<Channel> channels;
    std::vector<ChunkIndex> chunks;  ///< in the order of the file
    std::optional<Statistics> statistics;
};

/// Nothing for a recording that was not closed or has no summary, and for a summary that is damaged or too large.
std::optional<Summary> readSummary(const Source& source);

/// Whether it tells of all chunks, channels and schemas, each channel once, as those of others need not, and of its
/// start what its chunks tell.
bool isComplete(const Summary& summary);

}  // namespace mcap

#endif
