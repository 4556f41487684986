#ifndef LAB_CTL_SERVE_REPLAY_H
#define LAB_CTL_SERVE_REPLAY_H

#include "lab/ctl/serve/RecordedRun.h"

#include <chrono>
#include <memory>
#include <vector>

namespace orvanectl {

/// A recording that is shown as it was at any time of it. It is read once from the front, in passing, and places are kept on
/// the way: whatever the way to a time, what is shown there is what had been told from the start of the recording up to it,
/// and a time is reached by reading on from the place before. One thread at a time.
class Replay {
public:
    using Time = RecordedUnit::Time;
    using Clock = std::chrono::steady_clock;

    /// How many places are kept, and what they may take, roughly; beyond that every second one goes.
    struct Limits {
        std::size_t places = 256;
        std::size_t bytes = std::size_t{256} * 1024 * 1024;
        std::uint64_t apart = std::uint64_t{1024} * 1024;  ///< bytes of messages between two of them at first
    };

    /// @param source, index  outlive this object; the index is of that source
    Replay(const mcap::Source& source, const RecordingIndex& index, const ServerSettings& settings, Limits limits);
    Replay(const mcap::Source& source, const RecordingIndex& index, const ServerSettings& settings)
        : Replay(source, index, settings, Limits())
    {}

    /// Goes to a time, or on the way there for so long. True when it is there.
    bool goTo(Time time, Clock::duration most);

    /// Reads ahead for so long. False once all is known.
    bool readAhead(Clock::duration most);

    /// Where it is: what `goTo` has reached, at first the start.
    Time now() const { return m_now; }

    /// What was told up to there.
    FrameBoard::Sections sections() const { return m_run->unit().sections(m_now); }

    /// When something was recorded next, behind where it is; the end if nothing was. `goTo` is there only once that is read.
    Time next() const { return m_run->next().value_or(m_index.end); }

    /// When something was recorded last, before where it is; the start if nothing was.
    Time previous() const;

    /// How much of the file is known, from 0 to 1.
    double known() const;

    std::size_t places() const { return m_places.size(); }

private:
    bool isKnownUntil(Time time) const;
    void readAheadOnce();
    void keepPlace();
    const RecordedPlace& placeBefore(Time time) const;

    const mcap::Source& m_source;
    const RecordingIndex& m_index;
    const Limits m_limits;
    std::vector<std::unique_ptr<const RecordedPlace>> m_places;  // in the order of the file; the first is its front
    std::uint64_t m_apart;
    std::uint64_t m_nextPlace;  // bytes of messages before it
    std::size_t m_weight = 0;
    std::unique_ptr<RecordedRun> m_ahead;  // null once it has ended
    std::unique_ptr<RecordedRun> m_run;
    Time m_now;
};

}  // namespace orvanectl

#endif
