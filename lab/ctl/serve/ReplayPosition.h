#ifndef LAB_CTL_SERVE_REPLAYPOSITION_H
#define LAB_CTL_SERVE_REPLAYPOSITION_H

#include "lab/ctl/BusLink.h"
#include "lab/ctl/play/Timeline.h"
#include "utilities/ThreadAnnotations.h"

#include <cstdint>

namespace orvanectl {

/// Which place of a recording is shown, and whether it moves: one for all viewers. It begins at the front, paused, and
/// stops at the end. Places are counted from the first message. Any thread.
class ReplayPosition {
public:
    using Json = BusLink::Json;
    using Time = Timeline::Time;
    using Place = Timeline::Place;

    /// Rates that may be asked for.
    static constexpr double kSlowest = 0.01;
    static constexpr double kFastest = 1000;

    struct State {
        Place place{};
        double rate = 1;
        bool isPaused = true;
        int steps = 0;              ///< messages to go on, or back, from there; it is paused then
        std::uint64_t changes = 0;  ///< that were asked for
    };

    /// Throws `std::system_error`.
    ReplayPosition(Place length, Time now);
    ~ReplayPosition();
    ReplayPosition(const ReplayPosition&) = delete;
    ReplayPosition& operator=(const ReplayPosition&) = delete;

    Place length() const { return m_length; }

    /// Does what a viewer asks for, an object with one member: `to` (s behind the front), `paused`, `rate`, `step` (1 is the
    /// next message, -1 the one before). The answer is `ok`, and `changes` or `error`.
    Json change(const Json& request, Time now) EXCLUDES(m_mutex);

    State at(Time now) EXCLUDES(m_mutex);

    /// Goes on from there, unless another change was asked for since; a step is done by it.
    /// @param changes  of the state that this is about
    void goOnFrom(Place place, std::uint64_t changes, int stepsDone, Time now) EXCLUDES(m_mutex);

    /// Can be read, for `poll`, once a change was asked for; `at` takes that.
    int descriptor() const { return m_event; }

private:
    const char* apply(const Json& request, Time now) REQUIRES(m_mutex);
    void stopAtEnd(Time now) REQUIRES(m_mutex);
    Place limited(Place place) const;

    const Place m_length;
    int m_event;
    Mutex m_mutex;  // a leaf
    Timeline m_timeline GUARDED_BY(m_mutex);
    int m_steps GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_changes GUARDED_BY(m_mutex) = 0;
};

}  // namespace orvanectl

#endif
