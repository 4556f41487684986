#include "face/FACE_Text.h"
#include "tests/VICTORY/OrvaneServer/ServerDoor.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/ServiceConfig.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/VictoryRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <optional>
#include <sched.h>
#include <set>
#include <string>
#include <vector>

using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

namespace {

/// What the service asked the system for, and what the system answers.
struct FakeScheduler {
    std::vector<int> priorities;
    std::vector<int> cpus;  // the first CPU of each mask, counted from 0
    int answerOnPriority = 0;
    int answerOnCpu = 0;
};
FakeScheduler s_scheduler;

}  // namespace

extern "C" {
int __wrap_sched_setscheduler(pid_t, int policy, const sched_param* parameters);
int __wrap_sched_setaffinity(pid_t, std::size_t size, const cpu_set_t* mask);
int __wrap_sched_getaffinity(pid_t, std::size_t size, cpu_set_t* mask);

int __wrap_sched_setscheduler(pid_t, int policy, const sched_param* parameters)
{
    if (policy == SCHED_FIFO) s_scheduler.priorities.push_back(parameters->sched_priority);
    return s_scheduler.answerOnPriority;
}

int __wrap_sched_setaffinity(pid_t, std::size_t size, const cpu_set_t* mask)
{
    for (std::size_t cpu = 0; cpu < 8 * size; ++cpu)
        if (CPU_ISSET_S(cpu, size, mask)) s_scheduler.cpus.push_back(static_cast<int>(cpu));
    return s_scheduler.answerOnCpu;
}

int __wrap_sched_getaffinity(pid_t, std::size_t, cpu_set_t*)
{
    return -1;
}
}

namespace {

using ServerSet = std::set<std::uint8_t>;

struct OrvaneServerConfigureTest : testing::Test {
    OrvaneServerConfigureTest()
    {
        s_scheduler = {};
        while (popHealthEvent() != "none") {
        }
    }

    int configureFile(const std::string& path)
    {
        const ConsoleCapture capture(std::cout);
        FACE::RETURN_CODE_TYPE::Value rc = FACE::RETURN_CODE_TYPE::DATA_OVERFLOW;
        server->Configure(path.c_str(), rc);
        console = capture.text();
        return rc;
    }
    int configure(const ServiceConfig& config) { return configureFile(directory.write("service.xml", config.text())); }

    /// What both kinds of operations have to say when they are to send a command, without a transport.
    std::vector<std::string> eventsOfCommandedOperations()
    {
        VictoryRecorder victory;
        popHealthEvents();
        server.clearData().processClearDataRequestType(ClearDataCommand::CLEAR_ZEROIZE);
        server.builtInTests().Start();
        server.builtInTests().ExecuteBuiltInTests(victory.newService());
        server.builtInTests().cycleCommandedBitStateMachine();
        return popHealthEvents();
    }

    TemporaryDirectory directory;
    ServerDoor server;
    std::string console;
};

const std::string kDefaults =
    "OrvaneServer: configuration parameters:  m_debug = 0, priority = 0, cpu = 0, m_quiet = 1, "
    "m_testMode = 0, m_utcSourceServerId = 0, m_pvaSourceServerId = 0, "
    "m_gssipSourceServerSet = , m_misSourceServerId = 0, m_fusionPNTSourceServerId = 0, "
    "m_clearDataInProgressTimeoutSeconds = 7200, m_clearDataRequestTimeoutSeconds = 12, "
    "m_BITtimeoutSeconds = 25\n";

}  // namespace

TEST_F(OrvaneServerConfigureTest, DefaultsBeforeAnyFile)
{
    EXPECT_FALSE(server.settings().m_debug);
    EXPECT_TRUE(server.settings().m_quiet);
    EXPECT_FALSE(server.settings().m_testMode);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 7200u);
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 12u);
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 25u);
    EXPECT_TRUE(server.settings().m_gssipSourceServers.empty());
    EXPECT_EQ(FACE::textOf(server.settings().m_systemName), "");
}

