#ifndef LAB_CTL_PLAY_REEL_H
#define LAB_CTL_PLAY_REEL_H

#include "lab/ctl/play/PlayPlan.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace orvanectl {

/// A message that is to be played.
struct Cue {
    PlayPlan::Channel channel{};
    std::chrono::nanoseconds place{};  ///< behind the first of all that are played
    std::vector<std::uint8_t> payload;
};

/// What a plan has, once, from the first to the last, in the order of log times as far as these stand near each other in the
/// file; those of one time in the order of the file. Holds some thousands of messages, or one that is large. One thread at
/// a time.
class Reel : private mcap::RecordSink {
public:
    /// @param source, plan  outlive this object; the plan is of that source
    Reel(const mcap::Source& source, const PlayPlan& plan);

    /// Nothing behind the last.
    std::optional<Cue> next();

private:
    struct Held {
        std::uint64_t time;
        std::uint64_t number;
        Cue cue;
    };

    void message(const mcap::Message& message) override;
    static bool isLater(const Held& one, const Held& other);

    const PlayPlan& m_plan;
    std::vector<Held> m_held;  // a heap, the first in front
    std::size_t m_bytes = 0;   // of it
    std::uint64_t m_number = 0;
    mcap::Scanner m_scanner;
};

}  // namespace orvanectl

#endif
