#ifndef LAB_CTL_TOPICWATCH_H
#define LAB_CTL_TOPICWATCH_H

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/TopicStatistics.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace orvanectl {

/// A record as it came.
struct Sample {
    std::size_t topic;  ///< index of the watch's topics
    TopicStatistics::Arrival arrival;
    RecordPointer record;
    std::int64_t sent = 0;  ///< by its writer's clock, in nanoseconds since 1970; 0 if it does not tell
};

/// Samples on their way from the threads of the transport to the one that shows them. Any thread. Who puts one in never
/// waits for who takes them out: what finds no room is left out and counted.
class SampleBox {
public:
    static constexpr std::size_t kRoom = 4096;

    /// What came from a writer and found no room.
    struct LeftOut {
        std::size_t topic;
        TopicStatistics::Arrival first, latest;
    };
    static constexpr std::size_t kMostWriters = 1024;  ///< of all topics, of which it is known what was left out

    /// Throws `std::system_error`.
    SampleBox();
    ~SampleBox();
    SampleBox(const SampleBox&) = delete;
    SampleBox& operator=(const SampleBox&) = delete;

    void put(Sample sample) EXCLUDES(m_mutex);
    void countAsLeftOut() { ++m_leftOut; }

    /// All that are there, in the order of their arrival.
    std::vector<Sample> take() EXCLUDES(m_mutex);

    /// Likewise. Of each writer of whose records some found no room the first and the latest of these are added to
    /// `leftOut`; they came behind all that are taken.
    std::vector<Sample> take(std::vector<LeftOut>& leftOut) EXCLUDES(m_mutex);

    std::uint64_t leftOut() const { return m_leftOut; }

    /// Can be read, for `poll`, while there is something to take.
    int descriptor() const { return m_event; }

private:
    std::vector<Sample> takeAll() REQUIRES(m_mutex);

    int m_event;
    std::atomic<std::uint64_t> m_leftOut = 0;
    Mutex m_mutex;  // a leaf
    std::vector<Sample> m_samples GUARDED_BY(m_mutex);
    std::map<std::pair<std::size_t, TopicStatistics::Writer>, LeftOut> m_leftOutOf GUARDED_BY(m_mutex);
};

/// Subscribes to topics from construction to destruction. It publishes nothing, and by default asks for nothing either:
/// see `Delivery`. One thread at a time.
class TopicWatch {
public:
    /// Throws `std::runtime_error`: a line that names the file and what can't be had.
    TopicWatch(const ConnectionFile& file, std::vector<WatchedTopic> topics, Delivery delivery);
    ~TopicWatch();
    TopicWatch(const TopicWatch&) = delete;
    TopicWatch& operator=(const TopicWatch&) = delete;

    const std::vector<WatchedTopic>& topics() const { return m_topics; }
    SampleBox& samples() { return m_samples; }

    /// Publishers of a topic that are matched now.
    int publishersOf(std::size_t topic) const;

private:
    void subscribe(std::size_t topic);

    const std::string m_file;
    const std::vector<WatchedTopic> m_topics;
    SampleBox m_samples;
    std::vector<long long> m_connections;
    std::shared_ptr<FACE::TSS::HX_TSS> m_transport;  // last: its threads use the above until it is gone
};

}  // namespace orvanectl

#endif
