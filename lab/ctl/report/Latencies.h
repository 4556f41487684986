#ifndef LAB_CTL_REPORT_LATENCIES_H
#define LAB_CTL_REPORT_LATENCIES_H

#include "aspn2_msgs/UTCTime.h"
#include "lab/ctl/report/Course.h"
#include "lab/ctl/report/Spread.h"

#include <deque>
#include <optional>

namespace orvanectl {

/// How long it took from the inputs of a second to the bus: since its time message came, and since the last of its inputs
/// that came before it was told. Moments are seconds since the start. One thread at a time.
class Latencies {
public:
    void takeTime(const aspn2_msgs::idl::UTCTime& message, double arrived);

    /// An input, the time message among them.
    void take(const aspn2_msgs::idl::header& header, double arrived);

    /// @param gpsSeconds  of the record that was told
    void tell(double gpsSeconds, double told);

    /// `fromTime` and `fromLast`, in ms, each with the members of `Spread`, and as `course`.
    Json json() const;

private:
    struct TimeMessage {
        double gpsSeconds, valid, arrived;
    };
    struct Arrival {
        double valid, arrived;
    };
    struct Latency {
        Spread spread;
        Course course;
        void add(double seconds, double told);
        Json json() const;
    };

    static constexpr std::size_t kMost = 64;  // of the latest, an interval of some seconds

    double tolerance() const;

    std::deque<TimeMessage> m_times;
    std::deque<Arrival> m_arrivals;
    Latency m_fromTime;
    Latency m_fromLast;
};

}  // namespace orvanectl

#endif
