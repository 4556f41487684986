#ifndef LAB_CTL_PLAY_PLAYPLAN_H
#define LAB_CTL_PLAY_PLAYPLAN_H

#include "lab/ctl/RecordTypes.h"
#include "lab/mcap/Reader.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

/// What of a recording is to be played.
struct PlayChoice {
    std::vector<std::string> channels;  ///< all that can be without one
    double startSeconds = 0;            ///< behind its first message
    bool withOwn = false;               ///< what the service itself had sent, too
};

/// What of a recording is played, and where it goes. Log times are nanoseconds since 1970.
struct PlayPlan {
    struct Way {
        std::string name;                  ///< of a topic, or of a queue
        const RecordType* type = nullptr;  ///< of a topic's records; null for a queue
        std::uint64_t messages = 0;
    };
    struct Channel {
        std::size_t way;
        bool hasRecords;  ///< false for what was no record in a queue
    };

    std::vector<Way> ways;
    std::map<std::uint16_t, Channel> channels;  ///< by their numbers
    std::uint64_t first = ~std::uint64_t{0};    ///< log time of the first message that is played
    std::uint64_t last = 0;                     ///< and of the last
    std::uint64_t messages = 0;
    std::uint64_t own = 0;      ///< messages left out, since the service itself had sent them
    std::uint64_t foreign = 0;  ///< and those whose type nobody knows
    std::string trouble;        ///< what could not be read of the recording, as a part of a line; mostly empty
    bool withOwn = false;

    /// The time of the unit's registers less the log time, by when the first thousands of records say that they came;
    /// nothing where none does. The middle one of them, so that few that are wrong have no say.
    std::optional<std::chrono::nanoseconds> registersAhead;

    /// Whether a message is played.
    bool has(const mcap::Message& message) const;

    std::chrono::nanoseconds length() const;
};

/// Reads all of a recording; twice if it is to begin later and its end doesn't tell when it begins. Throws
/// `std::runtime_error` for what is none and for one that has nothing to play, `UnknownName` for channels that there are
/// not and that can't be played.
/// @param name  of the file
PlayPlan planOf(const mcap::Source& source, const std::string& name, const PlayChoice& choice);

}  // namespace orvanectl

#endif
