#ifndef FUZZ_MODEL_CLEARDATAMODEL_H
#define FUZZ_MODEL_CLEARDATAMODEL_H

#include "fuzz/model/Log.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

/// Clearing of data as the client that asks for it, the unit that does it and the reader of the event log are told of
/// it: one operation at a time, answered within 12 s, and limited from its acceptance on.
class ClearDataModel {
public:
    using Time = std::chrono::steady_clock::time_point;

    enum class Phase { Idle, Requested, Erasing };
    enum class Outcome { Open, Accepted, Refused };

    /// A request under way. Its answer is its own: later operations don't touch it.
    struct Request {
        int type = 0;
        std::string command = {};
        Outcome outcome = Outcome::Open;
        bool isWaiting = false;  ///< for its answer
    };

    /// The report of an end, which becomes a warning.
    using Complete = std::function<void(int type, bool isPassed, const std::string& text)>;

    /// @param toldSeconds  in the message of a request that nobody answers
    ClearDataModel(std::string name, std::int64_t toldSeconds, std::int64_t limitSeconds, Complete complete, Log& log)
        : m_name(std::move(name)), m_toldSeconds(toldSeconds), m_limitSeconds(limitSeconds),
          m_complete(std::move(complete)), m_log(log)
    {}

    Phase phase() const { return m_phase; }
    int type() const { return m_type; }

    /// The request whose command is to be sent next; null if it goes no further.
    std::shared_ptr<Request> ask(int type)
    {
        if (type == 0) {
            event(3, ": Error, no clear data command to execute");
            return nullptr;
        }
        if (m_phase != Phase::Idle) {
            event(3, requestText(type) + " ignored due to clear command, " + requestText(m_type) +
                         ", already started: " + phaseText());
            return nullptr;
        }
        m_type = type;
        m_phase = Phase::Requested;
        if (type < 1 || type > 3) {
            event(4, ": Invalid or unknown clear command type (eClearType), " + std::to_string(type));
            return nullptr;
        }
        event(2, ": Requesting clear data command, " + requestText(type));
        m_request = std::make_shared<Request>(Request{.type = type, .command = requestText(type)});
        return m_request;
    }

    /// The command was sent or not. What is sent waits for its answer, unless that has come already.
    void commandSent(Request& request, bool isSent)
    {
        if (!isSent) event(4, ": Send command response message failed for command, " + request.command);
        request.isWaiting = isSent && request.outcome == Outcome::Open;
    }

    /// The wait has been interrupted, or its time is up.
    void wake(Request& request, bool isTimeUp)
    {
        request.isWaiting = false;
        switch (request.outcome) {
        case Outcome::Accepted:
            event(2,
                  ": Request wait loop received ACK / successful response for clear data command, " + request.command);
            return;
        case Outcome::Refused:
            event(4, " Request wait loop received NACK for clear data command, " + request.command);
            return;
        case Outcome::Open:
            break;
        }
        if (!isTimeUp) {
            request.isWaiting = true;
            return;
        }
        const std::string text = ": Request wait loop for clear data command, " + request.command +
                                 ", timed out after " + std::to_string(m_toldSeconds) + " seconds.";
        m_complete(request.type, false, m_name + text);
        event(4, text);
        makeIdle();
    }

    /// A response that is addressed to the service.
    void respond(const std::string& text, Time now)
    {
        const std::string stem = requestText(m_type);
        const bool isAck = text == stem + "_ACK", isNack = text == stem + "_NACK";
        if (isAck || isNack) {
            if (m_phase == Phase::Requested) return isAck ? accept(stem, now) : refuse(stem);
            event(4, ": Ignoring " + text + " during state, " + phaseText());
        }
        const bool isPass = text == completionText(m_type) + "_PASS", isFail = text == completionText(m_type) + "_FAIL";
        if (!isPass && !isFail) return;
        if (m_phase != Phase::Erasing) return event(4, ": Ignoring " + text + " during state: " + phaseText());
        const std::string message = ": Clear data complete for command, " + stem + ". Result was " + text;
        event(2, message);
        m_complete(m_type, isPass, m_name + message);
        makeIdle();
    }

    /// Time has come so far.
    void timeIs(Time now)
    {
        if (m_phase != Phase::Erasing || now < m_limit) return;
        const std::string message = ": Clear data command,  " + requestText(m_type) + ", timed out after " +
                                    std::to_string(m_limitSeconds) + " seconds.";
        m_complete(m_type, false, m_name + message);
        event(4, message);
        makeIdle();
    }

private:
    static std::string requestText(int type)
    {
        constexpr const char* kTexts[] = {"none", "REQUEST_ZEROIZE", "REQUEST_DESTROY", "ZENTORM_CV_ZEROIZE"};
        return type >= 0 && type <= 3 ? kTexts[type] : "unknown clear data type";
    }

    static std::string completionText(int type)
    {
        constexpr const char* kTexts[] = {"none", "SYSTEM_ZEROIZE", "SYSTEM_DESTROY", "ZENTORM_CV_ZEROIZE"};
        return type >= 0 && type <= 3 ? kTexts[type] : "unknown clear data type";
    }

    std::string phaseText() const
    {
        constexpr const char* kTexts[] = {"Idle", "Clear data requested", "Clear data in-progress"};
        return kTexts[static_cast<int>(m_phase)];
    }

    void event(int type, const std::string& text)
    {
        m_log.push_back("event " + std::to_string(type) + " " + m_name + text);
    }

    void accept(const std::string& stem, Time now)
    {
        event(2, ": Received Ack. Clear data command, " + stem + ", in-progress");
        m_limit = now + std::chrono::seconds(m_limitSeconds);
        m_phase = Phase::Erasing;
        answer(Outcome::Accepted);
    }

    void refuse(const std::string& stem)
    {
        const std::string message = ": Received Nack. Clear data request command, " + stem + " failed";
        event(4, message);
        m_complete(m_type, false, m_name + message);
        makeIdle();
        answer(Outcome::Refused);
    }

    void answer(Outcome outcome)
    {
        if (m_request) m_request->outcome = outcome;
        m_request = nullptr;
    }

    void makeIdle()
    {
        m_type = 0;
        m_phase = Phase::Idle;
    }

    const std::string m_name;
    const std::int64_t m_toldSeconds;
    const std::int64_t m_limitSeconds;
    const Complete m_complete;
    Log& m_log;
    Phase m_phase = Phase::Idle;
    int m_type = 0;
    Time m_limit;
    std::shared_ptr<Request> m_request;  // that the next answer is for
};

#endif
