#ifndef VICTORY_UTILITIES_CLEARDATACOMMAND_H
#define VICTORY_UTILITIES_CLEARDATACOMMAND_H

#include "ASPN/HealthReporter.h"
#include "utilities/ThreadAnnotations.h"
#include "utilities/WatchdogTimer.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

/// Runs one clear-data operation, a zeroize or a destroy of the unit, against the service that carries it out. A text
/// command asks for it, and its sender waits until it is accepted or refused; then a watchdog limits the erasing, which
/// a pass or fail response ends. Each end is reported exactly once.
///
///     Idle --request--> Clear data requested --ACK--> Clear data in-progress --PASS, FAIL, expiry--> Idle
///      ^                         |
///      '-- NACK, 12 s of silence '
///
/// The setters are for the time before the first request. All else may be called from any thread: by design these are
/// the requester's, which waits, and the one that brings the responses. The third is the watchdog's own.
///
/// No operation throws. What a call-back throws is reported as an event; the operation then answers false, and the
/// state stays as it is.
class ClearDataCommand {
public:
    enum ClearDataType : std::int32_t {
        CLEAR_NONE = 0,
        CLEAR_ZEROIZE = 1,
        CLEAR_DESTROY = 2,
        CLEAR_ZENTORM_CV_ZEROIZE = 3,
    };

    enum ClearDataState : std::int32_t {
        STATE_IDLE = 0,
        STATE_REQUESTED = 1,    ///< command sent, no answer yet
        STATE_IN_PROGRESS = 2,  ///< accepted, erasing
    };

    using Clock = std::chrono::steady_clock;
    /// True if the command is on its way. Otherwise the request has failed, and its state stays as it is.
    using SendCommand = std::function<bool(const std::string& command)>;

    /// @param isPassed  the operation has ended with success
    /// @return the report is queued; nothing depends on it
    using SendVDBComplete = std::function<bool(ClearDataType type, bool isPassed, const std::string& message)>;

    /// How long a request waits for its ACK or NACK, whatever `setClearDataRequestTimeout` says.
    static constexpr std::chrono::seconds kRequestWait{12};

    /// @param name         the owner's, in front of all messages
    /// @param requestWait  how long a request waits for its answer
    /// @param watchdogNow  the clock that the erasing is measured by
    explicit ClearDataCommand(const std::string& name, Clock::duration requestWait = kRequestWait,
                              Clock::time_point (*watchdogNow)() = &Clock::now);

    /// Ends the watchdog without a report, waiting for one that is being made. No request may wait any more.
    ~ClearDataCommand();

    ClearDataCommand(const ClearDataCommand&) = delete;
    ClearDataCommand& operator=(const ClearDataCommand&) = delete;

    /// Quiet, as it is from the start, suppresses console lines, not health events.
    void setQuiet(bool isQuiet) { m_quiet = isQuiet; }

    /// Sends a command text, on the requester's thread and without a lock: the answer may come before it returns.
    void setCommandResponseMessageCallback(SendCommand sendCommand) { m_sendCommand = std::move(sendCommand); }

    /// Reports the end of an operation, on any of the three threads. The lock may be held: it must not call back.
    void setSendVDBCompleteWarningCallback(SendVDBComplete report) { m_sendVDBComplete = std::move(report); }

    /// Limits the erasing; 0 and less expire at once, what exceeds `WatchdogTimer::kLongestTimeout` counts as that.
    void setClearDataInProgressTimeout(const std::chrono::seconds& timeout) { m_clearDataInProgressTimeout = timeout; }

    /// A number that the message of an unanswered request tells. The wait itself is `kRequestWait`, on purpose.
    void setClearDataRequestTimeout(const std::chrono::seconds& timeout) { m_clearDataRequestTimeout = timeout; }

    /// A configured number of seconds for the two setters, at most `WatchdogTimer::kLongestTimeout`.
    static std::chrono::seconds limitedSeconds(std::uint64_t seconds);