TEST_F(OrvaneServerConfigureTest, EverySettingIsTakenFromItsKey)
{
    EXPECT_EQ(configure(ServiceConfig().set("PARAM_1", "false").set("PARAM_2", "true").set("Debug", "1")), 0);
    EXPECT_EQ(FACE::textOf(server.settings().m_systemName), "KOLT");
    EXPECT_EQ(FACE::textOf(server.settings().m_configurationName), "Desk");
    EXPECT_EQ(FACE::textOf(server.settings().m_connectionsFile), "connections.xml");
    EXPECT_EQ(FACE::textOf(server.settings().m_ioDevicesFile), "devices.xml");
    EXPECT_TRUE(server.settings().m_debug);
    EXPECT_FALSE(server.settings().m_quiet);
    EXPECT_TRUE(server.settings().m_testMode);
    EXPECT_EQ(server.settings().m_utcSourceServerId, 1);
    EXPECT_EQ(server.settings().m_pvaSourceServerId, 2);
    EXPECT_EQ(server.settings().m_gssipSourceServers, ServerSet({3, 4}));
    EXPECT_EQ(server.settings().m_misSourceServerId, 5);
    EXPECT_EQ(server.settings().m_fusionPNTSourceServerId, 6);
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 10u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 3600u);
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 30u);
}

TEST_F(OrvaneServerConfigureTest, ParameterLineNamesEveryValue)
{
    configure(ServiceConfig().set("Debug", "true").set("PARAM_2", "true").set("PRI", "300").set("CPU", "2"));
    EXPECT_EQ(console, "OrvaneServer: configuration parameters:  m_debug = 1, priority = 300, cpu = 2, m_quiet = 1, "
                       "m_testMode = 1, m_utcSourceServerId = 1, m_pvaSourceServerId = 2, "
                       "m_gssipSourceServerSet = 3,4, m_misSourceServerId = 5, m_fusionPNTSourceServerId = 6, "
                       "m_clearDataInProgressTimeoutSeconds = 3600, m_clearDataRequestTimeoutSeconds = 10, "
                       "m_BITtimeoutSeconds = 30\n"
                       "Successfully set OrvaneServer: realtime process priority to 44\n"
                       "Successfully set OrvaneServer: cpu affinity to 2\n");
}

TEST_F(OrvaneServerConfigureTest, ParameterLineShowsTheGssipTextAndNotTheSet)
{
    configure(ServiceConfig().set("PARAM_5", "0,5,x,5"));
    EXPECT_NE(console.find(", m_gssipSourceServerSet = 0,5,x,5, m_mis"), std::string::npos);
}

TEST_F(OrvaneServerConfigureTest, AFileThatIsNotThereGivesTheDefaultsLine)
{
    EXPECT_EQ(configureFile((directory.path() / "missing.xml").string()), 4);
    EXPECT_EQ(console, kDefaults);
}

TEST_F(OrvaneServerConfigureTest, AFileThatIsNoXmlGivesTheDefaultsLine)
{
    EXPECT_EQ(configureFile(directory.write("service.xml", "<HX_Configurations>")), 4);
    EXPECT_EQ(console, kDefaults);
}

TEST_F(OrvaneServerConfigureTest, AMissingSectionGivesTheDefaultsLine)
{
    EXPECT_EQ(configure(ServiceConfig().removeSection("Halvex")), 4);
    EXPECT_EQ(console, kDefaults);
    EXPECT_EQ(configure(ServiceConfig().removeSection("OrvaneServer")), 4);
    EXPECT_EQ(console, kDefaults);
}

TEST_F(OrvaneServerConfigureTest, AMissingSystemNameEndsBeforeTheServicesSection)
{
    EXPECT_EQ(configure(ServiceConfig().removeFromUnit("System").removeSection("OrvaneServer")), 4);
    EXPECT_EQ(console, "WARNING - Parameter System not found\n" + kDefaults);
    EXPECT_EQ(FACE::textOf(server.settings().m_configurationName), "Desk");
}

