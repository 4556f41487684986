#ifndef LAB_CTL_SERVE_RECORDEDUNIT_H
#define LAB_CTL_SERVE_RECORDEDUNIT_H

#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/serve/FrameBoard.h"
#include "lab/ctl/serve/PageModel.h"
#include "lab/ctl/serve/RecordingIndex.h"
#include "lab/ctl/top/JoinFeed.h"
#include "lab/ctl/top/TopModel.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace orvanectl {

/// All that a recording has told up to a time, as the page would show it had it looked on from the start of the recording.
/// A copy goes on by itself. Times must not go back. One thread at a time.
class RecordedUnit {
public:
    using Time = TopicStatistics::Time;

    /// Lines of the console that are kept.
    static constexpr std::size_t kMostLines = 200;

    /// @param index  outlives this object and its copies
    RecordedUnit(const RecordingIndex& index, const ServerSettings& settings);

    /// @param channel  its number; what is of none that is shown is passed over
    void take(std::uint16_t channel, mcap::Bytes payload, Time time);

    /// What is shown at a time, if nothing comes before it.
    FrameBoard::Sections sections(Time now) const;

    /// Roughly what it takes, in bytes.
    std::size_t weight() const;

private:
    struct Queue {
        std::uint64_t records = 0;
        std::uint64_t rest = 0;  ///< pieces that were none
    };

    /// Of a topic, what its statistics and its latest record take.
    struct Held {
        // Records that came within a stretch of the time that rates are taken over, and within the one before.
        Time stretch;
        std::uint64_t inStretch = 0, before = 0;
        std::size_t latestBytes = 0;  ///< as it was recorded

        void count(Time time);
        std::size_t weight() const;
    };

    void takeRecord(std::size_t topic, mcap::Bytes payload, Time time);
    void takeBusLine(mcap::Bytes text, Time time);
    void takeConsoleLine(mcap::Bytes text);
    void takeReceiver(mcap::Bytes payload, bool isRecord, Time time);
    FrameBoard::Sections sectionsNow(Time now);
    std::string queuesText(const TopView& view) const;

    const RecordingIndex& m_index;
    TopModel m_model;
    JoinFeed m_joins;
    PageModel m_page;
    std::vector<Queue> m_queues;
    std::deque<std::string> m_console;
    std::vector<Held> m_held;  // by topic
    std::uint64_t m_unreadable = 0;
};

}  // namespace orvanectl

#endif
