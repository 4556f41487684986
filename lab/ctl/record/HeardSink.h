#ifndef LAB_CTL_RECORD_HEARDSINK_H
#define LAB_CTL_RECORD_HEARDSINK_H

#include "lab/ctl/TopicWatch.h"
#include "lab/mcap/Bytes.h"

#include <cstdint>
#include <string>

namespace orvanectl {

/// Takes what is heard. Times are nanoseconds since 1970, of arrival.
class HeardSink {
public:
    virtual ~HeardSink() = default;

    virtual void take(const Sample& sample, std::uint64_t time) = 0;
    virtual void takeBusLine(const std::string& line, std::uint64_t time) = 0;
    /// @param line  as the service has printed it
    virtual void takeConsoleLine(const std::string& line, std::uint64_t time) = 0;
    /// @param record  a serialised GSSIP record as the queue carried it
    /// @param number  by which its source counts
    virtual void takeQueueRecord(std::size_t queue, mcap::Bytes record, std::int64_t number, std::uint64_t time) = 0;
    /// Bytes of a queue that are no record.
    virtual void takeQueueRest(std::size_t queue, mcap::Bytes bytes, std::uint64_t time) = 0;

protected:
    HeardSink() = default;
    HeardSink(const HeardSink&) = default;
    HeardSink& operator=(const HeardSink&) = default;
};

}  // namespace orvanectl

#endif
