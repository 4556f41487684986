#ifndef ASPN_HEALTHREPORTER_H
#define ASPN_HEALTHREPORTER_H

#include "ASPN/EventQueue.h"
#include "ASPN/FaultHysteresis.h"
#include "utilities/ThreadPulse.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace ASPN2 {

class DeviceIdFactory;

}  // namespace ASPN2

namespace aspn2_msgs::idl {

class EventLog;

}  // namespace aspn2_msgs::idl

namespace FACE::TSS::Details {

template <class T>
class HX_TypedTS;

}  // namespace FACE::TSS::Details

namespace EventTypes {

/// The class of a health event, as it travels.
enum eEventType : std::int32_t {
    EVENT_GENERAL = 0,
    EVENT_STATUS = 1,
    EVENT_INFORMATION = 2,       ///< information and configuration
    EVENT_FAULT = 3,             ///< a fault or a warning; kept on record by place
    EVENT_OPERATION_FAILED = 4,  ///< a commanded operation has failed
    EVENT_SEVERE = 5
};

}  // namespace EventTypes

/// The road of health events out of the process, one for the process. Events wait in a bounded queue, from the first
/// call of `Instance` on; what arrives at a full queue is lost, silently. A thread takes them from there and publishes
/// them as `EventLog` records, in order and ten a second at the most:
///
///     constructed -- InitHealthReporter --> publishing -- DoneHealthReporter --> constructed
///
/// Any thread may send, at any time; no such call waits, and it throws `std::bad_alloc` at worst. `InitHealthReporter`
/// and `DoneHealthReporter` are for one thread at a time.
class HealthReporter {
public:
    using eEventType = EventTypes::eEventType;
    using Transport = FACE::TSS::Details::HX_TypedTS<aspn2_msgs::idl::EventLog>;

    /// What the publisher goes by.
    struct Times {
        std::chrono::nanoseconds poll;    ///< the longest wait for an event: what is due again is looked for then
        std::chrono::nanoseconds repeat;  ///< from publishing a configuration event to its being queued again
        std::chrono::milliseconds pause;  ///< behind each event
    };

    static constexpr std::uint32_t kEventQueueLimit = 10;
    static constexpr std::chrono::nanoseconds eventQPollDuration{500'000'000};
    static constexpr std::chrono::nanoseconds configRepeatDuration{300'000'000'000};
    static constexpr Times kTimes{eventQPollDuration, configRepeatDuration, std::chrono::milliseconds(100)};

    /// One for the process, never destroyed: threads may send until the very end. Its publisher stops when the process
    /// exits, before what DDS needs is gone.
    static HealthReporter& Instance();

    /// @param now               the clock that configuration events repeat by
    /// @param faultSpanSeconds  that the record of faults is initialised with (`initFaultHysteresisOrExit`)
    explicit HealthReporter(FaultHysteresis& hysteresis = FaultHysteresis::Instance(),
                            ASPN2::EventQueue::Clock::time_point (*now)() = &ASPN2::EventQueue::Clock::now,
                            const Times& times = kTimes, int faultSpanSeconds = kFaultSpanSeconds);
    ~HealthReporter();
    HealthReporter(const HealthReporter&) = delete;
    HealthReporter& operator=(const HealthReporter&) = delete;

    /// Gives the connection a sender, keeps the transport until `DoneHealthReporter`, starts the publisher, and then
    /// initialises the record of faults: events sent until then have no place in front. Throws `std::runtime_error`:
    /// for a null transport; if this is initialised already, which goes on as it was; and if there can be no sender,
    /// after which `DoneHealthReporter` is due before another try.
    /// @param name    leading word of console lines
    /// @param handle  the connection's id
    void InitHealthReporter(const std::string& name, const ASPN2::DeviceIdFactory& deviceIdFactory,
                            const std::shared_ptr<Transport>& transport, long long handle);

    /// Publishes what is queued, and up to `kEventQueueLimit` events that are sent meanwhile; then lets go of the
    /// transport. Takes a tenth of a second for each event. Harmless if there is nothing to end.
    void DoneHealthReporter();

    /// Sends an event. Types outside 0 to 5 count as 0. Once faults are recorded, the text of types 3 to 5 gets the
    /// place in front. A null `file` or `text` counts as empty. `SEND_HEALTH_EVENT` fills in the caller's place. A text
    /// is never cut, though a record is meant for 255 characters, place included.
    void SendEvent(const char* file, int line, std::int32_t type, const char* text);

    /// Sends a text that is published again every `configRepeatDuration`, and gives the hash that identifies it.
    std::size_t SendConfigEvent(const std::string& text);

    /// As `SendConfigEvent`, in place of the text of an earlier `hash`; gives the new text's hash.
    std::size_t ReplaceConfigEvent(const std::string& text, std::size_t hash);

    /// What waits to be published. Only a reporter without a publisher may be emptied by it: what is taken is not
    /// published.
    ASPN2::EventQueue& queue() { return m_queue; }

    /// That of the publisher, which waits for `Times::poll` at the most; any thread.
    const ThreadPulse& pulse() const { return m_pulse; }

private:
    void publisherThreadFunction() noexcept;
    bool publishNext() noexcept;
    void publishChange(std::int32_t type, const std::string& text);
    bool write(const aspn2_msgs::idl::EventLog& record) const noexcept;

    FaultHysteresis& m_hysteresis;
    const Times m_times;
    const int m_faultSpanSeconds;
    std::atomic<bool> m_initialized = false;

    // Written while there is no publisher, and then the publisher's own.
    std::string m_name;
    std::uint32_t m_deviceId = 0;
    std::uint64_t m_sequenceNumber = 0;
    std::shared_ptr<Transport> m_transport;
    long long m_handle = -1;

    ThreadPulse m_pulse;
    std::thread m_publisherThread;
    std::atomic<bool> m_stop = false;
    ASPN2::EventQueue m_queue;
};

/// Sends a health event from where it stands.
#define SEND_HEALTH_EVENT(type, text) HealthReporter::Instance().SendEvent(__FILE__, __LINE__, type, text)

#endif
