#ifndef ASPN_HEALTHREPORTER_H
#define ASPN_HEALTHREPORTER_H

#include "ASPN/EventQueue.h"
#include "ASPN/FaultHysteresis.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

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

/// The sink for health events, one for the process. Events wait in a bounded queue to be published; what arrives at a
/// full queue is lost, silently. Any thread may call; no call blocks or fails.
class HealthReporter {
public:
    using eEventType = EventTypes::eEventType;

    static constexpr std::uint32_t kEventQueueLimit = 10;
    static constexpr std::chrono::nanoseconds eventQPollDuration{500'000'000};
    static constexpr std::chrono::nanoseconds configRepeatDuration{300'000'000'000};

    static HealthReporter& Instance();

    /// @param now  the clock that configuration events repeat by
    explicit HealthReporter(FaultHysteresis& hysteresis = FaultHysteresis::Instance(),
                            ASPN2::EventQueue::Clock::time_point (*now)() = &ASPN2::EventQueue::Clock::now);
    HealthReporter(const HealthReporter&) = delete;
    HealthReporter& operator=(const HealthReporter&) = delete;

    /// Sends an event. Types outside 0 to 5 count as 0. Once faults are recorded, the text of types 3 to 5 gets the
    /// place in front. A null `file` or `text` counts as empty. `SEND_HEALTH_EVENT` fills in the caller's place.
    void SendEvent(const char* file, int line, std::int32_t type, const char* text);

    /// Sends a text that is published again every `configRepeatDuration`, and gives the hash that identifies it.
    std::size_t SendConfigEvent(const std::string& text);

    /// As `SendConfigEvent`, in place of the text of an earlier `hash`; gives the new text's hash.
    std::size_t ReplaceConfigEvent(const std::string& text, std::size_t hash);

    /// What waits to be published.
    ASPN2::EventQueue& queue() { return m_queue; }

private:
    FaultHysteresis& m_hysteresis;
    ASPN2::EventQueue m_queue;
};

/// Sends a health event from where it stands.
#define SEND_HEALTH_EVENT(type, text) HealthReporter::Instance().SendEvent(__FILE__, __LINE__, type, text)

#endif
