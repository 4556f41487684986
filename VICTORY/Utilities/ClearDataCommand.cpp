#include "VICTORY/Utilities/ClearDataCommand.h"

#include "ASPN/CmdResponseStrings.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <algorithm>
#include <iostream>

using Sys::ResponseString::Ack;
using Sys::ResponseString::Fail;
using Sys::ResponseString::Nack;
using Sys::ResponseString::Pass;

namespace {

constexpr const char* kSourceUnit = "ClearDataCommand";

/// The operations that lines name, for the steps of them that stand apart.
constexpr const char* kRequest = "processClearDataRequestType";
constexpr const char* kRequestedResponse = "processClearRequestedResponse";

/// Whether a text is a stem with a suffix behind it.
bool isStemWith(const std::string& suffix, const std::string& stem, const std::string& text)
{
    return text.size() == stem.size() + suffix.size() && text.starts_with(stem) && text.ends_with(suffix);
}

}  // namespace

/// The right to end the operation in progress, for one of the two that compete for it. An end that an exception cuts
/// short gives the right back.
class ClearDataCommand::EndClaim {
public:
    explicit EndClaim(std::atomic<bool>& isTaken) : m_isTaken(isTaken), m_isMine(!isTaken.exchange(true)) {}
    ~EndClaim()
    {
        if (m_isMine) m_isTaken = false;
    }
    EndClaim(const EndClaim&) = delete;
    EndClaim& operator=(const EndClaim&) = delete;

    bool isMine() const { return m_isMine; }
    void keep() { m_isMine = false; }

private:
    std::atomic<bool>& m_isTaken;
    bool m_isMine;
};

ClearDataCommand::ClearDataCommand(const std::string& name, Clock::duration requestWait,
                                   Clock::time_point (*watchdogNow)())
    : m_requestNames{{CLEAR_NONE, "none"},
                     {CLEAR_ZEROIZE, Sys::CommandString::RequestZeroize},
                     {CLEAR_DESTROY, Sys::CommandString::RequestDestroy},
                     {CLEAR_ZENTORM_CV_ZEROIZE, Sys::CommandString::ZentorMCVZeroize}},
      m_completionNames{{CLEAR_NONE, "none"},
                        {CLEAR_ZEROIZE, Sys::ResponseString::SystemZeroize},
                        {CLEAR_DESTROY, Sys::ResponseString::SystemDestroy},
                        {CLEAR_ZENTORM_CV_ZEROIZE, Sys::CommandString::ZentorMCVZeroize}},
      m_stateNames{{STATE_IDLE, "Idle"},
                   {STATE_REQUESTED, "Clear data requested"},
                   {STATE_IN_PROGRESS, "Clear data in-progress"}},
      m_requestWait(requestWait), m_name(name), m_watchdog(watchdogNow)
{}

ClearDataCommand::~ClearDataCommand()
{
    m_watchdog.cancelWatchdog();  // while its call-backs are still there
}

std::chrono::seconds ClearDataCommand::limitedSeconds(std::uint64_t seconds)
{
    constexpr auto kMost = static_cast<std::uint64_t>(WatchdogTimer::kLongestTimeout.count());
    return std::chrono::seconds(static_cast<std::chrono::seconds::rep>(std::min(seconds, kMost)));
}

template <class Value>
const std::string& ClearDataCommand::nameOf(const std::map<Value, std::string>& names, Value value)
{
    static const std::string unknown = "unknown clear data type";
    const auto name = names.find(value);
    return name != names.end() ? name->second : unknown;
}

