#ifndef LAB_CTL_QUEUETAPS_H
#define LAB_CTL_QUEUETAPS_H

#include "lab/ctl/TopicStatistics.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvanectl {

/// The queue of what the receiver sends.
constexpr const char* kReceiverQueue = "ZEN_HX";

struct QueueName {
    std::string name;
    std::string device;  ///< path
};

/// What is known of a queue.
struct QueueReading {
    bool isThere = false;
    std::uint64_t written = 0;
    std::uint64_t taken = 0;
    std::optional<TopicStatistics::Time> lastTaken;
    std::optional<std::uint64_t> waitingBytes;
    std::string holders;
};

/// Watches queue devices from outside: the system tells of each writing and each reading (inotify), of what is open in
/// which process, and of how much waits in a pipe. Nothing is read from a device, and it is opened only for a moment, to
/// ask a pipe that somebody reads for what waits in it. Writings, or readings, that follow each other before they are
/// looked at count as one. One thread at a time.
class QueueTaps {
public:
    using Time = TopicStatistics::Time;

    /// Throws `std::system_error`.
    explicit QueueTaps(std::vector<QueueName> queues);
    ~QueueTaps();
    QueueTaps(const QueueTaps&) = delete;
    QueueTaps& operator=(const QueueTaps&) = delete;

    const std::vector<QueueName>& queues() const { return m_queues; }
    const QueueReading& reading(std::size_t queue) const { return m_readings.at(queue); }

    /// Of the queue with this name, if there is one.
    std::optional<std::size_t> numberOf(const std::string& name) const;

    /// Can be read, for `poll`, when there is something to count.
    int descriptor() const { return m_inotify; }

    /// Counts what came since the last call.
    void count(Time now);

    /// Watches the devices that stand at the paths now, if they are others.
    void follow();

    /// Does that, and looks at all else, which takes a while: at every process.
    void look();

private:
    /// And the file that it is for; -1 if there is none.
    struct Watch {
        int id = -1;
        dev_t device = 0;
        ino_t inode = 0;
    };

    void watch(std::size_t queue);

    std::vector<QueueName> m_queues;
    std::vector<QueueReading> m_readings;
    std::vector<Watch> m_watches;
    int m_inotify;
};

}  // namespace orvanectl

#endif
