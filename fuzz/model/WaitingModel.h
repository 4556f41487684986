#ifndef FUZZ_MODEL_WAITINGMODEL_H
#define FUZZ_MODEL_WAITINGMODEL_H

#include "fuzz/model/Log.h"

#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Warnings and threats that wait to be told, as clients of the bus see them: the newest 50 of each. Threats are told
/// once, warnings again and again.
class WaitingModel {
public:
    struct Warning {
        unsigned id = 0;
        std::optional<std::string> text = {};
        bool operator==(const Warning&) const = default;
    };

    struct Threat {
        int azimuth, elevation;  ///< degrees
        unsigned channel;        ///< of 50 kHz
        bool operator==(const Threat&) const = default;
    };

    /// A line of a message 15051.
    struct Line {
        unsigned state;
        bool hasBearing;
        Threat threat;
    };

    explicit WaitingModel(Log& log) : m_log(log) {}

    void warn(unsigned id) { add(m_warnings, {id}); }
    void warn(unsigned id, const std::string& text) { add(m_warnings, {id, text.substr(0, 255)}); }

    /// A warning of the receiver. @param id  by which the bus knows its number, 75 if it doesn't
    void warnOfReceiver(unsigned id, const std::string& text)
    {
        if (id == 75)
            warn(id, text);
        else
            warn(id);
    }

    void report(const std::vector<Line>& lines)
    {
        for (const auto& line : lines)
            if (line.state == 2 && line.hasBearing) add(m_threats, line.threat);
    }

    const std::deque<Warning>& warnings() const { return m_warnings; }

    /// Warnings are due. @return whether they are told
    bool tellWarnings(bool isBusUp)
    {
        if (!isBusUp)
            m_log.push_back("event 3 OrvaneServer : Cannot publish warnings while APNT service is not running! "
                            "Warnings remain queued.");
        return isBusUp;
    }

    /// Threats are due. @return whether they are told, and which
    std::pair<bool, std::deque<Threat>> tellThreats(bool isBusUp)
    {
        if (isBusUp) return {true, std::exchange(m_threats, {})};
        m_log.push_back("event 3 OrvaneServer : Cannot publish NavWarSA threats while APNT service is not running! "
                        "Threats remain queued.");
        return {false, {}};
    }

private:
    template <class T>
    static void add(std::deque<T>& list, T element)
    {
        list.push_back(std::move(element));
        if (list.size() > 50) list.pop_front();
    }

    std::deque<Warning> m_warnings;
    std::deque<Threat> m_threats;
    Log& m_log;
};

#endif
