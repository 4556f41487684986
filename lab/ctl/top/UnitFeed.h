#ifndef LAB_CTL_TOP_UNITFEED_H
#define LAB_CTL_TOP_UNITFEED_H

#include "lab/ctl/QueueTaps.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/top/BusFeed.h"
#include "lab/ctl/top/Every.h"
#include "lab/ctl/top/JoinFeed.h"
#include "lab/ctl/top/TopModel.h"
#include "lab/ctl/why/ReceiverCopy.h"

#include <array>
#include <chrono>
#include <string>
#include <vector>

namespace orvanectl {

/// All that can be heard on a unit: topics, bus, queues and the service's process. It only listens. One thread at a time.
class UnitFeed {
public:
    using Time = TopicStatistics::Time;

    /// What came in one turn, for who keeps more of it than the model does.
    struct News {
        std::vector<Sample> samples;
        std::vector<BusLink::Json> lines;  ///< of the bus
    };

    /// Throws `std::runtime_error` for a file, or a participant of DDS, that can't be had.
    /// @param file      the service's top-level file
    /// @param socket    of the bus; empty: there is none
    /// @param receiver  a copy of what the receiver's queue gets; empty: the lab's own, whenever there is one
    UnitFeed(const std::string& file, const std::string& socket, const std::string& receiver = "");

    const std::vector<WatchedTopic>& topics() const { return m_watch.topics(); }

    /// Records that came faster than they were taken.
    std::uint64_t leftOut() { return m_watch.samples().leftOut(); }

    /// Takes what has come; nothing waits.
    News hear(Time now);

    /// Why there is no bus; empty while there is one.
    const std::string& busTrouble() const { return m_bus.trouble(); }

    /// All of it up to now.
    TopView view(Time now);

    /// Can be read, for `poll`, when something has come; -1 is to be passed over.
    std::array<int, 3> descriptors();

private:
    bool isReceiverThere() const;
    void hearQueues(Time now);
    std::vector<BusLink::Json> hearBus(Time now);

    const bool m_hasBus;
    const ServerSettings m_settings;
    const ConnectionFile m_file;
    TopicWatch m_watch;
    QueueTaps m_taps;
    BusFeed m_bus;
    TopModel m_model;
    JoinFeed m_joins;
    ReceiverCopy m_receiver;
    Every m_processLook;
    Every m_queueLook;
};

}  // namespace orvanectl

#endif
