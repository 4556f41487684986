#ifndef LAB_CTL_RECORD_RECORDER_H
#define LAB_CTL_RECORD_RECORDER_H

#include "lab/ctl/TopicWatch.h"
#include "lab/ctl/record/HeardSink.h"
#include "lab/mcap/Writer.h"

#include <map>
#include <string>
#include <vector>

/// What stands in a recording besides the records of DDS topics, whose channels are named as these are.
namespace orvanectl::recording {

inline constexpr const char* kCdr = "cdr";     ///< encoding of records, behind the four bytes that tell their order
inline constexpr const char* kIdl = "omgidl";  ///< encoding of their schemas
inline constexpr const char* kJson = "json";   ///< encoding of the bus's lines
inline constexpr const char* kBus = "bus";     ///< channel of the lines
inline constexpr const char* kConsole = "console";  ///< channel of what the service printed, each "line" as JSON
inline constexpr const char* kQueue = "queue/";     ///< front of the channels of queues, such as "queue/ZEN_HX"
inline constexpr const char* kRest = "/rest";       ///< end of the channels of what was no record in them
inline constexpr const char* kMissed = "missed";    ///< metadata: by topic, how many records were not recorded
inline constexpr const char* kEarlier = "earlier";  ///< by topic, how many were sent before their writer's first here
inline constexpr const char* kAbout = "recording";  ///< metadata: by what, and from where

}  // namespace orvanectl::recording

namespace orvanectl {

/// Puts what is heard into a recording. Errors of the output come out. One thread at a time.
class Recorder : public HeardSink {
public:
    /// @param output  outlives this object
    /// @param queues  names of those that are heard
    Recorder(mcap::Output& output, const std::vector<WatchedTopic>& topics, const std::vector<std::string>& queues,
             const mcap::Table& about);

    void take(const Sample& sample, std::uint64_t time) override;
    void takeBusLine(const std::string& line, std::uint64_t time) override;
    void takeConsoleLine(const std::string& line, std::uint64_t time) override;
    void takeQueueRecord(std::size_t queue, mcap::Bytes record, std::int64_t number, std::uint64_t time) override;
    void takeQueueRest(std::size_t queue, mcap::Bytes bytes, std::uint64_t time) override;

    /// A record of a topic as it travels.
    /// @param sent  by its writer's clock; 0 if it does not tell
    void takePayload(std::size_t topic, mcap::Bytes payload, std::int64_t number, std::int64_t sent,
                     std::uint64_t time);

    /// What writers had sent before their first record here; is written when it is not what it was.
    void noteEarlier(const mcap::Table& earlier);

    /// Has what came so far stay, whatever happens to the process.
    /// @param missed  is written when it is not what it was
    void settle(const mcap::Table& missed);

    /// To be called once, and nothing after it.
    void close(const mcap::Table& missed);

    const mcap::Statistics& statistics() const { return m_writer.statistics(); }
    std::uint64_t size() const { return m_writer.size(); }

private:
    struct QueueChannels {
        std::string name;
        std::uint16_t records;
        std::optional<std::uint16_t> rest;  // seldom there
    };

    /// Of lines of JSON; made with the first of them.
    struct LineChannel {
        std::optional<std::uint16_t> id;
        std::uint32_t lines = 0;
    };

    std::uint16_t schemaOf(const RecordType& type);
    void takeLine(LineChannel& channel, const char* name, const std::string& json, std::uint64_t time);

    mcap::Writer m_writer;
    const std::vector<WatchedTopic> m_topics;
    std::map<std::string_view, std::uint16_t> m_schemas;
    std::vector<std::uint16_t> m_channels;  // of the topics
    std::vector<QueueChannels> m_queues;
    LineChannel m_bus;
    LineChannel m_console;
    mcap::Table m_missed;
    mcap::Table m_earlier;
};

}  // namespace orvanectl

#endif
