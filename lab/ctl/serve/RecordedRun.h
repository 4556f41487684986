#ifndef LAB_CTL_SERVE_RECORDEDRUN_H
#define LAB_CTL_SERVE_RECORDEDRUN_H

#include "lab/ctl/serve/RecordedUnit.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace orvanectl {

/// A place of a recording, and all that was told up to there.
struct RecordedPlace {
    using Time = RecordedUnit::Time;

    std::uint64_t offset = 0;               ///< in the file; 0 is its front
    std::size_t schemas = 0, channels = 0;  ///< of the index, in their order, that stand before it
    std::optional<Time> last;               ///< when the last message before it came
    std::optional<Time> previous;           ///< when one came last that was earlier than that
    RecordedUnit unit;
};

/// Reads a recording on from a place, message by message, and keeps what it tells. What is held of the file is one record
/// of it, such as a chunk. One thread at a time.
class RecordedRun : private mcap::RecordSink {
public:
    using Time = RecordedUnit::Time;

    /// @param source, index  outlive this object
    RecordedRun(const mcap::Source& source, const RecordingIndex& index, const RecordedPlace& place);

    /// Takes the next message, if it came until then, or reads what the file has next. False if there is nothing to do.
    bool advance(Time until);

    /// When the next message came; nothing if that is to be read yet, or there is none.
    std::optional<Time> next() const;

    bool hasEnded() const { return m_hasEnded && m_held.empty(); }

    const RecordedUnit& unit() const { return m_at.unit; }
    std::optional<Time> last() const { return m_at.last; }
    std::optional<Time> previous() const { return m_at.previous; }
    std::uint64_t offset() const { return m_scanner.result().end; }

    /// Bytes of messages that were taken.
    std::uint64_t taken() const { return m_taken; }

    /// Where it is; null within a record of the file.
    std::unique_ptr<const RecordedPlace> place() const;

private:
    struct Held {
        std::uint16_t channel;
        Time time;
        std::vector<std::uint8_t> payload;
    };

    void schema(const mcap::Schema&) override { ++m_at.schemas; }
    void channel(const mcap::Channel&) override { ++m_at.channels; }
    void message(const mcap::Message& message) override;
    void takeFirst();

    RecordedPlace m_at;
    Time m_latest;  // that was read
    std::deque<Held> m_held;
    std::uint64_t m_taken = 0;
    bool m_hasEnded = false;
    mcap::Scanner m_scanner;
};

}  // namespace orvanectl

#endif
