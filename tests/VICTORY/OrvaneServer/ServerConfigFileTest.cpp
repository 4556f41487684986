#include "VICTORY/OrvaneServer/ServerConfigFile.h"

#include "face/FACE_Text.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/HealthEvents.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <string>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct ServerConfigFileTest : testing::Test {
    ServerConfigFileTest() { popHealthEvents(); }

    bool readPath(const std::string& path) { return ServerConfigFile::read(path.c_str(), settings, scheduling); }
    bool read(const ServiceConfig& config) { return readPath(directory.write("service.xml", config.text())); }

    const TemporaryDirectory directory;
    ServerSettings settings;
    Scheduling scheduling;
    const ConsoleCapture console{std::cout};
};

}  // namespace

TEST_F(ServerConfigFileTest, EverySettingIsTakenFromItsKey)
{
    EXPECT_TRUE(read(ServiceConfig()
                         .set("PARAM_1", "false")
                         .set("PARAM_2", "true")
                         .set("Debug", "1")
                         .set("PRI", "0x20")
                         .set("CPU", "2")));
    EXPECT_EQ(FACE::textOf(settings.m_systemName), "KOLT");
    EXPECT_EQ(FACE::textOf(settings.m_configurationName), "Desk");
    EXPECT_EQ(FACE::textOf(settings.m_connectionsFile), "connections.xml");
    EXPECT_EQ(FACE::textOf(settings.m_ioDevicesFile), "devices.xml");
    EXPECT_TRUE(settings.m_debug);
    EXPECT_FALSE(settings.m_quiet);
    EXPECT_TRUE(settings.m_testMode);
    EXPECT_EQ(settings.m_utcSourceServerId, 1);
    EXPECT_EQ(settings.m_pvaSourceServerId, 2);
    EXPECT_THAT(settings.m_gssipSourceServers, ElementsAre(3, 4));
    EXPECT_EQ(settings.m_misSourceServerId, 5);
    EXPECT_EQ(settings.m_fusionPNTSourceServerId, 6);
    EXPECT_EQ(settings.m_clearDataRequestTimeoutSeconds, 10U);
    EXPECT_EQ(settings.m_clearDataInProgressTimeoutSeconds, 3600U);
    EXPECT_EQ(settings.m_BITtimeoutSeconds, 30U);
    EXPECT_EQ(scheduling.priority, 32);
    EXPECT_EQ(scheduling.cpu, 2);
    EXPECT_EQ(console.text(), "");
}

TEST_F(ServerConfigFileTest, WithoutAFileOrASectionNothingIsTold)
{
    EXPECT_FALSE(readPath((directory.path() / "missing.xml").string()));
    EXPECT_FALSE(read(ServiceConfig().removeSection("Halvex")));
    EXPECT_FALSE(read(ServiceConfig().removeSection("OrvaneServer")));
    EXPECT_EQ(console.text(), "");
}

TEST_F(ServerConfigFileTest, AMissingKeyOfTheUnitEndsBeforeTheServicesSection)
{
    EXPECT_FALSE(read(ServiceConfig().removeFromUnit("System")));
    EXPECT_EQ(console.text(), "WARNING - Parameter System not found\n");
    EXPECT_EQ(FACE::textOf(settings.m_configurationName), "Desk");
    EXPECT_EQ(FACE::textOf(settings.m_connectionsFile), "");
}

TEST_F(ServerConfigFileTest, AMissingKeyIsReportedByItsLineAndWithAllBehindIt)
{
    EXPECT_FALSE(read(ServiceConfig().remove("PARAM_8")));
    EXPECT_EQ(console.text(),
              "WARNING - Parameter PARAM_8 not found\n"
              "OrvaneServer (198) GetConfigParameters : error or could not find setting, PARAM_8 (clear data "
              "(zeroize/destroy) request seconds, overall timeout seconds) in configuration file!\n"
              "OrvaneServer (199) GetConfigParameters : error or could not find setting, PARAM_9 (Built In Test (BIT) "
              "request timeout seconds) in configuration file!\n");
}

