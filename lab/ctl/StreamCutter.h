#ifndef LAB_CTL_STREAMCUTTER_H
#define LAB_CTL_STREAMCUTTER_H

#include "aspn2_msgs/GSSIPPubSubTypes.h"
#include "ioss_mcsq/GssipBytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

using gssip::Bytes;

/// What a stream is made of. A record is a serialised GSSIP record, as a queue carries them, one behind the other.
enum class StreamFormat { Auto, Records, Frames };

/// Takes what is found in a stream, in its order. Offsets are in bytes from the start of the stream.
class StreamSink {
public:
    virtual ~StreamSink() = default;

    /// A bare frame, whole and with a right header. Its data checksum may be wrong.
    virtual void frame(std::uint64_t offset, Bytes bytes) = 0;

    /// A record. Nothing is known of the frame in it.
    virtual void record(std::uint64_t offset, const aspn2_msgs::idl::GSSIP& record) = 0;

    /// What stands at `offset` is left out.
    virtual void problem(std::uint64_t offset, const std::string& what) = 0;

    /// After a problem in a stream of frames: the next one begins at `offset`.
    virtual void resumed(std::uint64_t offset, std::uint64_t skippedBytes) = 0;

protected:
    StreamSink() = default;
    StreamSink(const StreamSink&) = default;
    StreamSink& operator=(const StreamSink&) = default;
};

/// Cuts a stream into records or frames as its bytes come, in pieces of any size. It keeps no more of them than
/// twice one record or frame and the last piece, and its work grows with their number alone. One thread at a time.
///
/// - `Auto` decides by the first two bytes, once.
/// - Records are cut by their `num_bytes`, as the service does; where no record can begin it stops.
/// - Frames are searched for after a problem: the next one is where a delimiter begins a header that sums to 0. A frame
///   with a wrong data checksum and such a header that begins within counts as broken off there.
class StreamCutter {
public:
    /// @param sink  outlives this object
    StreamCutter(StreamFormat format, StreamSink& sink) : m_format(format), m_sink(sink) {}

    void take(Bytes bytes);

    /// No more bytes follow.
    void end();

    /// Nothing that follows is looked at.
    bool stopped() const { return m_stopped; }

private:
    void cut();
    bool step();
    bool decideFormat();
    bool stepRecords();
    bool stepFrames();
    bool search();

    Bytes rest() const { return Bytes(m_bytes).subspan(m_position); }
    void skip(std::size_t bytes);
    bool waitOr(const std::string& problem);
    bool giveUp(const std::string& problem);
    bool lose(const std::string& problem);

    StreamFormat m_format;
    StreamSink& m_sink;
    aspn2_msgs::idl::GSSIPPubSubType m_type;
    aspn2_msgs::idl::GSSIP m_record;
    std::vector<std::uint8_t> m_bytes;
    std::vector<std::uint16_t> m_sums{0};  // of the words that end before each byte, in steps of two bytes
    std::size_t m_position = 0;            // in m_bytes, of what is not cut yet
    std::uint64_t m_offset = 0;            // the same in the stream
    std::optional<std::uint64_t> m_lostAt;
    bool m_ended = false;
    bool m_stopped = false;
};

}  // namespace orvanectl

#endif