TEST_F(OrvaneServerConfigureTest, AMissingConfigurationNameEndsBeforeTheServicesSection)
{
    EXPECT_EQ(configure(ServiceConfig().removeFromUnit("Configuration")), 4);
    EXPECT_EQ(console, "WARNING - Parameter Configuration not found\n" + kDefaults);
    EXPECT_EQ(FACE::textOf(server.settings().m_systemName), "KOLT");
    EXPECT_EQ(FACE::textOf(server.settings().m_connectionsFile), "");
}

TEST_F(OrvaneServerConfigureTest, EveryMissingKeyIsReportedByItsLineAndWithAllBehindIt)
{
    const std::string lines[] = {
        "OrvaneServer (186) GetConfigParameters : error or could not find setting, Connections (Connections file) in "
        "configuration file!\n",
        "OrvaneServer (187) GetConfigParameters : error or could not find setting, IODevices (Devices file) in "
        "configuration file!\n",
        "OrvaneServer (188) GetConfigParameters : error or could not find setting, Debug (debug flag) in "
        "configuration file!\n",
        "OrvaneServer (189) GetConfigParameters : error or could not find setting, PRI (process priority) in "
        "configuration file!\n",
        "OrvaneServer (190) GetConfigParameters : error or could not find setting, CPU (CPU value) in "
        "configuration file!\n",
        "OrvaneServer (191) GetConfigParameters : error or could not find setting, PARAM_1 (quiet flag) in "
        "configuration file!\n",
        "OrvaneServer (192) GetConfigParameters : error or could not find setting, PARAM_2 (testMode flag) in "
        "configuration file!\n",
        "OrvaneServer (193) GetConfigParameters : error or could not find setting, PARAM_3 (UTC TIME source server "
        "ID) in configuration file!\n",
        "OrvaneServer (194) GetConfigParameters : error or could not find setting, PARAM_4 (pva source server ID) in "
        "configuration file!\n",
        "OrvaneServer (195) GetConfigParameters : error or could not find setting, PARAM_5 (gssip source server ID "
        "comma-separated list) in configuration file!\n",
        "OrvaneServer (196) GetConfigParameters : error or could not find setting, PARAM_6 (MIS source server ID) in "
        "configuration file!\n",
        "OrvaneServer (197) GetConfigParameters : error or could not find setting, PARAM_7 (fusionPNT source server "
        "ID) in configuration file!\n",
        "OrvaneServer (198) GetConfigParameters : error or could not find setting, PARAM_8 (clear data "
        "(zeroize/destroy) request seconds, overall timeout seconds) in configuration file!\n",
        "OrvaneServer (199) GetConfigParameters : error or could not find setting, PARAM_9 (Built In Test (BIT) "
        "request timeout seconds) in configuration file!\n"};
    const std::string keys[] = {"Connections", "IODevices", "Debug",   "PRI",     "CPU",     "PARAM_1", "PARAM_2",
                                "PARAM_3",     "PARAM_4",   "PARAM_5", "PARAM_6", "PARAM_7", "PARAM_8", "PARAM_9"};
    static_assert(std::size(lines) == 14 && std::size(keys) == 14);
    for (std::size_t missing = 0; missing < 14; ++missing) {
        EXPECT_EQ(configure(ServiceConfig().remove(keys[missing])), 4);
        std::string expected = "WARNING - Parameter " + keys[missing] + " not found\n";
        for (std::size_t line = missing; line < 14; ++line) expected += lines[line];
        EXPECT_EQ(console.substr(0, console.find("OrvaneServer: configuration")), expected) << keys[missing];
    }
}

