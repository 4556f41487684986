#include "ASPN/CmdResponseStrings.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace {

TEST(CmdResponseStringsTest, Commands)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {Sys::CommandString::SystemModeLive, "SYSTEM_MODE_SELECT_LIVE"},
        {Sys::CommandString::SystemModeSim, "SYSTEM_MODE_SELECT_SIMULATION"},
        {Sys::CommandString::QueryVersioning, "QUERY_VERSIONING"},
        {Sys::CommandString::BitServerPing, "BITSERVER_PING"},
        {Sys::CommandString::BitServerReportClear, "BITSERVER_REPORT_CLEAR"},
        {Sys::CommandString::BitServerReportAppend, "BITSERVER_REPORT_APPEND"},
        {Sys::CommandString::BitServerReportRemove, "BITSERVER_REPORT_REMOVE"},
        {Sys::CommandString::RequestBitReport, "REQUEST_BIT_REPORT"},
        {Sys::CommandString::RequestSystemCBit, "REQUEST_CBIT"},
        {Sys::CommandString::RequestComponentCBit, "REQUEST_COMPONENT_CBIT"},
        {Sys::CommandString::NavigatorCommand, "NAVIGATOR_COMMAND"},
        {Sys::CommandString::NavigatorStatus, "NAVIGATOR_STATUS"},
        {Sys::CommandString::QueryZentormStatus, "QUERY_ZENTORM_STATUS"},
        {Sys::CommandString::ZentorMSetStandby, "ZENTORM_SET_STANDBY"},
        {Sys::CommandString::ZentorMSetContinuous, "ZENTORM_SET_CONT"},
        {Sys::CommandString::ZentorMCVZeroize, "ZENTORM_CV_ZEROIZE"},
        {Sys::CommandString::QuerySarventStatus, "QUERY_SARVENT_STATUS"},
        {Sys::CommandString::SetSarventStatus, "SET_SARVENT_STATUS"},
        {Sys::CommandString::SystemEnvRerad, "SYSTEM_ENV_RERAD"},
        {Sys::CommandString::SystemEnvLive, "SYSTEM_ENV_LIVE"},
        {Sys::CommandString::AltNavAssured, "ALTNAV_ASSURED"},
        {Sys::CommandString::AltNavUnassured, "ALTNAV_UNASSURED"},
        {Sys::CommandString::AltNavNotAvail, "ALTNAV_NOT_AVAILABLE"},
        {Sys::CommandString::InitSincgars, "INIT_SINCGARS"},
        {Sys::CommandString::InitHotStart, "INIT_HOTSTART"},
        {Sys::CommandString::InitWarmStart, "INIT_WARMSTART"},
        {Sys::CommandString::InitDataTransferOutLNav, "INIT_DATA_TRANSFER_OUT_LNAV"},
        {Sys::CommandString::SetHmiBlackoutEnable, "SET_BLACKOUT_ENABLED"},
        {Sys::CommandString::SetHmiBlackoutDisable, "SET_BLACKOUT_DISABLED"},
        {Sys::CommandString::RequestZeroize, "REQUEST_ZEROIZE"},
        {Sys::CommandString::RequestDestroy, "REQUEST_DESTROY"},
        {Sys::CommandString::StartSystemZeroize, "START_ZEROIZE"},
        {Sys::CommandString::StartSystemDestroy, "START_DESTROY"},
        {Sys::CommandString::ZentormZeroize, "ZENTORM_ZEROIZE"},
        {Sys::CommandString::ZentormDestroy, "ZENTORM_DESTROY"},
        {Sys::CommandString::QueryPassthrough, "QUERY_PASSTHROUGH_STATE"},
        {Sys::CommandString::ServerStarted, "SERVER_STARTED"},
        {Sys::CommandString::ServerStopped, "SERVER_STOPPED"},
        {Sys::CommandString::RequestPartNumbers, "REQUEST_PARTNUMBERS"},
        {Sys::CommandString::RequestZentormDestroyStatus, "ZENTORM_DESTROY_STATUS"},
        {Sys::CommandString::RequestTarvoCompatibilityDesignation, "GET_TARVO_COMPAT_DESIGN"},
    };
    EXPECT_EQ(rows.size(), 41U);
    for (const auto& [constant, text] : rows) EXPECT_EQ(constant, text);
}

