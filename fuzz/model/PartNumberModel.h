#ifndef FUZZ_MODEL_PARTNUMBERMODEL_H
#define FUZZ_MODEL_PARTNUMBERMODEL_H

#include "fuzz/model/Log.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Part numbers as clients of the bus, the unit's services that are asked for them, and the reader of the event log see
/// them: asked for every ten seconds until all have answered, and told as they come.
class PartNumberModel {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr const char* kCommand = "REQUEST_PARTNUMBERS";

    struct Row {
        std::string id, name, serial, software, hardware;
    };

    /// @param isDebug  the exchange is told step by step
    PartNumberModel(bool isDebug, Time now, Log& log) : m_isDebug(isDebug), m_lastRequest(now), m_log(log) {}

    bool isComplete() const { return m_isComplete; }

    /// The bus service runs from now on, or not: only then it is told anything.
    /// @param isSanitized  an order to sanitize has come: nothing of the unit is told by the start
    void busStarts(bool isSanitized)
    {
        m_isBusUp = true;
        if (isSanitized) return;
        m_systemName = "Kolt Gen II - Collecting system information. Please wait and retry...";
        tell();
    }
    void busEnds() { m_isBusUp = false; }

    /// A turn of the worker. @return whether the request is sent, `requestSent` follows then
    bool turn(bool isSelfTestOver, Time now)
    {
        debugEvent("Requesting part numbers. Will wait up to 10 seconds.");
        if (!isSelfTestOver) return false;
        if (m_isRequestDue) return true;
        if (m_isComplete) return false;
        if (now - m_lastRequest >= std::chrono::seconds(10)) {
            m_log.push_back("event 3 OrvaneServer: Timeout of 10 seconds expired while waiting for server part number "
                            "responses. Will re-request part numbers.");
            m_isRequestDue = true;
            return false;
        }
        debugEvent("Checking part numbers. Responses received count = " + std::to_string(m_answered.size()));
        if (m_answered.size() < 7) return false;
        debugEvent("All 7 server part number responses received. Updating VICTORY APNT Configuration.");
        m_systemName = "Kolt Gen II";
        tell();
        m_isComplete = true;
        return false;
    }

    void requestSent(Time now)
    {
        m_isRequestDue = false;
        m_lastRequest = now;
    }

    /// A response whose first field is "PARTNUMBERS".
    void respond(const std::string& text, unsigned server, unsigned topic)
    {
        constexpr char kDigits[] = "0123456789abcdef";
        const std::string name = componentOf(server, topic);
        const std::string id =
            server == 0 ? "00"
                        : "0x" + (server < 16 ? "" : std::string(1, kDigits[server / 16])) + kDigits[server % 16];
        const Fields fields = fieldsOf(text);
        if (server == 47 && topic == 0) {
            enter({id, name + "-PC", fields.of("HWSN1"), softwareOf(fields, {"SW1", "FW1", "OS1", "AT"}),
                   fields.of("HWPN1")});
            enter({id, name + "-KELP", fields.of("HWSN2"),
                   softwareOf(fields, {"FW2", "OS2", "SW5", "SW6", "SW7", "SW8", "AT"}), fields.of("HWPN2")});
        } else {
            enter({id, name, serialOf(fields),
                   softwareOf(fields, {"SW1", "FW1", "OS1", "SW2", "FW2", "OS2", "SW3", "SW4", "SW5", "SW6", "SW7",
                                       "SW8", "AT"}),
                   fields.of("HWPN1")});
        }
        tell();
        constexpr const char* kExpected[] = {"Sarvent", "Halvex", "GPS", "TARVOSW", "TARVO", "PNT-Q", "ALTNAV"};
        if (std::ranges::find(kExpected, name) != std::end(kExpected))
            m_answered.insert(name);
        else
            m_log.push_back("event 3 OrvaneServer : Received part number response from unexpected server " + name +
                            ", server ID " + id + ": " + text);
    }

    /// What is told before the unit is sanitized.
    void wipe()
    {
        m_isRequestDue = false;
        if (m_isBusUp) m_log.push_back(lineOf("", "", "", {}));
    }

