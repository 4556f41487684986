#ifndef LAB_UNIT_UNITSIM_H
#define LAB_UNIT_UNITSIM_H

#include "ASPN/AspnCmdResponse.h"
#include "lab/unit/CommandAnswers.h"
#include "lab/unit/InputFaults.h"
#include "lab/unit/Navigation.h"
#include "lab/unit/QueueFeeder.h"
#include "lab/unit/RandomEvents.h"
#include "lab/unit/RecordCopy.h"
#include "lab/unit/RegisterFile.h"
#include "lab/unit/SentLog.h"
#include "lab/unit/Settings.h"
#include "lab/unit/SystemClock.h"
#include "lab/unit/UnitTransport.h"
#include "lab/unit/World.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace unitsim {

/// What `unit-sim` has done.
struct Totals {
    std::array<std::uint64_t, kOutputs> sent = {};
    std::uint64_t warnings = 0;  // frames of message 5044
    std::uint64_t threats = 0;   // frames of message 15051
    std::uint64_t refused = 0;   // by the transport
    std::uint64_t dropped = 0;   // from queues that nobody reads
    std::uint64_t skipped = 0;   // epochs that the machine was too slow for
    std::uint64_t commands = 0;  // received, its own included
    std::uint64_t answers = 0;
};

/// The rest of the unit: publishes, feeds, counts and answers as the settings say.
///
/// Everything happens on the thread of `run`, but for the system count, which has one of its own, and the receipt of
/// commands, which only queues them. `stop` and `order` may be called by any thread, at any time.
class UnitSim {
public:
    /// Takes over the register file and the queue, opens the topics and removes flag files of an earlier boot; the
    /// system count runs from here. Throws `std::runtime_error` that names the file, the key and the value.
    explicit UnitSim(const Settings& settings);

    /// Removes the flag files that it has made.
    ~UnitSim();
    UnitSim(const UnitSim&) = delete;
    UnitSim& operator=(const UnitSim&) = delete;

    /// Plays the unit until it is stopped or its time is up. Once.
    void run() EXCLUDES(m_mutex);

    void stop() EXCLUDES(m_mutex);

    /// Has an event happen besides those of the settings: at its time, or at once if that has passed, before any command
    /// that is received from now on.
    void order(const Event& event) EXCLUDES(m_mutex);

    /// Since the start.
    double elapsedSeconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

    /// Only while `run` isn't running.
    Totals totals() const;

private:
    using Clock = SystemClock::Clock;
    using CommandResponse = aspn2_msgs::idl::CommandResponse;

    template <class... Records>
    using Last = std::tuple<std::optional<Records>...>;
    using LastRecords =
        Last<aspn2_msgs::idl::PositionVelocityAttitude, aspn2_msgs::idl::UTCTime, aspn2_msgs::idl::HalvexPNT,
             aspn2_msgs::idl::MeasurementIncorporationStatus, aspn2_msgs::idl::AssuranceState, aspn2_msgs::idl::GSSIP>;

    struct Received {
        CommandResponse command;
        Clock::time_point when;
    };

    /// What has come for one turn.
    struct Turn {
        std::vector<Event> orders;
        std::vector<Received> commands;
    };

    void receive(const CommandResponse& command) EXCLUDES(m_mutex);
    std::optional<Turn> nextTurn() EXCLUDES(m_mutex);
    void take(const Event& order);
    void runDue();
    Clock::time_point now() const;
    VehicleState vehicleAt(double seconds) const;
    Clock::time_point after(double seconds) const;
    void at(double seconds, std::function<void()> action);
    void planFlags();
    void planAnswers(const Received& received);
    void answer(const CommandResponse& command, const PlannedAnswer& planned);
    void planEvents();
    void planRandomEvent(RandomEvents& events);
    void happen(const Event& event);
    void happen(const ThreatReport& report, double seconds);
    void happen(const Warning& warning, double seconds);
    void happen(const SendCommand& command, double seconds);
    void happen(const Answers& answers, double seconds);
    void happen(const SetFinding& change, double seconds);
    void happen(const SetSilence& change, double seconds);
    void happen(const SetGps& change, double seconds);
    void happen(const SetFault& change, double seconds);
    void happen(const SetQuality& change, double seconds);
    void planLook(std::int64_t number);
    double qualityOf(SetQuality::Source source) const { return m_qualities[static_cast<std::size_t>(source)]; }
    Solution solutionFor(Output output) const;
    GpsMoment momentAt(double seconds) const;
    void stampFrame(aspn2_msgs::idl::GSSIP& record, std::int64_t sequence, std::uint8_t server, double seconds) const;
    template <class... Parts>
    void say(const Parts&... parts) const;
    void epoch(std::int64_t number);
    void planEpochAfter(std::int64_t number);
    template <class Record>
    void stampAs(Output output, Record& record, double seconds);
    template <class Record>
    void spoil(Output output, Record& record);
    template <class Record>
    bool publish(Output output, Record record, double seconds);
    template <class Record>
    bool send(Output output, Record record, double seconds);
    bool isDue(Output output, double seconds) const;
    ASPN2::CmdResponse& speaker(std::uint8_t server);
    std::uint32_t deviceId(std::uint8_t server, std::uint8_t message, std::uint8_t topic) const;
    void removeFlags() const;

    Settings m_settings;  // events change it
    std::unique_ptr<RegisterFile> m_registers;
    Clock::time_point m_start;
    GpsMoment m_startTime;
    SystemClock m_clock;
    std::unique_ptr<RunningCount> m_count;  // after the registers, which it writes
    std::optional<RecordCopy> m_receiverCopy;
    std::unique_ptr<QueueFeeder> m_feeder;
    std::unique_ptr<QueueFeeder> m_otherFeeder;  // towards the receiver; held also when nothing is sent there
    Navigation m_navigation;
    GpsReception m_reception;
    AntiJamSensor m_sensor;
    std::vector<FaultyInput> m_inputs;  // of each output
    std::array<double, SetQuality::kSources> m_qualities;
    LastRecords m_last;                                       // as they were sent, for those that are stuck
    std::map<std::int32_t, Clock::time_point> m_ownCommands;  // when they were planned, by their identifiers
    std::int32_t m_ownDevice = 0;                             // that they come from
    Clock::time_point m_planned;                              // of what is being done
    Solution m_solution;                                      // of the last epoch
    bool m_gpsLost = false;
    std::optional<RandomEvents> m_randomThreats;
    std::optional<RandomEvents> m_randomWarnings;
    std::map<std::uint8_t, ASPN2::CmdResponse> m_speakers;
    std::array<std::int64_t, kOutputs> m_sequences = {};
    std::int64_t m_reports = 0;
    std::multimap<Clock::time_point, std::function<void()>> m_agenda;
    Totals m_totals;
    std::optional<SentLog> m_log;

    Mutex m_mutex;
    std::condition_variable_any m_wake;
    bool m_stop GUARDED_BY(m_mutex) = false;
    Turn m_inbox GUARDED_BY(m_mutex);
    std::unique_ptr<UnitTransport> m_transport;  // last: it calls `receive`
};

}  // namespace unitsim

#endif