TEST_F(OrvaneServerConfigureTest, AnEmptyKeyCountsAsMissing)
{
    EXPECT_EQ(configure(ServiceConfig().set("PARAM_9", "")), 4);
    EXPECT_TRUE(console.starts_with("WARNING - Parameter PARAM_9 not found\nOrvaneServer (199)"));
}

TEST_F(OrvaneServerConfigureTest, KeysBehindAMissingOneAreReadAndStoredAllTheSame)
{
    configure(ServiceConfig().remove("Debug").set("PARAM_1", "false").set("PARAM_2", "true").set("PARAM_9", "99"));
    EXPECT_FALSE(server.settings().m_debug);
    EXPECT_FALSE(server.settings().m_quiet);
    EXPECT_TRUE(server.settings().m_testMode);
    EXPECT_EQ(FACE::textOf(server.settings().m_gssipSourceServerSet), "3,4");
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 99u);
}

TEST_F(OrvaneServerConfigureTest, WithAMissingKeySourcesSetAndTimeoutsAreNotStored)
{
    configure(ServiceConfig().remove("Debug"));
    EXPECT_EQ(server.settings().m_utcSourceServerId, 0);
    EXPECT_EQ(server.settings().m_pvaSourceServerId, 0);
    EXPECT_EQ(server.settings().m_misSourceServerId, 0);
    EXPECT_EQ(server.settings().m_fusionPNTSourceServerId, 0);
    EXPECT_TRUE(server.settings().m_gssipSourceServers.empty());
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 12u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 7200u);
}

TEST_F(OrvaneServerConfigureTest, WithAMissingKeyNothingIsApplied)
{
    EXPECT_EQ(configure(ServiceConfig().remove("PARAM_9").set("PRI", "20").set("CPU", "1")), 4);
    EXPECT_NE(console.find(", priority = 20, cpu = 1, "), std::string::npos);
    EXPECT_EQ(console.find(" set OrvaneServer: "), std::string::npos);
    EXPECT_TRUE(s_scheduler.priorities.empty());
    EXPECT_TRUE(s_scheduler.cpus.empty());
}

TEST_F(OrvaneServerConfigureTest, AWholeFilePreparesCommandedOperations)
{
    EXPECT_EQ(configure(ServiceConfig()), 0);
    EXPECT_THAT(eventsOfCommandedOperations(),
                IsSupersetOf({"3:OrvaneServer: Could not publish CommandResponse for TOV = 0, REQUEST_ZEROIZE",
                              "3:OrvaneServer: Could not publish CommandResponse for TOV = 0, REQUEST_CBIT"}));
}

TEST_F(OrvaneServerConfigureTest, AMissingKeyLeavesCommandedOperationsUnprepared)
{
    EXPECT_EQ(configure(ServiceConfig().remove("PARAM_9")), 4);
    EXPECT_THAT(eventsOfCommandedOperations(), Not(Contains(HasSubstr("Could not publish"))));
}

TEST_F(OrvaneServerConfigureTest, AMissingQuietFlagLeavesTheServiceQuiet)
{
    configure(ServiceConfig().remove("PARAM_1"));
    EXPECT_TRUE(server.settings().m_quiet);
}

TEST_F(OrvaneServerConfigureTest, AMissingNumberIsZero)
{
    configure(ServiceConfig().remove("PARAM_9"));
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 0u);
}

TEST_F(OrvaneServerConfigureTest, NumbersMayBeHexadecimalOrOctal)
{
    EXPECT_EQ(configure(ServiceConfig().set("PRI", "0x20").set("PARAM_3", "010").set("PARAM_9", "0x10")), 0);
    EXPECT_EQ(s_scheduler.priorities, std::vector<int>({32}));
    EXPECT_EQ(server.settings().m_utcSourceServerId, 8);
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 16u);
}

