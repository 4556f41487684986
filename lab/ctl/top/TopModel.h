#ifndef LAB_CTL_TOP_TOPMODEL_H
#define LAB_CTL_TOP_TOPMODEL_H

#include "lab/ctl/ProcessLook.h"
#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/top/BusBoard.h"
#include "lab/ctl/top/InputOffsets.h"
#include "lab/ctl/top/TopView.h"
#include "lab/ctl/why/JoinDiary.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// All that `orvanectl top` has heard, by which it makes what is shown. Times are passed in, and must not go back. One
/// thread at a time.
class TopModel {
public:
    using Time = TopicStatistics::Time;

    /// Events that are remembered.
    static constexpr std::size_t kMostEvents = 200;

    TopModel(std::vector<WatchedTopic> topics, std::vector<QueueName> queues, Time start);

    void take(const Sample& sample);
    void setPublishers(std::size_t topic, int publishers) { m_publishers.at(topic) = publishers; }
    void takeBusLine(const Json& line, Time now) { m_bus.take(line, now, m_notes); }
    void setBus(const std::string& state) { m_bus.setState(state); }
    void setQueue(std::size_t queue, const QueueReading& reading) { m_readings.at(queue) = reading; }
    /// What is heard of the receiver's queue; nothing without a copy of it.
    void setReceiver(const std::optional<JoinDiary::InputState>& receiver);
    void setProcess(const std::optional<ProcessReading>& reading, Time now);
    void setJoin(const std::string& text) { m_join = text; }

    TopView view(Time now);

    /// Roughly what a copy takes, in bytes, without what grows with the arrivals and the size of the latest records.
    std::size_t weight() const;

private:
    struct CpuPoint {
        Time time;
        double seconds;
    };

    void takeInput(const Sample& sample);
    void takeCommand(const Sample& sample);
    void takeEvent(const Sample& sample);
    TopicRow topicRow(std::size_t topic, Time now);
    std::vector<InputRow> inputRows(Time now) const;
    std::vector<QueueRow> queueRows(Time now) const;
    std::optional<ProcessRow> processRow() const;
    static std::optional<double> ageOf(std::optional<Time> last, Time now);

    const std::vector<WatchedTopic> m_topics;
    const std::vector<QueueName> m_queues;
    const Time m_start;
    std::vector<TopicStatistics> m_statistics;
    std::vector<RecordPointer> m_latest;
    std::vector<int> m_publishers;
    std::vector<QueueReading> m_readings;
    std::vector<std::uint64_t> m_queueFaults;
    InputOffsets m_offsets;
    std::optional<JoinDiary::InputState> m_receiver;
    BusBoard m_bus;
    BusNotes m_notes;
    std::string m_join;
    std::deque<std::string> m_events;
    std::optional<ProcessReading> m_process;
    std::deque<CpuPoint> m_cpu;
};

}  // namespace orvanectl

#endif
