#include "ASPN/CmdResponseStrings.h"

#include <fstream>

#include <sys/stat.h>

// Ahead of what other sources make before `main`, which may use them.
#define SYS_EARLY [[gnu::init_priority(1000)]]

namespace Sys {

namespace CommandString {

SYS_EARLY const std::string SystemModeLive = "SYSTEM_MODE_SELECT_LIVE";
SYS_EARLY const std::string SystemModeSim = "SYSTEM_MODE_SELECT_SIMULATION";
SYS_EARLY const std::string QueryVersioning = "QUERY_VERSIONING";
SYS_EARLY const std::string BitServerPing = "BITSERVER_PING";
SYS_EARLY const std::string BitServerReportClear = "BITSERVER_REPORT_CLEAR";
SYS_EARLY const std::string BitServerReportAppend = "BITSERVER_REPORT_APPEND";
SYS_EARLY const std::string BitServerReportRemove = "BITSERVER_REPORT_REMOVE";
SYS_EARLY const std::string RequestBitReport = "REQUEST_BIT_REPORT";
SYS_EARLY const std::string RequestSystemCBit = "REQUEST_CBIT";
SYS_EARLY const std::string RequestComponentCBit = "REQUEST_COMPONENT_CBIT";
SYS_EARLY const std::string NavigatorCommand = "NAVIGATOR_COMMAND";
SYS_EARLY const std::string NavigatorStatus = "NAVIGATOR_STATUS";
SYS_EARLY const std::string QueryZentormStatus = "QUERY_ZENTORM_STATUS";
SYS_EARLY const std::string ZentorMSetStandby = "ZENTORM_SET_STANDBY";
SYS_EARLY const std::string ZentorMSetContinuous = "ZENTORM_SET_CONT";
SYS_EARLY const std::string ZentorMCVZeroize = "ZENTORM_CV_ZEROIZE";
SYS_EARLY const std::string QuerySarventStatus = "QUERY_SARVENT_STATUS";
SYS_EARLY const std::string SetSarventStatus = "SET_SARVENT_STATUS";
SYS_EARLY const std::string SystemEnvRerad = "SYSTEM_ENV_RERAD";
SYS_EARLY const std::string SystemEnvLive = "SYSTEM_ENV_LIVE";
SYS_EARLY const std::string AltNavAssured = "ALTNAV_ASSURED";
SYS_EARLY const std::string AltNavUnassured = "ALTNAV_UNASSURED";
SYS_EARLY const std::string AltNavNotAvail = "ALTNAV_NOT_AVAILABLE";
SYS_EARLY const std::string InitSincgars = "INIT_SINCGARS";
SYS_EARLY const std::string InitHotStart = "INIT_HOTSTART";
SYS_EARLY const std::string InitWarmStart = "INIT_WARMSTART";
SYS_EARLY const std::string InitDataTransferOutLNav = "INIT_DATA_TRANSFER_OUT_LNAV";
SYS_EARLY const std::string SetHmiBlackoutEnable = "SET_BLACKOUT_ENABLED";
SYS_EARLY const std::string SetHmiBlackoutDisable = "SET_BLACKOUT_DISABLED";
SYS_EARLY const std::string RequestZeroize = "REQUEST_ZEROIZE";
SYS_EARLY const std::string RequestDestroy = "REQUEST_DESTROY";
SYS_EARLY const std::string StartSystemZeroize = "START_ZEROIZE";
SYS_EARLY const std::string StartSystemDestroy = "START_DESTROY";
SYS_EARLY const std::string ZentormZeroize = "ZENTORM_ZEROIZE";
SYS_EARLY const std::string ZentormDestroy = "ZENTORM_DESTROY";
SYS_EARLY const std::string QueryPassthrough = "QUERY_PASSTHROUGH_STATE";
SYS_EARLY const std::string ServerStarted = "SERVER_STARTED";
SYS_EARLY const std::string ServerStopped = "SERVER_STOPPED";
SYS_EARLY const std::string RequestPartNumbers = "REQUEST_PARTNUMBERS";
SYS_EARLY const std::string RequestZentormDestroyStatus = "ZENTORM_DESTROY_STATUS";
SYS_EARLY const std::string RequestTarvoCompatibilityDesignation = "GET_TARVO_COMPAT_DESIGN";

}  // namespace CommandString

namespace ResponseString {

SYS_EARLY const std::string Pass = "_PASS";
SYS_EARLY const std::string Fail = "_FAIL";
SYS_EARLY const std::string Ack = "_ACK";
SYS_EARLY const std::string Nack = "_NACK";
SYS_EARLY const std::string ComponentZeroize = "COMPONENT_ZEROIZE";
SYS_EARLY const std::string ComponentDestroy = "COMPONENT_DESTROY";
SYS_EARLY const std::string SystemZeroize = "SYSTEM_ZEROIZE";
SYS_EARLY const std::string SystemDestroy = "SYSTEM_DESTROY";
SYS_EARLY const std::string CbitResponse = "CBIT_RESPONSE";
SYS_EARLY const std::string PassthroughEnabled = "PASSTHROUGH_ENABLED";
SYS_EARLY const std::string PassthroughDisabled = "PASSTHROUGH_DISABLED";
SYS_EARLY const std::string CurrentZentormStatus = "CURRENT_ZENTORM_STATUS";
SYS_EARLY const std::string CurrentSarventStatus = "CURRENT_SARVENT_STATUS";

}  // namespace ResponseString

#undef SYS_EARLY

namespace {

constexpr const char* kPostComplete = "/PostComplete";
constexpr const char* kSystemStarted = "/SystemStarted";
constexpr const char* kFirstBbitDone = "/FirstBbitDone";

bool exists(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

}  // namespace

bool isPostComplete(const std::string& directory)
{
    return exists(directory + kPostComplete);
}

bool isSystemStarted(const std::string& directory)
{
    return exists(directory + kSystemStarted);
}

bool isFirstBbitDone(const std::string& directory)
{
    return exists(directory + kFirstBbitDone);
}

void announcePostComplete(const std::string& directory)
{
    std::ofstream file(directory + kPostComplete);
}

void announceFirstBbitDone(const std::string& directory)
{
    std::ofstream file(directory + kFirstBbitDone);
}

}  // namespace Sys