TEST_F(OrvaneServerConfigureTest, ATextThatIsNoNumberIsZero)
{
    EXPECT_EQ(configure(ServiceConfig().set("PARAM_3", "any").set("PARAM_9", "soon")), 0);
    EXPECT_EQ(server.settings().m_utcSourceServerId, 0);
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 0u);
}

TEST_F(OrvaneServerConfigureTest, SourceIdsAreCutToTheirLowByte)
{
    configure(
        ServiceConfig().set("PARAM_3", "0x100").set("PARAM_4", "257").set("PARAM_6", "-1").set("PARAM_7", "65537"));
    EXPECT_EQ(server.settings().m_utcSourceServerId, 0);
    EXPECT_EQ(server.settings().m_pvaSourceServerId, 1);
    EXPECT_EQ(server.settings().m_misSourceServerId, 255);
    EXPECT_EQ(server.settings().m_fusionPNTSourceServerId, 1);
}

TEST_F(OrvaneServerConfigureTest, BitTimeoutIsCutToThirtyTwoBits)
{
    configure(ServiceConfig().set("PARAM_9", "4294967298"));
    EXPECT_EQ(server.settings().m_BITtimeoutSeconds, 2u);
}

TEST_F(OrvaneServerConfigureTest, ClearDataTimeoutsAreRequestThenOverall)
{
    EXPECT_EQ(configure(ServiceConfig().set("PARAM_8", "10,3600")), 0);
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 10u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 3600u);
    EXPECT_NE(console.find(", m_clearDataInProgressTimeoutSeconds = 3600, m_clearDataRequestTimeoutSeconds = 10, "),
              std::string::npos);
}

TEST_F(OrvaneServerConfigureTest, OtherThanTwoClearDataTimeoutsGiveTheDefaultsAndAWarning)
{
    for (const std::string text : {"10", "10,20,30", "10,20,30,40"}) {
        EXPECT_EQ(configure(ServiceConfig().set("PARAM_8", text)), 0) << text;
        EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 12u);
        EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 7200u);
        EXPECT_EQ(popHealthEvent(), "3:OrvaneServer: Warning, two values not found for clear data req timeout and "
                                    "clear data timeout. Using defaults.");
        EXPECT_EQ(popHealthEvent(), "none");
        EXPECT_EQ(console.find("Warning"), std::string::npos);
    }
}

TEST_F(OrvaneServerConfigureTest, WithDebugTheWarningStandsOnTheConsoleBehindItsPlace)
{
    configure(ServiceConfig().set("PARAM_8", "10").set("Debug", "true"));
    const std::string warning =
        ") GetConfigParameters : OrvaneServer: Warning, two values not found for clear data req "
        "timeout and clear data timeout. Using defaults.\n";
    EXPECT_TRUE(console.starts_with("OrvaneServer ("));
    EXPECT_EQ(console.substr(console.find(')'), warning.size()), warning);
}

TEST_F(OrvaneServerConfigureTest, ATrailingCommaLeavesTwoClearDataTimeouts)
{
    configure(ServiceConfig().set("PARAM_8", "10,20,"));
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 10u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 20u);
    EXPECT_EQ(popHealthEvent(), "none");
}

TEST_F(OrvaneServerConfigureTest, ClearDataTimeoutsAreDecimalAndSaturateAlikeOnEveryMachine)
{
    configure(ServiceConfig().set("PARAM_8", "010,0x10"));
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 10u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 0u);
    configure(ServiceConfig().set("PARAM_8", "4294967295,4294967296"));
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 4294967295u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 4294967295u);
    configure(ServiceConfig().set("PARAM_8", "-1,99999999999999999999999"));
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 4294967295u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 4294967295u);
    configure(ServiceConfig().set("PARAM_8", "-4294967295,-99999999999"));
    EXPECT_EQ(server.settings().m_clearDataRequestTimeoutSeconds, 1u);
    EXPECT_EQ(server.settings().m_clearDataInProgressTimeoutSeconds, 4294967295u);
}

