#ifndef FUZZ_MODEL_BUILTINTESTMODEL_H
#define FUZZ_MODEL_BUILTINTESTMODEL_H

#include "fuzz/model/Log.h"

#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Built-in tests as clients of the bus, and the unit that runs them, are told of them: one test at a time, in the order
/// of the ids, each with a limit, and ended by the unit's report. It has nothing of how the service does that.
class BuiltInTestModel {
public:
    enum Status { Queued, Running, Failed, Passed };

    struct Sensor {
        std::string id;
        std::optional<std::int64_t> server;  ///< that reports it
    };

    struct ReportEntry {
        std::int64_t server;
        bool hasCommunicated;
        bool hasError;
        bool isCritical;
    };

    /// What is told of a test. One that isn't there has an id alone.
    struct Row {
        std::string id = {};
        int status = 0;
        int resultCode = 0;
        std::string name = {};  ///< of the service; empty until the test has ended
        std::vector<std::pair<std::string, int>> sensors = {};
        std::optional<std::time_t> start = {};
        bool operator==(const Row&) const = default;
    };

    BuiltInTestModel(std::string name, int limitSeconds, std::vector<Sensor> sensors, Log& log)
        : m_name(std::move(name)), m_limitSeconds(limitSeconds), m_sensors(std::move(sensors)), m_log(log)
    {}

    void start() { m_isStarted = true; }
    void stop() { m_isStarted = false; }

    /// How many tests are known. The next one gets this number as its id.
    int count() const { return static_cast<int>(m_tests.size()); }
    std::optional<int> runningId() const
    {
        for (const auto& [id, test] : m_tests)
            if (test.status == Running) return id;
        return std::nullopt;
    }

    /// A client asks for a test. @return its id, nothing if it is not taken
    std::optional<int> ask()
    {
        if (!m_isStarted) return std::nullopt;
        const int id = count();
        if (id >= 50) {
            m_log.push_back("event 3 OrvaneBitResults: Warning, no room for another built-in test. Records kept: 50");
            return std::nullopt;
        }
        m_tests[id] = {};
        return id;
    }

    /// A client asks for results: of all tests if it names none. The ids are those that its texts stand for.
    std::vector<Row> results(const std::vector<std::pair<std::string, std::int64_t>>& ids) const
    {
        std::vector<Row> rows;
        if (!m_isStarted) return rows;
        if (ids.empty())
            for (const auto& [id, test] : m_tests) rows.push_back(rowOf(id, test));
        for (const auto& [text, id] : ids) {
            rows.emplace_back();
            if (const auto test = find(id))
                rows.back() = rowOf(static_cast<int>(id), *test);
            else
                rows.back().id = text;
        }
        return rows;
    }

    /// A client has tests forgotten: all that have ended if it names none. @return whether all that it names were
    bool forget(const std::vector<std::int64_t>& ids)
    {
        if (!m_isStarted) return false;
        if (ids.empty()) std::erase_if(m_tests, [](const auto& entry) { return hasEnded(entry.second); });
        bool areAll = true;
        for (const auto id : ids) {
            const auto test = find(id);
            if (test && hasEnded(*test))
                m_tests.erase(static_cast<int>(id));
            else
                areAll = false;
        }
        return areAll;
    }

    /// A turn of the worker, at a time of the wall clock. @return the command to the unit, if one is sent
    /// @param shift  s, from the time to the one that is shown as a start
    std::optional<std::string> turn(std::time_t now, std::time_t shift = 0)
    {
        if (!m_isStarted) return std::nullopt;
        const auto sinceLastTurn = now - std::exchange(m_lastTurn, now);
        if (m_secondsLeft) {
            *m_secondsLeft -= sinceLastTurn;
            if (*m_secondsLeft > 0) return std::nullopt;
            m_log.push_back("event 4 OrvaneBitResults: Timeout ");
            end(Failed);
            return std::nullopt;
        }
        for (auto& [id, test] : m_tests)
            if (test.status == Queued) {
                test.status = Running;
                test.start = now + shift;
                m_secondsLeft = m_limitSeconds;
                return command();
            }
        return std::nullopt;
    }

    /// The command of the turn was sent or not.
    void commandSent(bool isSent)
    {
        if (isSent) return;
        m_log.push_back("event 4 OrvaneBitResults: Send CBIT Cmd failed: " + command());
        if (runningId()) end(Failed);
    }

    /// A report of the unit. @param topic  of what sent it
    void report(unsigned topic, bool isPassed, const std::vector<ReportEntry>& entries)
    {
        const auto running = runningId();
        if (!m_isStarted || topic != 1 || !running) return;
        auto& sensors = m_tests[*running].sensors;
        for (const auto& entry : entries)
            for (const auto& sensor : m_sensors)
                if (sensor.server == entry.server && sensors.size() < 50)
                    sensors.emplace_back(
                        sensor.id, entry.hasCommunicated && !entry.hasError && !entry.isCritical ? Passed : Failed);
        end(isPassed ? Passed : Failed);
    }

private:
    struct Test {
        Status status = Queued;
        std::optional<std::time_t> start;
        std::vector<std::pair<std::string, int>> sensors;
    };

    static bool hasEnded(const Test& test) { return test.status == Failed || test.status == Passed; }

    const Test* find(std::int64_t id) const
    {
        for (const auto& [known, test] : m_tests)
            if (known == id) return &test;
        return nullptr;
    }

    Row rowOf(int id, const Test& test) const
    {
        const bool isOver = hasEnded(test);
        return {std::to_string(id),   test.status,  isOver ? test.status : 0,
                isOver ? m_name : "", test.sensors, test.start};
    }

    /// The unit is free again. A test whose id a new one has taken has no row to end.
    void end(Status status)
    {
        if (const auto running = runningId()) m_tests[*running].status = status;
        m_secondsLeft.reset();
    }

    std::string command() const
    {
        std::string text = "REQUEST_CBIT";
        for (const auto& sensor : m_sensors) text += "," + std::to_string(sensor.server.value_or(0));
        return text;
    }

    const std::string m_name;
    const int m_limitSeconds;
    const std::vector<Sensor> m_sensors;
    Log& m_log;
    bool m_isStarted = false;
    std::map<int, Test> m_tests;
    std::time_t m_lastTurn = 0;
    std::optional<std::int64_t> m_secondsLeft;  // while the unit is busy with a test
};

#endif
