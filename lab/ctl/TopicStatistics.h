#ifndef LAB_CTL_TOPICSTATISTICS_H
#define LAB_CTL_TOPICSTATISTICS_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace orvanectl {

/// The sum, or the largest value where that is beyond it.
std::uint64_t saturatedSum(std::uint64_t a, std::uint64_t b);

/// Holes in the numbers that one source counts its records by. The sums are saturated.
struct SequenceHoles {
    std::uint64_t gaps = 0;     ///< places where numbers are missing
    std::uint64_t missing = 0;  ///< how many are, in all gaps
    std::uint64_t back = 0;     ///< numbers that are not higher than the one before: repeated, or begun anew

    void add(const SequenceHoles& others);
    bool operator==(const SequenceHoles&) const = default;
};

/// Follows the numbers of one source.
class SequenceTrack {
public:
    void take(std::int64_t number, SequenceHoles& holes);

private:
    std::optional<std::int64_t> m_last;
};

/// What a topic carries: how often and how completely. Times are passed in and must not go back. One thread at a time.
class TopicStatistics {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    /// The writer of a record, by its DDS identity.
    using Writer = std::array<std::uint8_t, 16>;

    struct Arrival {
        Time time;
        Writer writer{};
        std::int64_t writerNumber = 0;  ///< by which the writer's transport counts its records, from 1
        std::int32_t deviceId = 0;
        std::int64_t sequenceNumber = 0;  ///< by which the source counts, in the record's header
    };

    /// Sources that are followed; more are counted and their numbers not looked at.
    static constexpr std::size_t kMostSources = 256;
    /// Arrivals that a window remembers; if there are more, it is shorter.
    static constexpr std::size_t kMostArrivals = 100'000;

    explicit TopicStatistics(Clock::duration window) : m_window(window) {}

    void take(const Arrival& arrival);

    /// Records of one writer that came and are looked at no further, of which the first and the latest are known: by the
    /// writer's numbers all from the one before them on count as lost.
    void passOver(const Arrival& first, const Arrival& latest);

    /// Records a second over the window that ends at `now`: the intervals between its records, by the time that they
    /// take. Nothing unless there are two records and time between them. A record as old as the window is in it.
    std::optional<double> rate(Time now);

    /// The longest interval between neighbours in that window, in seconds; nothing as above.
    std::optional<double> longestInterval(Time now);

    /// The standard deviation of the intervals in that window, in seconds; nothing as above. 0 with a single one.
    std::optional<double> jitter(Time now);

    /// When the latest record came, however long ago.
    std::optional<Time> last() const { return m_last; }

    std::uint64_t count() const { return m_count; }

    /// By the sources' own numbers; each is followed per writer.
    const SequenceHoles& holes() const { return m_holes; }

    /// Records that writers have sent since their first one here, up to their latest, and that were not taken.
    std::uint64_t lost() const { return m_transport.missing; }

    /// Records that writers had sent before their first one here: before it was known of them, however long ago.
    std::uint64_t earlier() const { return m_earlier; }

    /// The device ids that have sent, in the order of their first record; `kMostSources` at the most.
    const std::vector<std::int32_t>& sources() const { return m_sources; }

private:
    void prune(Time now);
    bool followWriter(const Arrival& arrival);

    const Clock::duration m_window;
    std::deque<Time> m_arrivals;
    std::optional<Time> m_last;
    std::uint64_t m_count = 0;
    SequenceHoles m_holes;
    SequenceHoles m_transport;
    std::uint64_t m_earlier = 0;
    std::map<Writer, SequenceTrack> m_writers;
    std::map<std::pair<Writer, std::int32_t>, SequenceTrack> m_tracks;
    std::vector<std::int32_t> m_sources;
};

}  // namespace orvanectl

#endif