TEST_F(OrvaneServerConfigureTest, ZerosDuplicatesAndWordsDropOutOfTheGssipSet)
{
    configure(ServiceConfig().set("PARAM_5", "0,5,x,5"));
    EXPECT_EQ(server.settings().m_gssipSourceServers, ServerSet({5}));
}

TEST_F(OrvaneServerConfigureTest, GssipIdsAreDecimalAndCutToTheirLowByte)
{
    configure(ServiceConfig().set("PARAM_5", "256,257,010,0x20, 7,-1"));
    EXPECT_EQ(server.settings().m_gssipSourceServers, ServerSet({1, 7, 10, 255}));
}

TEST_F(OrvaneServerConfigureTest, AListOfNothingGivesAnEmptyGssipSet)
{
    EXPECT_EQ(configure(ServiceConfig().set("PARAM_5", ",")), 0);
    EXPECT_TRUE(server.settings().m_gssipSourceServers.empty());
}

TEST_F(OrvaneServerConfigureTest, ZeroPriorityAndCpuChangeNothingAndPrintNothing)
{
    EXPECT_EQ(configure(ServiceConfig()), 0);
    EXPECT_TRUE(s_scheduler.priorities.empty());
    EXPECT_TRUE(s_scheduler.cpus.empty());
    EXPECT_EQ(console.find(" set OrvaneServer: "), std::string::npos);
}

TEST_F(OrvaneServerConfigureTest, CpuCountsFromOne)
{
    EXPECT_EQ(configure(ServiceConfig().set("CPU", "2")), 0);
    EXPECT_EQ(s_scheduler.cpus, std::vector<int>({1}));
    EXPECT_TRUE(console.ends_with("\nSuccessfully set OrvaneServer: cpu affinity to 2\n"));
}

TEST_F(OrvaneServerConfigureTest, APriorityOf256IsNotZeroYetAsksForTheLowest)
{
    EXPECT_EQ(configure(ServiceConfig().set("PRI", "0x100")), 0);
    EXPECT_EQ(s_scheduler.priorities, std::vector<int>({1}));
    EXPECT_NE(console.find(", priority = 256, "), std::string::npos);
    EXPECT_TRUE(console.ends_with("Successfully set OrvaneServer: realtime process priority to 0\n"));
}

TEST_F(OrvaneServerConfigureTest, APriorityOf65536IsZero)
{
    EXPECT_EQ(configure(ServiceConfig().set("PRI", "65536")), 0);
    EXPECT_TRUE(s_scheduler.priorities.empty());
}

TEST_F(OrvaneServerConfigureTest, ARefusedPriorityDoesNotStopTheAffinityAndMakesTheFileInvalid)
{
    s_scheduler.answerOnPriority = -1;
    EXPECT_EQ(configure(ServiceConfig().set("PRI", "20").set("CPU", "1")), 4);
    EXPECT_EQ(s_scheduler.cpus, std::vector<int>({0}));
    EXPECT_TRUE(console.ends_with("FAILED to set OrvaneServer: realtime process priority to 20\n"
                                  "Successfully set OrvaneServer: cpu affinity to 1\n"));
}

TEST_F(OrvaneServerConfigureTest, ARefusedAffinityMakesTheFileInvalid)
{
    s_scheduler.answerOnCpu = -1;
    EXPECT_EQ(configure(ServiceConfig().set("PRI", "20").set("CPU", "1")), 4);
    EXPECT_TRUE(console.ends_with("Successfully set OrvaneServer: realtime process priority to 20\n"
                                  "FAILED to set OrvaneServer: cpu affinity to 1\n"));
}

TEST_F(OrvaneServerConfigureTest, TheSampleFileIsValid)
{
    EXPECT_EQ(configureFile(ORVANE_SOURCE_DIR "/lab/config/OrvaneServer.xml"), 0);
    EXPECT_EQ(server.settings().m_gssipSourceServers, ServerSet({39, 96}));
}
