#ifndef LAB_CTL_SERVE_PAGEMODEL_H
#define LAB_CTL_SERVE_PAGEMODEL_H

#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "lab/ctl/BusLink.h"
#include "lab/ctl/ProcessLook.h"
#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/serve/ErrorEllipse.h"
#include "lab/ctl/serve/FrameBoard.h"
#include "lab/ctl/serve/ThinnedList.h"
#include "lab/ctl/top/TopView.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// What the page shows, as sections of JSON: what `orvanectl top` shows, and besides it what was told last on the bus, the
/// way that was driven, and how the errors went. Times are passed in and must not go back. One thread at a time.
class PageModel {
public:
    using Time = TopicStatistics::Time;
    using Json = BusLink::Json;

    /// Points of the track, and of the course of errors, that are kept.
    static constexpr std::size_t kMostPoints = 600;

    explicit PageModel(Time start) : m_start(start) {}

    /// A record of any topic; what is no solution of the navigator is passed over.
    void take(const WatchedTopic& topic, const Sample& sample);

    /// Any line.
    void takeBusLine(const Json& line, Time now);

    /// The bus is gone, and with it the service.
    void takeBusGone() { m_serviceRuns = false; }

    /// A look at the recorder, of which it is told once there was one, at two looks in a row.
    void takeRecorder(const std::optional<RecorderReading>& reading, Time now);

    /// Each with a name that is a word.
    /// @param trouble  why there is no bus, or empty
    /// @param leftOut  records that came faster than they were taken
    FrameBoard::Sections sections(const TopView& view, const std::string& trouble, std::uint64_t leftOut,
                                  Time now) const;

    /// Roughly what a copy takes, in bytes, without track and course of errors, whose points are bounded.
    std::size_t weight() const;

private:
    struct Point {
        double east, north;  // m, from the first one
    };
    struct Errors {
        Json horizontal, vertical, fom, efom, tfom;
    };
    struct Told {
        std::shared_ptr<const std::string> line;  // copies of the model have it in common
        std::optional<Time> time;                 // nothing if it was told before the start
    };

    struct Recorder {
        RecorderReading reading;  // the latest
        Time seen;
        bool runs;
    };

    void takePosition(const aspn2_msgs::idl::PositionVelocityAttitude& message, Time now);
    void takeErrors(const Json& record, Time now);
    double secondsAt(Time now) const;
    Json statusJson(const TopView& view, const std::string& trouble, std::uint64_t leftOut, Time now) const;
    Json recorderJson(Time now) const;
    Json trackJson() const;
    Json errorsJson() const;
    Json agesJson(Time now) const;

    const Time m_start;
    bool m_serviceRuns = false;
    int m_recorderBefore = 0;  // at the look before; 0 for none
    std::optional<Recorder> m_recorder;
    std::map<std::string, Told> m_told;
    std::optional<Point> m_origin;  // rad: longitude and latitude
    Json m_position;
    ThinnedList<Point> m_track{kMostPoints, 0.5};
    ThinnedList<Errors> m_errors{kMostPoints, 0.5};
};

}  // namespace orvanectl

#endif