TEST(CmdResponseStringsTest, Responses)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {Sys::ResponseString::Pass, "_PASS"},
        {Sys::ResponseString::Fail, "_FAIL"},
        {Sys::ResponseString::Ack, "_ACK"},
        {Sys::ResponseString::Nack, "_NACK"},
        {Sys::ResponseString::ComponentZeroize, "COMPONENT_ZEROIZE"},
        {Sys::ResponseString::ComponentDestroy, "COMPONENT_DESTROY"},
        {Sys::ResponseString::SystemZeroize, "SYSTEM_ZEROIZE"},
        {Sys::ResponseString::SystemDestroy, "SYSTEM_DESTROY"},
        {Sys::ResponseString::CbitResponse, "CBIT_RESPONSE"},
        {Sys::ResponseString::PassthroughEnabled, "PASSTHROUGH_ENABLED"},
        {Sys::ResponseString::PassthroughDisabled, "PASSTHROUGH_DISABLED"},
        {Sys::ResponseString::CurrentZentormStatus, "CURRENT_ZENTORM_STATUS"},
        {Sys::ResponseString::CurrentSarventStatus, "CURRENT_SARVENT_STATUS"},
    };
    EXPECT_EQ(rows.size(), 13U);
    for (const auto& [constant, text] : rows) EXPECT_EQ(constant, text);
}

TEST(SystemFlagsTest, AFlagIsAFileOfAnySize)
{
    const TemporaryDirectory directory;
    EXPECT_FALSE(Sys::isPostComplete(directory.path().string()));
    EXPECT_FALSE(Sys::isSystemStarted(directory.path().string()));
    EXPECT_FALSE(Sys::isFirstBbitDone(directory.path().string()));
    std::ofstream(directory.path().string() + "/PostComplete") << "anything";
    std::ofstream(directory.path().string() + "/SystemStarted").flush();
    EXPECT_TRUE(Sys::isPostComplete(directory.path().string()));
    EXPECT_TRUE(Sys::isSystemStarted(directory.path().string()));
    EXPECT_FALSE(Sys::isFirstBbitDone(directory.path().string()));
    std::remove((directory.path().string() + "/PostComplete").c_str());
    EXPECT_FALSE(Sys::isPostComplete(directory.path().string()));
}

TEST(SystemFlagsTest, AnnouncingMakesAnEmptyFile)
{
    const TemporaryDirectory directory;
    Sys::announcePostComplete(directory.path().string());
    EXPECT_TRUE(Sys::isPostComplete(directory.path().string()));
    EXPECT_FALSE(Sys::isFirstBbitDone(directory.path().string()));
    Sys::announceFirstBbitDone(directory.path().string());
    EXPECT_TRUE(Sys::isFirstBbitDone(directory.path().string()));
    struct stat status = {};
    ASSERT_EQ(stat((directory.path().string() + "/FirstBbitDone").c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0);
}

TEST(SystemFlagsTest, AnnouncingEmptiesAFileThatIsThere)
{
    const TemporaryDirectory directory;
    const std::string files[] = {directory.write("PostComplete", "anything"),
                                 directory.write("FirstBbitDone", "anything")};
    Sys::announcePostComplete(directory.path().string());
    Sys::announceFirstBbitDone(directory.path().string());
    for (const auto& file : files) {
        struct stat status = {};
        ASSERT_EQ(stat(file.c_str(), &status), 0) << file;
        EXPECT_EQ(status.st_size, 0) << file;
    }
}

TEST(SystemFlagsTest, AnnouncingWhereNothingCanBeWrittenIsSilent)
{
    const TemporaryDirectory directory;
    const std::string nowhere = directory.path().string() + "/nowhere";
    const DescriptorCapture output(1), errors(2);
    Sys::announcePostComplete(nowhere);
    Sys::announceFirstBbitDone(nowhere);
    EXPECT_EQ(output.text() + errors.text(), "");
    EXPECT_FALSE(Sys::isPostComplete(nowhere));
    EXPECT_FALSE(Sys::isFirstBbitDone(nowhere));
}

}  // namespace
