#include "face/HX_Config.h"
#include "face/HX_Config_Helpers.h"
#include "face/HX_Topic_Helpers.h"
#include "tests/support/Topics.h"

#include <fastdds/dds/topic/TopicDataType.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace HX_Config_Helpers;
using FACE::RETURN_CODE_TYPE;

namespace {

/// A sample file as the service reads it.
class SampleFile {
public:
    explicit SampleFile(const std::string& name)
    {
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        m_config.Initialize((ORVANE_LAB_DIR "/config/" + name).c_str(), rc);
        if (rc != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error(name + " can't be loaded");
    }

    /// Goes to a container; throws when there is none.
    void open(const std::string& container)
    {
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        m_config.Open(container.c_str(), m_handle, rc);
        if (rc != RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error(container + " is missing");
    }

    bool seekNext()
    {
        RETURN_CODE_TYPE::Value rc = RETURN_CODE_TYPE::NO_ERROR;
        m_config.Seek(m_handle, FACE::Configuration::WHENCE_TYPE::WHENCE_CURRENT, 1, rc);
        return rc == RETURN_CODE_TYPE::NO_ERROR;
    }

    std::string text(const std::string& key) { return Details::Read_Config(m_config, m_handle, key.c_str()); }

    std::uint64_t number(const std::string& key) { return std::stoull(text(key), nullptr, 0); }

private:
    FACE::HX_Config m_config;
    int m_handle = -1;
};

}  // namespace

TEST(SampleConfigTest, UnitIsNamed)
{
    SampleFile file("OrvaneServer.xml");
    file.open("Halvex");
    EXPECT_EQ(file.text("System"), "KOLT");
    EXPECT_FALSE(file.text("Configuration").empty());
}

TEST(SampleConfigTest, ServiceHasEveryKeyAndTheFilesOfThisDirectory)
{
    SampleFile file("OrvaneServer.xml");
    file.open("OrvaneServer");
    EXPECT_EQ(file.text("Connections"), "/opt/halvex/config/Connections.xml");
    EXPECT_EQ(file.text("IODevices"), "/opt/halvex/config/IODevices.xml");
    for (const char* key : {"Debug", "PRI", "CPU", "PARAM_1", "PARAM_2", "PARAM_3", "PARAM_4", "PARAM_5", "PARAM_6",
                            "PARAM_7", "PARAM_8", "PARAM_9"}) {
        EXPECT_FALSE(file.text(key).empty()) << key;
    }
}

TEST(SampleConfigTest, ParticipantHasItsSevenKeys)
{
    SampleFile file("Connections.xml");
    file.open("FastRtps");
    EXPECT_LE(file.number("DomainId"), 232U);
    EXPECT_GE(file.number("HistoryDepth"), 1U);
    EXPECT_EQ(file.text("UseBestEffort"), "false");
    EXPECT_EQ(file.text("BackFillHistory"), "false");
    EXPECT_EQ(file.text("UseTransport"), "UDP");
    EXPECT_EQ(file.text("TcpAddress"), "127.0.0.1");
    EXPECT_EQ(file.number("TcpPort"), 7100U);
}

TEST(SampleConfigTest, EachTopicHasTheTypeThatItsTypeSupportReports)
{
    SampleFile file("Connections.xml");
    for (const auto& [topic, type] : kTopics) {
        file.open(topic);
        EXPECT_EQ(file.text("TopicType"), "aspn2_msgs::idl::" + type);
        const std::unique_ptr<eprosima::fastdds::dds::TopicDataType> support(
            FACE::TSS::Topics::GetPubSubType(file.text("PubSubType")));
        ASSERT_NE(support, nullptr) << topic;
        EXPECT_STREQ(support->getName(), file.text("TopicType").c_str());
    }
}

TEST(SampleConfigTest, QueuesHavePortsOfTheirOwn)
{
    SampleFile file("IODevices.xml");
    file.open("ZEN_HX");
    EXPECT_EQ(file.number("Port"), 5U);
    file.open("HX_ZEN");
    EXPECT_EQ(file.number("Port"), 6U);
}

TEST(SampleConfigTest, RegisterBlocksHoldAllRegistersAndDoNotOverlap)
{
    // The highest register that is read of a block, and the bytes of it.
    const std::map<std::string, std::uint64_t> ends = {
        {"Processor_Interface", 28 + 4},          {"Peripheral_Interface", 4 * 8},
        {"TimeStamp_Interface", 512 + 8 * 8},     {"PpsSlave_Interface", 4 * 9},
        {"PtpClock_Interface", 4 * 30},           {"Ptfe_Interface0 interface", 288 + 4},
        {"PulseGen_Interface0 interface", 8 + 4}, {"Ptfe_Interface1 interface", 288 + 4},
        {"PulseGen_Interface1 interface", 8 + 4},
    };
    SampleFile file("IODevices.xml");
    std::map<std::uint64_t, std::uint64_t> blocks;
    for (const auto& [name, end] : ends) {
        file.open(name);
        EXPECT_GE(file.number("Size"), end) << name;
        EXPECT_LE(file.number("BaseAddress") + file.number("Size"), std::uint64_t{1} << 32) << name;
        blocks[file.number("BaseAddress")] = file.number("Size");
    }
    ASSERT_EQ(blocks.size(), ends.size());
    std::uint64_t free = 0;
    for (const auto& [base, size] : blocks) {
        EXPECT_GE(base, free);
        free = base + size;
    }
}

TEST(SampleConfigTest, SensorsAreReadInTheOrderOfTheFile)
{
    SampleFile file("HX_Sensor_Data.xml");
    file.open("Sensor");
    std::vector<std::string> sensors;
    do {
        sensors.push_back(file.text("SensorId") + " " + file.text("SensorType") + " " +
                          file.text("ComponentConfigurationId"));
        EXPECT_EQ(file.text("Enabled"), "true");
        EXPECT_EQ(file.text("HasComponentConfigurationId"), "true");
        if (file.text("HasOtherSensorType") == "true") {
            EXPECT_FALSE(file.text("OtherSensorType").empty());
        }
    } while (file.seekNext());
    EXPECT_EQ(sensors,
              (std::vector<std::string>{
                  "GPS-1 VAPNTC_SENSOR_TYPE_GPS 0x27", "ALTNAV-1 VAPNTC_SENSOR_TYPE_ALTNAV 0x26",
                  "IMU-1 VAPNTC_SENSOR_TYPE_INERTIAL 0x2F", "WHEEL-1 VAPNTC_SENSOR_TYPE_SPEED_SENSOR 0x29",
                  "CLOCK-1 VAPNTC_SENSOR_TYPE_PRECISION_TIME_SOURCE 0x25", "CRPA-1 VAPNTC_SENSOR_TYPE_OTHER 0x72"}));
}