bool ClearDataCommand::processClearDataRequestType(ClearDataType eClearType) noexcept
{
    try {
        if (!m_quiet)
            printLine(std::cout, kSourceUnit, ", ", __func__, " (", __LINE__, ")",       //
                      ": eClearType = ", requestName(eClearType),                        //
                      ", m_eClearTypeRequested = ", requestName(m_eClearTypeRequested),  //
                      ", m_eClearDataState = ", nameOf(m_stateNames, m_eClearDataState.load()));
        if (eClearType == CLEAR_NONE) {
            report(EventTypes::EVENT_FAULT, m_name + ": Error, no clear data command to execute");
            return false;
        }
        const auto answer = std::make_shared<Answer>(Answer::NONE);
        if (!beginOperation(eClearType, answer)) return false;

        const auto request = m_requestNames.find(eClearType);
        if (request == m_requestNames.end()) {
            report(EventTypes::EVENT_OPERATION_FAILED,
                   m_name + ": Invalid or unknown clear command type (eClearType), " + std::to_string(eClearType));
            return false;
        }
        const std::string& command = request->second;
        report(EventTypes::EVENT_INFORMATION, m_name + ": Requesting clear data command, " + command);
        if (!m_sendCommand(command)) {
            report(EventTypes::EVENT_OPERATION_FAILED,
                   m_name + ": Send command response message failed for command, " + command);
            return false;
        }
        return waitForClearDataRequestedResponse(eClearType, *answer);
    } catch (...) {
        return reportException();
    }
}

bool ClearDataCommand::beginOperation(ClearDataType type, const std::shared_ptr<Answer>& answer)
{
    const MutexLock lock(m_mutex);
    const ClearDataType running = m_eClearTypeRequested;
    const ClearDataState state = m_eClearDataState;
    if (state != STATE_IDLE) {
        report(EventTypes::EVENT_FAULT,
               m_name + requestName(type) + " ignored due to clear command, " + requestName(running) +
                   ", already started: " + nameOf(m_stateNames, state),
               kRequest);
        return false;
    }
    m_eClearTypeRequested = type;
    m_eClearDataState = STATE_REQUESTED;
    m_answer = answer;
    return true;
}

bool ClearDataCommand::waitForClearDataRequestedResponse(ClearDataType type, const Answer& answer)
{
    const MutexLock lock(m_mutex);
    const std::string& command = requestName(type);
    if (answer != Answer::NONE) return true;  // of a refusal too, on purpose: the one who took it has reported it
    while (answer == Answer::NONE) {
        const Clock::time_point deadline = Clock::now() + m_requestWait;  // anew after each wake-up without an answer
        if (m_stateChanged.wait_until(m_mutex, deadline) == std::cv_status::timeout) break;
    }
    if (answer == Answer::ACCEPTED) {
        report(EventTypes::EVENT_INFORMATION,
               m_name + ": Request wait loop received ACK / successful response for clear data command, " + command);
        return true;
    }
    if (answer == Answer::REFUSED) {
        report(EventTypes::EVENT_OPERATION_FAILED,
               m_name + " Request wait loop received NACK for clear data command, " + command);
        return false;
    }
    const std::string message = m_name + ": Request wait loop for clear data command, " + command +
                                ", timed out after " + std::to_string(m_clearDataRequestTimeout.count()) + " seconds.";
    m_sendVDBComplete(type, false, message);
    report(EventTypes::EVENT_OPERATION_FAILED, message);
    makeIdle();
    return false;
}

bool ClearDataCommand::processClearRequestedResponse(const std::string& response) noexcept
{
    try {
        const MutexLock lock(m_mutex);
        const ClearDataType type = m_eClearTypeRequested;
        const std::string& stem = requestName(type);
        const bool isAccepted = isStemWith(Ack, stem, response);
        if (!isAccepted && !isStemWith(Nack, stem, response)) return false;

        const ClearDataState state = m_eClearDataState;
        if (state != STATE_REQUESTED) {
            report(EventTypes::EVENT_OPERATION_FAILED,
                   m_name + ": Ignoring " + response + " during state, " + nameOf(m_stateNames, state));
            return false;
        }
        if (isAccepted)
            acceptRequest(stem);
        else
            refuseRequest(type, stem);
        return true;
    } catch (...) {
        return reportException();
    }
}

