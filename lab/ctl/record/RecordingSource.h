#ifndef LAB_CTL_RECORD_RECORDINGSOURCE_H
#define LAB_CTL_RECORD_RECORDINGSOURCE_H

#include "lab/ctl/WatchRun.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/mcap/Reader.h"

#include <deque>
#include <memory>

namespace orvanectl {

/// A time of a recording, in nanoseconds since 1970, on the scale of arrivals, which has room for 292 years. Later than
/// half of them is none, so that a length of time can be added to each.
TopicStatistics::Time arrivalTimeOf(std::uint64_t nanoseconds);

/// The records of a recording, at their times of arrival. No time passes. Up to the first record it is read when this is
/// made, which is told on the terminal when it takes long. Publishers are not known, nor what was lost on
/// the way to the recorder: `info` tells that.
class RecordingSource : public WatchSource, private mcap::RecordSink {
public:
    /// Throws `std::runtime_error` for what is no recording, `UnknownName` for topics and types that there are not.
    /// @param topics  all without one
    /// @param type    of all of them, whatever the recording says; empty: by the recording
    RecordingSource(const std::string& file, const std::vector<std::string>& topics, const std::string& type);

    const std::vector<WatchedTopic>& topics() const override { return m_topics; }
    std::vector<Sample> take() override;
    int publishersOf(std::size_t) const override { return 0; }
    std::uint64_t leftOut() const override { return m_leftOut; }
    TopicStatistics::Time now() const override { return m_now; }
    bool isLive() const override { return false; }
    bool hasEnded() const override { return m_hasEnded; }
    void wait(const EndingSignals& signals, std::optional<TopicStatistics::Time> until) override;

    /// What could not be read of it up to here, as a part of a line; empty if there is nothing to say.
    std::string trouble() const;

private:
    void channel(const mcap::Channel& channel) override;
    void message(const mcap::Message& message) override;
    void problem(std::uint64_t, const std::string&) override { ++m_problems; }

    mcap::FileSource m_file;
    ReadProgress m_source;  // of it; hidden once there is a record to show
    std::vector<WatchedTopic> m_topics;
    std::map<std::uint16_t, std::size_t> m_channels;  // to topics
    std::deque<Sample> m_samples;
    std::uint64_t m_leftOut = 0;   // none of their type
    std::uint64_t m_problems = 0;  // damaged places
    TopicStatistics::Time m_now{};
    bool m_hasEnded = false;
    std::unique_ptr<mcap::Scanner> m_scanner;
};

/// Runs `echo` and `hz` of `options.recording`. Throw as `runEcho` does.
void runEchoOfRecording(const WatchOptions& options, std::ostream& output);
void runHzOfRecording(const WatchOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
