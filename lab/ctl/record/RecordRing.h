#ifndef LAB_CTL_RECORD_RECORDRING_H
#define LAB_CTL_RECORD_RECORDRING_H

#include "lab/ctl/record/Recorder.h"

#include <deque>
#include <optional>
#include <vector>

/// What `record --ring` is made of. One thread at a time.
namespace orvanectl {

/// Whether it is an event of type 3 to 5: a fault, an operation that failed, or something severe.
bool isTrouble(const RecordType& type, const void* record);

/// Says when what is kept is to be written: at once when it is asked for, and for an event, unless something was written
/// so short a time before that what is kept would not be whole. Events that follow each other come into one file then,
/// and none is left out.
class RingTrigger {
public:
    using Time = TopicStatistics::Time;

    explicit RingTrigger(double seconds) : m_seconds(seconds) {}

    void ask() { m_isAsked = true; }
    void takeEvent() { m_hasEvent = true; }

    bool isDue(Time now) const;
    /// Nothing more comes.
    bool isDueAtTheEnd() const { return m_isAsked || m_hasEvent; }
    void written(Time now);

private:
    const double m_seconds;
    bool m_isAsked = false;
    bool m_hasEvent = false;
    std::optional<Time> m_written;
};

/// Keeps what was heard in the last seconds, or less of it where that takes more memory than there is for it.
class RecordRing : public HeardSink {
public:
    using Time = TopicStatistics::Time;

    static constexpr std::size_t kMostBytes = std::size_t{256} * 1024 * 1024;

    /// @param topics  as the recorders have them that it is written to
    RecordRing(std::vector<WatchedTopic> topics, double seconds, std::size_t mostBytes = kMostBytes);

    void take(const Sample& sample, std::uint64_t time) override;
    void takeBusLine(const std::string& line, std::uint64_t time) override;
    void takeConsoleLine(const std::string& line, std::uint64_t time) override;
    void takeQueueRecord(std::size_t queue, mcap::Bytes record, std::int64_t number, std::uint64_t time) override;
    void takeQueueRest(std::size_t queue, mcap::Bytes bytes, std::uint64_t time) override;

    /// What comes from here on has come then; what is too old is left out.
    void turn(Time now);

    /// Hands over what is kept, and keeps nothing of it.
    void writeTo(Recorder& recorder);

    std::size_t entries() const { return m_entries.size(); }

    /// How much was left out because it was too much, since the start.
    std::uint64_t leftOut() const { return m_leftOut; }

    /// Events of trouble that came.
    std::uint64_t troubles() const { return m_troubles; }

private:
    enum class Kind { Record, BusLine, ConsoleLine, QueueRecord, QueueRest };

    struct Entry {
        Kind kind;
        std::size_t index;  // of the topic or queue
        std::int64_t number;
        std::int64_t sent;
        std::uint64_t time;
        Time heard;
        std::vector<std::uint8_t> bytes;

        std::size_t size() const { return sizeof(Entry) + bytes.size(); }
    };

    void add(Entry entry);
    void dropFirst();

    const std::vector<WatchedTopic> m_topics;
    const double m_seconds;
    const std::size_t m_mostBytes;
    Time m_now;
    std::deque<Entry> m_entries;
    std::size_t m_bytes = 0;
    std::uint64_t m_leftOut = 0;
    std::uint64_t m_troubles = 0;
};

}  // namespace orvanectl

#endif
