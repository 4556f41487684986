#ifndef LAB_CTL_REPORT_JOINLINE_H
#define LAB_CTL_REPORT_JOINLINE_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "aspn2_msgs/GSSIP.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/report/Course.h"
#include "lab/ctl/report/EndsList.h"
#include "lab/ctl/why/DiaryClock.h"
#include "lab/ctl/why/JoinDiary.h"

#include <cstdint>
#include <deque>
#include <string>
#include <utility>

namespace orvanectl {

/// What became of each time message of a recording, by the rules of `orvanectl why`. Times are seconds since the start
/// of the recording and must not go back. One thread at a time.
class JoinLine {
public:
    JoinLine(const ServerSettings& settings, JoinDiary::Hearing hearing) : m_diary(settings, hearing) {}

    /// To be called before anything that came at that time is taken.
    void passUntil(double seconds);

    /// @param input  of `kJoinTopics`
    void take(std::size_t input, const void* record);
    void take(const aspn2_msgs::idl::GSSIP& record) { m_diary.take(record, m_clock.now()); }
    void takeNoRecord() { m_diary.takeNoRecord(m_clock.now()); }

    /// Any line of the bus.
    void takeBusLine(const Json& line);

    /// At the end, once.
    void end();

    /// `epochs`, `joined`, `rate` (null without epochs), `causes` with how often, `text` as `why` has it, `misses` as
    /// [seconds, GPS second, causes], and as `course` 1 for what was joined and 0 for what was not.
    Json json() const;

private:
    struct Miss {
        double seconds;
        double gpsSeconds;
        std::string causes;
    };
    static constexpr std::size_t kMostMisses = 250;  // of either end
    static constexpr std::size_t kMostTimes = 256;

    void noteTime(const aspn2_msgs::idl::UTCTime& message);
    void show(const std::vector<Epoch>& epochs);
    double secondsNow() const;
    double arrivalOf(const Epoch& epoch) const;

    const JoinDiary::Time m_start{};
    DiaryClock m_clock{m_start};
    JoinDiary m_diary;
    JoinSum m_sum;
    std::deque<std::pair<double, double>> m_times;  // of the latest time messages: GPS second, arrival
    EndsList<Miss> m_misses{kMostMisses};
    Course m_course{Course::kMostBuckets, 1};
};

}  // namespace orvanectl

#endif
