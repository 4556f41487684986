#ifndef TESTS_VICTORY_ORVANESERVER_BITRESULT_BITRESULTSFIXTURE_H
#define TESTS_VICTORY_ORVANESERVER_BITRESULT_BITRESULTSFIXTURE_H

#include "VICTORY/OrvaneServer/BitResult/OrvaneBitResults.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// A sensor of the sensor file, to be varied key by key.
class SensorText {
public:
    explicit SensorText(const std::string& id = "GPS 1", const std::string& component = "0x27")
        : m_keys{{"SensorId", id},
                 {"Enabled", "true"},
                 {"SensorType", "VAPNTC_SENSOR_TYPE_GPS"},
                 {"HasOtherSensorType", "false"},
                 {"ComponentConfigurationId", component},
                 {"HasComponentConfigurationId", "true"}}
    {}

    SensorText& set(const std::string& key, const std::string& value)
    {
        remove(key).m_keys.emplace_back(key, value);
        return *this;
    }

    SensorText& remove(const std::string& key)
    {
        std::erase_if(m_keys, [&](const auto& entry) { return entry.first == key; });
        return *this;
    }

    std::string text() const
    {
        std::string text = "<Sensor><Name>x</Name><Parameters>";
        for (const auto& [key, value] : m_keys) text += "<" + key + ">" + value + "</" + key + ">";
        return text + "</Parameters></Sensor>";
    }

private:
    std::vector<std::pair<std::string, std::string>> m_keys;
};

inline std::string fileOf(const std::vector<SensorText>& sensors)
{
    std::string text = "<HX_Configurations>";
    for (const SensorText& sensor : sensors) text += sensor.text();
    return text + "</HX_Configurations>";
}

/// As many sensors as wanted, "S0" with component 100 (0x64), "S1" with 101, ...
inline std::vector<SensorText> manySensors(int count)
{
    std::vector<SensorText> sensors;
    for (int i = 0; i < count; ++i) {
        char component[16];
        std::snprintf(component, sizeof component, "%x", static_cast<unsigned>(100 + i));
        sensors.emplace_back("S" + std::to_string(i), component);
    }
    return sensors;
}

inline VapntcBitRequests requestsOf(const std::vector<std::string>& ids)
{
    VapntcBitRequests requests{};
    for (const std::string& id : ids) id.copy(requests.builtInTestIds[requests.requestCount++], VAPNTC_TEXT_SIZE);
    return requests;
}

/// The three sensors of most tests, clocks that tests set, the bus recorded, and a sender of commands that succeeds.
struct BitResultsTest : testing::Test {
    using Report = aspn2_msgs::idl::BitReport;
    using Component = aspn2_msgs::idl::bit_comp_set;

    static inline std::atomic<std::int64_t> s_time = 0;
    static inline std::atomic<std::int64_t> s_steady = 0;
    static inline std::atomic<std::int64_t> s_system = 0;

    BitResultsTest()
    {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        s_time = 1'700'000'000;
        s_steady = 0;
        s_system = 0;
        events();
        results.setCommandResponseMessageCallback([this](const std::string& command) {
            commands.push_back(command);
            return isSent;
        });
        writeSensors({SensorText("GPS 1", "0x39"), SensorText("IMU", "27"), SensorText("Speed", "0x26")});
    }

    void writeSensors(const std::vector<SensorText>& sensors) { directory.write("sensors.xml", fileOf(sensors)); }

    bool initialize(int timeoutSeconds = 25, bool debug = false)
    {
        return results.Initialize("Halvex", timeoutSeconds, debug);
    }

    void start(int timeoutSeconds = 25, bool debug = false)
    {
        ASSERT_TRUE(initialize(timeoutSeconds, debug));
        results.Start();
    }

    std::vector<OrvaneBitResults::SensorServer> sensors()
    {
        std::vector<OrvaneBitResults::SensorServer> list;
        results.getBitSensorServers(list);
        return list;
    }

    /// Asks for a test and gives the id that is told.
    std::string execute()
    {
        results.ExecuteBuiltInTests(service);
        return victory.last("vapntsTellExecuteBuiltInTests").text(1);
    }

    /// The list that is told.
    std::shared_ptr<const VapntcBitResults> getWith(const VapntcBitRequests& requests)
    {
        results.GetBuiltInTestResults(service, requests);
        return std::make_shared<const VapntcBitResults>(
            victory.last("vapntsTellGetBuiltInTestResults").record<VapntcBitResults>());
    }

    std::shared_ptr<const VapntcBitResults> get(const std::vector<std::string>& ids = {})
    {
        return getWith(requestsOf(ids));
    }

    std::int32_t statusOf(const std::string& id) { return get({id})->results[0].status; }

    std::int64_t clearWith(const VapntcBitRequests& requests)
    {
        results.ClearBuiltInTestResults(service, requests);
        return victory.last("vapntsTellClearBuiltInTestResults").number(0);
    }

    std::int64_t clear(const std::vector<std::string>& ids = {}) { return clearWith(requestsOf(ids)); }

    void cycle(std::int64_t secondsLater = 0)
    {
        s_time += secondsLater;
        results.cycleCommandedBitStateMachine();
    }

    static Component component(int serverId, bool hasCommunicated = true)
    {
        Component component;
        component.server_id(serverId);
        component.has_communicated(hasCommunicated);
        return component;
    }

    static Report reportOf(bool rollup, const std::vector<Component>& components = {}, int deviceId = 0x01)
    {
        Report report;
        report.header().device_id(deviceId);
        report.bit_rollup(rollup);
        report.bit_components(components);
        return report;
    }

    /// Asks for a test and takes it to its end.
    void finishOne(bool rollup = true)
    {
        execute();
        cycle();
        results.UpdateBitReport(reportOf(rollup));
    }

    /// Health events so far as "type:text".
    static std::vector<std::string> events() { return popHealthEvents(); }

    TemporaryDirectory directory;
    VictoryRecorder victory;
    VapntsService* service = victory.newService();
    std::vector<std::string> commands;
    bool isSent = true;
    ConsoleCapture console{std::cout};
    OrvaneBitResults results{(directory.path() / "sensors.xml").string(),
                             {[] { return static_cast<std::time_t>(s_time.load()); }, [] { return s_steady.load(); },
                              [] { return s_system.load(); }}};
};

#endif
