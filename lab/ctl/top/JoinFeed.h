#ifndef LAB_CTL_TOP_JOINFEED_H
#define LAB_CTL_TOP_JOINFEED_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/why/BusEntries.h"
#include "lab/ctl/why/Epoch.h"
#include "lab/ctl/why/JoinDiary.h"

#include <string>

namespace orvanectl {

/// Brings what is heard of topics and bus to the diary of joins, and sums up. One thread at a time.
class JoinFeed {
public:
    using Time = TopicStatistics::Time;

    /// @param hearing  with `bus` `takeBusLine` is called, with `queue` `takeReading`
    JoinFeed(const ServerSettings& settings, JoinDiary::Hearing hearing);

    /// A record of any topic; what is no input is passed over.
    void take(const WatchedTopic& topic, const Sample& sample);

    /// Any line.
    void takeBusLine(const BusLink::Json& line, Time now) { enterBusLine(m_diary, line, now); }

    /// The service has read something from the receiver's queue.
    void takeReading(Time now) { m_diary.takeReading(now); }

    /// What is heard of single inputs; what the receiver's queue gets may be entered there.
    JoinDiary& diary() { return m_diary; }

    /// The bus is gone, and with it the service.
    void takeBusGone(Time now) { m_diary.setServiceRuns(false, now); }

    /// To be called before what came at that time is taken, if `text` is not looked at all the while.
    void settle(Time now)
    {
        for (const Epoch& epoch : m_diary.takeDecided(now)) m_sum.add(epoch);
    }

    /// "join rate 0.93 (56 of 60): ..." up to now; before it why no time message comes, if so.
    std::string text(Time now);

    /// Roughly what a copy takes, in bytes.
    std::size_t weight() const { return m_diary.weight() + m_sum.weight(); }

private:
    JoinDiary m_diary;
    JoinSum m_sum;
};

}  // namespace orvanectl

#endif
