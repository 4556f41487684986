#ifndef LAB_CTL_RECORD_RECORDINGOVERVIEW_H
#define LAB_CTL_RECORD_RECORDINGOVERVIEW_H

#include "lab/mcap/Reader.h"

#include <string>
#include <vector>

namespace orvanectl {

/// What a recording is about, before its messages are looked at.
struct RecordingOverview {
    struct Channel {
        std::string topic;
        std::string encoding;
        std::string schema;  ///< its name; empty if there is none
    };

    std::vector<Channel> channels;
    std::uint64_t start = ~std::uint64_t{0};  ///< lowest log time, in nanoseconds since 1970; as here without a message

    std::vector<std::string> topics() const;

    /// The log time that is so far behind the start; the last that there is for what is later.
    std::uint64_t timeBehindStart(double seconds) const;
};

/// Reads its end, if that tells of all, else all of it, damaged or not. Throws `std::runtime_error` for what is no recording.
RecordingOverview overviewOf(const mcap::Source& source, const std::string& name);

}  // namespace orvanectl

#endif