TEST_F(ServerConfigFileTest, BehindAMissingKeyOthersAreStoredButNoSourcesAndNoLimits)
{
    EXPECT_FALSE(read(ServiceConfig().remove("Debug").set("PARAM_2", "true").set("PARAM_9", "99")));
    EXPECT_TRUE(settings.m_testMode);
    EXPECT_EQ(settings.m_BITtimeoutSeconds, 99U);
    EXPECT_EQ(settings.m_utcSourceServerId, 0);
    EXPECT_THAT(settings.m_gssipSourceServers, IsEmpty());
    EXPECT_EQ(settings.m_clearDataRequestTimeoutSeconds, 12U);
    EXPECT_EQ(settings.m_clearDataInProgressTimeoutSeconds, 7200U);
}

TEST_F(ServerConfigFileTest, SourceIdsAreCutToTheirLowByte)
{
    read(ServiceConfig().set("PARAM_3", "0x100").set("PARAM_4", "257").set("PARAM_6", "-1"));
    EXPECT_EQ(settings.m_utcSourceServerId, 0);
    EXPECT_EQ(settings.m_pvaSourceServerId, 1);
    EXPECT_EQ(settings.m_misSourceServerId, 255);
}

TEST_F(ServerConfigFileTest, OtherThanTwoClearDataTimeoutsGiveTheDefaultsAndAWarning)
{
    EXPECT_TRUE(read(ServiceConfig().set("PARAM_8", "10,20,30")));
    EXPECT_EQ(settings.m_clearDataRequestTimeoutSeconds, 12U);
    EXPECT_EQ(settings.m_clearDataInProgressTimeoutSeconds, 7200U);
    EXPECT_THAT(popHealthEvents(), ElementsAre("3:OrvaneServer: Warning, two values not found for clear data req "
                                               "timeout and clear data timeout. Using defaults."));
    EXPECT_EQ(console.text(), "");
}

TEST_F(ServerConfigFileTest, ClearDataTimeoutsAreDecimalAndSaturateAlikeOnEveryMachine)
{
    read(ServiceConfig().set("PARAM_8", "010,0x10"));
    EXPECT_EQ(settings.m_clearDataRequestTimeoutSeconds, 10U);
    EXPECT_EQ(settings.m_clearDataInProgressTimeoutSeconds, 0U);
    read(ServiceConfig().set("PARAM_8", "-4294967295,4294967296"));
    EXPECT_EQ(settings.m_clearDataRequestTimeoutSeconds, 1U);
    EXPECT_EQ(settings.m_clearDataInProgressTimeoutSeconds, 4294967295U);
}

TEST_F(ServerConfigFileTest, ZerosDuplicatesAndWordsDropOutOfTheGssipSet)
{
    read(ServiceConfig().set("PARAM_5", "0,5,x,5,257"));
    EXPECT_THAT(settings.m_gssipSourceServers, ElementsAre(1, 5));
    EXPECT_EQ(FACE::textOf(settings.m_gssipSourceServerSet), "0,5,x,5,257");
}

TEST_F(ServerConfigFileTest, ParameterLineNamesEveryValue)
{
    read(ServiceConfig().set("PARAM_2", "true"));
    ServerConfigFile::print(settings, {.priority = 300, .cpu = 2});
    EXPECT_EQ(console.text(), "OrvaneServer: configuration parameters:  m_debug = 0, priority = 300, cpu = 2, "
                              "m_quiet = 1, m_testMode = 1, m_utcSourceServerId = 1, m_pvaSourceServerId = 2, "
                              "m_gssipSourceServerSet = 3,4, m_misSourceServerId = 5, m_fusionPNTSourceServerId = 6, "
                              "m_clearDataInProgressTimeoutSeconds = 3600, m_clearDataRequestTimeoutSeconds = 10, "
                              "m_BITtimeoutSeconds = 30\n");
}

TEST_F(ServerConfigFileTest, ZeroPriorityAndCpuChangeNothingAndPrintNothing)
{
    EXPECT_TRUE(Scheduling().apply("OrvaneServer"));
    EXPECT_EQ(console.text(), "");
}

TEST_F(ServerConfigFileTest, ACpuThatIsNotThereIsRefused)
{
    EXPECT_FALSE((Scheduling{.priority = 0, .cpu = 256}).apply("OrvaneServer"));
    EXPECT_THAT(console.text(), testing::EndsWith("FAILED to set OrvaneServer: cpu affinity to 0\n"));
}
