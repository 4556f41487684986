#ifndef LAB_CTL_TOP_TOPVIEW_H
#define LAB_CTL_TOP_TOPVIEW_H

#include "lab/ctl/RecordTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What `orvanectl top` shows, as values. All texts are printable ASCII.
namespace orvanectl {

struct TopicRow {
    std::string name;
    std::optional<double> rateHz;
    std::optional<double> jitterSeconds;
    std::optional<double> ageSeconds;  ///< of the latest record; nothing before the first
    std::uint64_t records = 0;
    std::uint64_t gaps = 0;
    std::uint64_t missing = 0;
    std::uint64_t back = 0;
    std::uint64_t lost = 0;
    int publishers = 0;
    std::string sources;               ///< "MasterClock (37), ..."
    const RecordType* type = nullptr;  ///< of `latest`
    RecordPointer latest;              ///< null before the first
};

/// One of the six inputs of Blended Navigation.
struct InputRow {
    std::string name;
    std::optional<double> ageSeconds;
    std::optional<double> offsetSeconds;  ///< its time of validity minus that of the UTCTime it came beside
};

/// What is told on the bus under one name.
struct GroupRow {
    std::string name;
    std::optional<std::uint64_t> listed;  ///< how many rows the latest has, where it is a list
    std::uint64_t count = 0;              ///< heard since the start
    std::string last;                     ///< "16:34:57", UTC; empty if none came
};

/// What can be seen of a queue by who does not read it.
struct QueueRow {
    std::string name;
    std::string device;         ///< "/dev/mcs5"
    bool isThere = false;       ///< the device can be watched
    std::uint64_t written = 0;  ///< since the start, at the least: writings behind each other may be seen as one
    std::uint64_t taken = 0;    ///< likewise
    std::optional<std::uint64_t> waitingBytes;
    std::optional<double> takenAgeSeconds;
    std::string holders;                                  ///< "OrvaneServer r, unit-sim rw"
    std::uint64_t faults = 0;                             ///< events of the service that tell of one with it
    std::optional<std::uint64_t> refused = std::nullopt;  ///< 8504 that the service doesn't take; if they are heard
};

struct ProcessRow {
    int id = 0;
    std::optional<double> cpuPercent;  ///< of one processor; nothing at the first look
    std::uint64_t residentKiB = 0;
    std::uint64_t threads = 0;
    std::size_t others = 0;  ///< processes of the same name besides
};

struct TopView {
    double seconds = 0;  ///< since the start
    std::optional<ProcessRow> process;
    std::string clearData;
    std::string builtInTest;
    std::vector<TopicRow> topics;
    std::vector<InputRow> inputs;
    std::string bus;  ///< "service 1 started", or why there is nothing
    std::vector<GroupRow> groups;
    std::string join;
    std::vector<QueueRow> queues;
    std::vector<std::string> events;  ///< the newest last
};

}  // namespace orvanectl

#endif
