#ifndef LAB_CTL_SEQ_JUDGE_H
#define LAB_CTL_SEQ_JUDGE_H

#include "lab/ctl/seq/Steps.h"

#include <chrono>
#include <span>
#include <string>

/// Whether what has come is what was expected. Pure functions, any thread; time is passed in.
namespace orvanectl {

/// Something that has come.
struct Observation {
    using Time = std::chrono::steady_clock::time_point;

    Time time;
    Kind kind = Kind::Tell;
    std::string name;  ///< of a tell
    int number = 0;    ///< of a warning
    std::string text;  ///< for people; expected texts are looked for in it
};

/// From when on something counts for an expectation.
struct Since {
    Observation::Time action;  ///< the last step that did something: what is expected counts from there
    Observation::Time pause;   ///< that or the last pause: what is not to come counts from there
    Observation::Time begin;   ///< of the expectation
};

struct Verdict {
    enum class State { Open, Passed, Failed };

    State state = State::Open;
    std::string what;  ///< empty while it is open
};

bool matches(const Expectation& expected, const Observation& seen);

/// @param seen  in the order of their times, none later than `now`; all of them that there are
Verdict judge(const Expectation& expected, std::span<const Observation> seen, const Since& since,
              Observation::Time now);

}  // namespace orvanectl

#endif