void ClearDataCommand::acceptRequest(const std::string& stem)
{
    report(EventTypes::EVENT_INFORMATION, m_name + ": Received Ack. Clear data command, " + stem + ", in-progress",
           kRequestedResponse);
    m_isEndTaken = false;
    m_eClearDataState = STATE_IN_PROGRESS;  // before the start: the watchdog may expire at once, and make it idle
    try {
        m_watchdog.startWatchdog(m_clearDataInProgressTimeout, [this] { processClearDataTimeout(); });
    } catch (...) {
        m_eClearDataState = STATE_REQUESTED;
        m_isEndTaken = true;
        throw;
    }
    answerRequest(Answer::ACCEPTED);
}

void ClearDataCommand::refuseRequest(ClearDataType type, const std::string& stem)
{
    const std::string message = m_name + ": Received Nack. Clear data request command, " + stem + " failed";
    report(EventTypes::EVENT_OPERATION_FAILED, message, kRequestedResponse);
    m_sendVDBComplete(type, false, message);
    makeIdle();
    answerRequest(Answer::REFUSED);
}

void ClearDataCommand::answerRequest(Answer answer)
{
    *m_answer = answer;
    m_stateChanged.notify_all();
}

bool ClearDataCommand::processClearCompletedResponse(const std::string& response) noexcept
{
    try {
        const MutexLock lock(m_mutex);
        const ClearDataType type = m_eClearTypeRequested;
        const std::string& stem = nameOf(m_completionNames, type);
        const bool isPassed = isStemWith(Pass, stem, response);
        if (!isPassed && !isStemWith(Fail, stem, response)) return false;

        const ClearDataState state = m_eClearDataState;
        EndClaim claim(m_isEndTaken);  // not to be had unless in progress
        if (!claim.isMine()) {
            report(EventTypes::EVENT_OPERATION_FAILED,
                   m_name + ": Ignoring " + response + " during state: " + nameOf(m_stateNames, state));
            return false;
        }
        const std::string message =
            m_name + ": Clear data complete for command, " + requestName(type) + ". Result was " + response;
        report(EventTypes::EVENT_INFORMATION, message);
        m_sendVDBComplete(type, isPassed, message);
        m_watchdog.cancelWatchdog();
        makeIdle();
        claim.keep();
        return true;
    } catch (...) {
        return reportException();
    }
}

void ClearDataCommand::processClearDataTimeout() noexcept
{
    try {
        m_watchdog.cancelWatchdog();
        EndClaim claim(m_isEndTaken);
        if (!claim.isMine()) return;  // the response has come at the last moment
        const ClearDataType type = m_eClearTypeRequested;
        const std::string message = m_name + ": Clear data command,  " + requestName(type) + ", timed out after " +
                                    std::to_string(m_clearDataInProgressTimeout.count()) + " seconds.";
        m_sendVDBComplete(type, false, message);
        report(EventTypes::EVENT_OPERATION_FAILED, message);
        makeIdle();
        claim.keep();
    } catch (...) {
        reportException();
    }
}

void ClearDataCommand::makeIdle()
{
    m_eClearTypeRequested = CLEAR_NONE;
    m_eClearDataState = STATE_IDLE;
}

void ClearDataCommand::dumpStateInfo() const noexcept
{
    try {
        if (!m_quiet) printLine(std::cout, ", m_eClearTypeRequested = ", requestName(m_eClearTypeRequested));
    } catch (...) {
        reportException();
    }
}

void ClearDataCommand::report(EventTypes::eEventType type, const std::string& text, const char* function,
                              int line) const
{
    HealthReporter::Instance().SendEvent(__FILE__, line, type, text.c_str());
    if (!m_quiet) printLine(std::cout, kSourceUnit, ", ", function, " (", line, "): ", text);
}

bool ClearDataCommand::reportException(const char* function, int line) const noexcept
{
    shielded([] { throw; },
             [&](const char* what) {
                 const std::string text = what ? std::string(": An exception occurred. Details: ") + what
                                               : std::string(": Unknown c++ exception occurred");
                 report(EventTypes::EVENT_OPERATION_FAILED, m_name + text, function, line);
             });
    return false;
}
