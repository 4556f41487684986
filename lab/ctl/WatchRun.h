#ifndef LAB_CTL_WATCHRUN_H
#define LAB_CTL_WATCHRUN_H

#include "lab/ctl/RecordText.h"
#include "lab/ctl/TopicWatch.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

/// What is watched, and until when.
struct WatchOptions {
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::vector<std::string> topics;
    std::string type;
    std::string recording;    ///< is read in place of what is sent now; empty: none
    double seconds = 0;       ///< to run; 0 has no end
    std::uint64_t count = 0;  ///< of what is printed, records or reports; 0 has no end
    bool json = false;
    bool backfill = false;
    bool full = false;          ///< echo: paragraphs for all types
    double windowSeconds = 10;  ///< hz: over which rates are taken
    double everySeconds = 1;    ///< hz: between reports
};

/// Ends a watch by SIGINT, SIGTERM, SIGHUP and SIGQUIT. What is blocked in writing
/// is broken off, which is an error of the output. The second signal of
/// a kind has its default action, behind what `beforeDefault` was given. One object at a time, made before other threads
/// are: they never see these signals.
class EndingSignals {
public:
    /// Throws `std::system_error`.
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    /// From here on this thread takes them.
    void listen();

    /// @param action  is called before a default action, in the signal's handler
    void beforeDefault(void (*action)());

    bool received() const;

    /// Can be read, for `poll`, once one was received.
    int descriptor() const;
};

/// Where records come from, and the time that goes with them. One thread at a time.
class WatchSource {
public:
    virtual ~WatchSource() = default;

    virtual const std::vector<WatchedTopic>& topics() const = 0;
    /// Those that are there, in the order of their arrival, which is not behind `now`.
    virtual std::vector<Sample> take() = 0;
    virtual int publishersOf(std::size_t topic) const = 0;
    virtual std::uint64_t leftOut() const = 0;
    virtual TopicStatistics::Time now() const = 0;
    /// What it has comes while time passes.
    virtual bool isLive() const = 0;
    /// Nothing follows.
    virtual bool hasEnded() const = 0;
    /// Until there is something to take, a signal has come, or `until`; without that as long as it takes.
    virtual void wait(const EndingSignals& signals, std::optional<TopicStatistics::Time> until) = 0;

protected:
    WatchSource() = default;
    WatchSource(const WatchSource&) = default;
    WatchSource& operator=(const WatchSource&) = default;
};

/// Waits until a record is there, a signal has come, or `until`; without that as long as it takes.
void waitForSample(const SampleBox& samples, const EndingSignals& signals, std::optional<TopicStatistics::Time> until);

/// Prints records as they come, and a sum at the end. Throws `std::runtime_error` as `TopicWatch` does, and when the
/// output fails.
void runEcho(const WatchOptions& options, std::ostream& output);

/// Prints rates at intervals, and a sum at the end. Throws the same.
void runHz(const WatchOptions& options, std::ostream& output);

/// The same of what a source has.
void echoFrom(WatchSource& source, const WatchOptions& options, EndingSignals& signals, std::ostream& output);
void hzFrom(WatchSource& source, const WatchOptions& options, EndingSignals& signals, std::ostream& output);

}  // namespace orvanectl

#endif