    /// Starts an operation, and waits up to `kRequestWait` until it is accepted or refused; true if accepted. Refused
    /// at once while another operation runs. A command that could not be sent leaves the state at requested: a late
    /// answer alone ends that. An answer that comes before the wait has begun gives true, also if it is a refusal.
    bool processClearDataRequestType(ClearDataType eClearType) noexcept EXCLUDES(m_mutex);

    /// Takes an ACK or a NACK of the running request; false if `response` is neither or isn't due.
    bool processClearRequestedResponse(const std::string& response) noexcept EXCLUDES(m_mutex);

    /// Takes the PASS or FAIL of the operation in progress; false if `response` is neither or isn't due.
    bool processClearCompletedResponse(const std::string& response) noexcept EXCLUDES(m_mutex);

    /// Prints the running request's name, unless quiet.
    void dumpStateInfo() const noexcept;

    ClearDataState state() const { return m_eClearDataState; }

    /// The command text of a type, "unknown clear data type" if it has none.
    const std::string& requestName(ClearDataType type) const { return nameOf(m_requestNames, type); }

private:
    enum class Answer { NONE, ACCEPTED, REFUSED };
    class EndClaim;

    template <class Value>
    static const std::string& nameOf(const std::map<Value, std::string>& names, Value value);

    /// @return true if the operation is this request's; false, reported, if another one runs
    bool beginOperation(ClearDataType type, const std::shared_ptr<Answer>& answer) EXCLUDES(m_mutex);
    /// @return true if it was accepted, or any answer was there before the wait; false if it was refused, or none came
    bool waitForClearDataRequestedResponse(ClearDataType type, const Answer& answer) EXCLUDES(m_mutex);
    void processClearDataTimeout() noexcept;
    void acceptRequest(const std::string& stem) REQUIRES(m_mutex);
    void refuseRequest(ClearDataType type, const std::string& stem) REQUIRES(m_mutex);
    void answerRequest(Answer answer) REQUIRES(m_mutex);
    void makeIdle();

    /// A health event with its console line, from the place of the call.
    void report(EventTypes::eEventType type, const std::string& text, const char* function = __builtin_FUNCTION(),
                int line = __builtin_LINE()) const;

    /// Reports the exception that is being handled. @return false
    bool reportException(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE()) const noexcept;

    const std::map<ClearDataType, std::string> m_requestNames;
    const std::map<ClearDataType, std::string> m_completionNames;
    const std::map<ClearDataState, std::string> m_stateNames;
    const Clock::duration m_requestWait;

    bool m_quiet = true;
    const std::string m_name;

    /// Held while responses are processed and while a request is begun or waits, over the report of an end and the
    /// start and cancel of the watchdog too. The watchdog's thread does without it, as the cancel waits for that
    /// thread.
    RankedMutex<LockRank::ClearData> m_mutex;

protected:
    /// Wakes a request that waits.
    std::condition_variable_any m_stateChanged;

private:
    /// Who makes them idle writes the type first: no request finds the state idle before all is over.
    std::atomic<ClearDataState> m_eClearDataState = STATE_IDLE;
    std::atomic<ClearDataType> m_eClearTypeRequested = CLEAR_NONE;

    WatchdogTimer m_watchdog;
    std::chrono::seconds m_clearDataInProgressTimeout{0};
    std::chrono::seconds m_clearDataRequestTimeout{0};
    SendCommand m_sendCommand;
    SendVDBComplete m_sendVDBComplete;

    /// Where the newest request awaits its answer. Its own, so that a waiter that wakes late doesn't take the state of
    /// the next operation for its answer.
    std::shared_ptr<Answer> m_answer GUARDED_BY(m_mutex);

    /// Whether the operation in progress, if there is one, is being ended: by the response or by the watchdog.
    std::atomic<bool> m_isEndTaken = true;
};

#endif
