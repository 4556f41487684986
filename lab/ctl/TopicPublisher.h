#ifndef LAB_CTL_TOPICPUBLISHER_H
#define LAB_CTL_TOPICPUBLISHER_H

#include "lab/ctl/ConnectionFile.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvanectl {

/// Publishes on topics from construction to destruction, as reliably as the file has it. One thread at a time.
class TopicPublisher {
public:
    /// Throws `std::runtime_error`: a line that names the file and what can't be had.
    TopicPublisher(const ConnectionFile& file, std::vector<WatchedTopic> topics);
    ~TopicPublisher();
    TopicPublisher(const TopicPublisher&) = delete;
    TopicPublisher& operator=(const TopicPublisher&) = delete;

    /// Waits until each topic has a subscriber. Gives the name of a topic that has none in time; empty if there is none.
    /// @param isOver  ends the wait early
    std::string waitForSubscribers(std::chrono::milliseconds most, const std::function<bool()>& isOver) const;

    std::vector<std::string> topicsWithoutSubscribers() const;

    /// Throws `std::runtime_error` if the library does not take the record, and if subscribers are so slow that a record
    /// of before would be lost: a reliable publisher keeps as many as its history holds until they have arrived.
    void publish(const std::string& topic, const void* record);

    /// Waits until what was published has arrived, where it is reliable; false if it hasn't in time.
    bool waitUntilArrived(std::chrono::milliseconds most);

private:
    std::size_t indexOf(const std::string& topic) const;
    bool waitUntilArrived(std::size_t topic, std::chrono::steady_clock::time_point end);

    const std::string m_file;
    const std::vector<WatchedTopic> m_topics;
    const std::size_t m_depth;             // of a history
    std::vector<std::size_t> m_unarrived;  // by topic, at the most
    std::vector<long long> m_connections;
    std::shared_ptr<FACE::TSS::HX_TSS> m_transport;  // last: its threads use the above until it is gone
};

}  // namespace orvanectl

#endif
