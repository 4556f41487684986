#ifndef LAB_CTL_RECORD_RECORDINGINFO_H
#define LAB_CTL_RECORD_RECORDINGINFO_H

#include "lab/ctl/TopicStatistics.h"
#include "lab/mcap/Reader.h"

#include <string>
#include <vector>

namespace orvanectl {

/// What a recording has of a channel. Times are nanoseconds since 1970.
struct ChannelInfo {
    std::string topic;
    std::string encoding;
    std::string schema;  ///< its name; empty if there is none
    std::uint64_t messages = 0;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t longest = 0;     ///< between two messages
    SequenceHoles holes;           ///< in the numbers of its first sources, where records have headers
    std::uint64_t unreadable = 0;  ///< records that are none of their type
};

struct RecordingInfo {
    std::string file;
    std::uint64_t size = 0;
    bool isClosed = false;
    std::uint64_t end = 0;  ///< offset of what can't be read
    std::vector<ChannelInfo> channels;
    mcap::Table about;
    mcap::Table missed;   ///< as the recorder has counted it
    mcap::Table earlier;  ///< likewise, of what was sent before it was known of the publisher
    std::vector<std::string> problems;
    std::uint64_t problemCount = 0;  ///< of which `problems` has the first
};

/// Reads all of it, damaged or not. Throws `std::runtime_error` for what is no recording.
RecordingInfo infoOf(const std::string& file);
RecordingInfo infoOf(const mcap::Source& source, const std::string& name);

/// Nanoseconds since 1970 as "2026-11-22T13:00:00.123Z".
std::string dateText(std::uint64_t time);

/// Some lines, with a table of the channels.
std::string infoText(const RecordingInfo& info);

/// A line.
std::string infoJson(const RecordingInfo& info);

}  // namespace orvanectl

#endif
