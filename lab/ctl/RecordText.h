#ifndef LAB_CTL_RECORDTEXT_H
#define LAB_CTL_RECORDTEXT_H

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/TopicStatistics.h"

#include <cstdint>
#include <string>
#include <vector>

/// Records, rates and sums as text for people and as JSON, with their ends of line. Pure functions, any thread. Texts of
/// records are `printable`: no record can forge a line or reach a terminal's controls.
namespace orvanectl {

/// Seconds with nine digits, "-0.000000008"; where seconds and nanoseconds do not make one number, both as they are.
std::string timeText(const aspn2_msgs::idl::timestamp& time);

/// Name and number of the server that a device id names, "MasterClock (37)"; "server 99" if it has no name.
std::string sourceText(std::int32_t deviceId);

/// The name of an event's type, as "FAULT"; "TYPE 6" for what is none.
std::string eventTypeText(std::uint32_t type);

/// A line with everything: topic and type, `header` as `decodeHeader` has it, the other fields as `message`.
std::string recordJson(const WatchedTopic& topic, const void* record);

/// A paragraph with everything.
std::string recordParagraph(const WatchedTopic& topic, const void* record);

/// A line for an EventLog or a MaintenanceEvent: time of validity, source, sequence number and content, but neither the
/// time of arrival nor the rest of the device id; of anything else the paragraph.
std::string recordText(const WatchedTopic& topic, const void* record, bool withTopic);

/// What is known of a topic at a time.
struct TopicRate {
    const WatchedTopic* topic;
    int publishers;
    TopicStatistics* statistics;
};

/// A heading, a line for each topic, and an empty line.
std::string rateTable(const std::vector<TopicRate>& rates, TopicStatistics::Time now);

/// A line.
/// @param seconds  since the start
std::string rateJson(const TopicRate& rate, TopicStatistics::Time now, double seconds);

/// What has been seen from start to end.
struct WatchSum {
    double seconds = 0;
    std::uint64_t records = 0;
    SequenceHoles holes;
    std::uint64_t lost = 0;
    std::uint64_t leftOut = 0;  ///< arrived faster than they could be shown

    void add(const TopicStatistics& statistics);
};

std::string sumText(const WatchSum& sum);
std::string sumJson(const WatchSum& sum);

}  // namespace orvanectl

#endif