    /// The configuration as a line: the head, and a row for each component. Texts are cut to what a record holds.
    static std::string lineOf(const std::string& name, const std::string& serial, const std::string& manufacturer,
                              const std::vector<Row>& rows)
    {
        std::string line =
            "configuration " + name + " / " + serial + "/" + manufacturer + " " + std::to_string(rows.size());
        for (const auto& row : rows)
            for (const auto* text : {&row.id, &row.name, &row.serial, &row.software, &row.hardware})
                line += (text == &row.id ? "\n  " : " | ") + text->substr(0, 255);
        return line;
    }

private:
    struct Fields {
        std::map<std::string, std::string> values;
        std::string of(const std::string& key) const
        {
            const auto value = values.find(key);
            return value == values.end() ? "" : value->second;
        }
    };

    static std::string componentOf(unsigned server, unsigned topic)
    {
        if (topic == 1) return "Sarvent";
        if (topic == 2) return "TARVO";
        if (topic == 0) switch (server) {
            case 53:
                return "Halvex";
            case 49:
                return "PNT-Q";
            case 38:
                return "ALTNAV";
            case 39:
                return "GPS";
            case 47:
                return "TARVOSW";
            default:
                break;
            }
        return "INVALID_SERVER_ID";
    }

    static Fields fieldsOf(const std::string& text)
    {
        constexpr const char* kKeys[] = {"SW1", "SW2", "SW3", "SW4", "SW5",   "SW6",   "SW7",   "SW8",  "OS1",
                                         "OS2", "FW1", "FW2", "AT",  "HWPN1", "HWPN2", "HWSN1", "HWSN2"};
        Fields fields;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find(',', begin), text.size());
            const std::string field = text.substr(begin, end - begin);
            begin = end + 1;
            const std::size_t colon = field.find(':');
            if (colon == std::string::npos || colon + 1 == field.size()) continue;
            const std::string key = field.substr(0, colon);
            std::string value = field.substr(colon + 1);
            while (!value.empty() && std::string_view(" \n\r\t\f\v").find(value.back()) != std::string_view::npos)
                value.pop_back();
            if (std::ranges::find(kKeys, key) != std::end(kKeys)) fields.values[key] = value;
        }
        return fields;
    }

    template <std::size_t count>
    static std::string softwareOf(const Fields& fields, const char* const (&keys)[count])
    {
        std::string text;
        for (const char* key : keys)
            if (const auto value = fields.of(key); !value.empty())
                text += (text.empty() ? "" : ",") + std::string(key) + ":" + value;
        return text;
    }

    static std::string serialOf(const Fields& fields) { return softwareOf(fields, {"HWSN1", "HWSN2"}); }

    /// A row takes the place of the one of its id and name.
    void enter(Row row)
    {
        const auto old = std::ranges::find_if(
            m_rows, [&](const Row& known) { return known.id == row.id && known.name == row.name; });
        if (old == m_rows.end() && m_rows.size() == 50) {
            m_log.push_back("event 3 Out of range error updating component for APNT Component Configuration at index, "
                            "rComponentId=" +
                            row.id + ", rName=" + row.name + ", rSN=" + row.serial + ", rSW=" + row.software +
                            ", rHW=" + row.hardware + ", ");
            return;
        }
        if (row.serial.empty()) row.serial = "N/A";
        if (old == m_rows.end())
            m_rows.push_back(std::move(row));
        else
            *old = std::move(row);
    }

    void tell()
    {
        if (m_isBusUp) m_log.push_back(lineOf(m_systemName, "N/A", "9XQ27", m_rows));
    }

    void debugEvent(const std::string& text)
    {
        if (m_isDebug) m_log.push_back("event 2 OrvaneServer: " + text);
    }

    const bool m_isDebug;
    bool m_isBusUp = false;
    bool m_isRequestDue = true;
    bool m_isComplete = false;
    Time m_lastRequest;
    std::string m_systemName;
    std::set<std::string> m_answered;
    std::vector<Row> m_rows;
    Log& m_log;
};

#endif
