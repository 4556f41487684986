#ifndef LAB_CTL_PLAY_TIMELINE_H
#define LAB_CTL_PLAY_TIMELINE_H

#include <chrono>
#include <optional>

namespace orvanectl {

/// The place of a recording that is played at a moment: it moves at a rate, and stands while the play is paused. Places
/// are counted from where the play began. A moment before the last one at which something was changed counts as that. A
/// value; one thread at a time.
class Timeline {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;
    using Place = std::chrono::nanoseconds;

    /// Begins at place 0.
    /// @param rate  places pass so many times as fast as time; above 0
    Timeline(Time now, double rate, bool isPaused);

    Place at(Time now) const;

    /// When a place is reached, at the latest in 30 years: a moment that is over for one that was passed, none while it
    /// is paused.
    std::optional<Time> reaches(Place place) const;

    void pause(Time now);
    void resume(Time now);
    void setRate(double rate, Time now);

    /// Goes on from another place.
    void jump(Place place, Time now);

    double rate() const { return m_rate; }
    bool isPaused() const { return m_isPaused; }

private:
    Time m_since;  // when it was at
    Place m_from{};
    double m_rate;
    bool m_isPaused;
};

}  // namespace orvanectl

#endif
