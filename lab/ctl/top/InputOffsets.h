#ifndef LAB_CTL_TOP_INPUTOFFSETS_H
#define LAB_CTL_TOP_INPUTOFFSETS_H

#include "aspn2_msgs/header.h"
#include "lab/ctl/TopicStatistics.h"

#include <cstddef>
#include <deque>
#include <map>
#include <optional>

namespace orvanectl {

/// How far the times of validity of inputs are from UTCTime's. An input is held against the time message that came
/// nearest to it, before or after: the six of an epoch come together, in any order. One thread at a time.
class InputOffsets {
public:
    using Time = TopicStatistics::Time;

    void takeTime(const aspn2_msgs::idl::header& header, Time arrival);

    /// @param input  any number that names it
    void take(std::size_t input, const aspn2_msgs::idl::header& header, Time arrival);

    /// Of the latest record, in seconds: positive if it is valid later than the time message. Nothing unless both came.
    std::optional<double> of(std::size_t input) const;

private:
    struct Came {
        aspn2_msgs::idl::header header;
        Time arrival;
    };

    static constexpr std::size_t kMostTimes = 4;

    std::deque<Came> m_times;
    std::map<std::size_t, Came> m_inputs;
};

}  // namespace orvanectl

#endif
