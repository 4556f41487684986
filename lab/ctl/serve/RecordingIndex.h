#ifndef LAB_CTL_SERVE_RECORDINGINDEX_H
#define LAB_CTL_SERVE_RECORDINGINDEX_H

#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/mcap/Reader.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// What a recording is about, and from when to when it goes. A message counts as recorded when the one before it in the
/// file was, if its own time is earlier: time does not go back. A value, of one reading of all of it.
struct RecordingIndex {
    using Time = TopicStatistics::Time;

    enum class Kind { Topic, Bus, Console, Records, Rest };

    /// What a channel is.
    struct Way {
        Kind kind = Kind::Topic;
        std::size_t number = 0;  ///< of the topic, or of the queue
    };

    std::string name;  ///< of the file, without its folder; printable
    std::vector<WatchedTopic> topics;
    std::vector<QueueName> queues;  ///< the devices are empty
    /// Those that are more than are followed.
    std::size_t topicsPassedOver = 0, queuesPassedOver = 0;
    std::map<std::uint16_t, Way> ways;
    std::vector<mcap::Schema> schemas;    ///< all of them, in their order in the file
    std::vector<mcap::Channel> channels;  ///< likewise
    bool hasBus = false, hasConsole = false;
    std::optional<std::size_t> receiver;  ///< among the queues
    std::uint64_t messages = 0;
    Time start{}, end{};
    std::uint64_t problems = 0;  ///< damaged places
    bool isClosed = false;

    Time::duration length() const { return end - start; }
};

/// Topics and queues that are followed; what comes behind them is passed over, and counted.
inline constexpr std::size_t kMostRecordedTopics = 100;
inline constexpr std::size_t kMostRecordedQueues = 16;

/// Reads all of it. Throws `std::runtime_error` for what is no recording, and for one without a message.
/// @param name  of the file
RecordingIndex indexOf(const mcap::Source& source, const std::string& name);

}  // namespace orvanectl

#endif
