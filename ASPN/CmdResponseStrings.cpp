#include "ASPN/CmdResponseStrings.h"

#include <fstream>

#include <sys/stat.h>

namespace Sys {

namespace CommandString {

const std::string SystemModeLive = "SYSTEM_MODE_SELECT_LIVE";
const std::string SystemModeSim = "SYSTEM_MODE_SELECT_SIMULATION";
const std::string QueryVersioning = "QUERY_VERSIONING";
const std::string BitServerPing = "BITSERVER_PING";
const std::string BitServerReportClear = "BITSERVER_REPORT_CLEAR";
const std::string BitServerReportAppend = "BITSERVER_REPORT_APPEND";
const std::string BitServerReportRemove = "BITSERVER_REPORT_REMOVE";
const std::string RequestBitReport = "REQUEST_BIT_REPORT";
const std::string RequestSystemCBit = "REQUEST_CBIT";
const std::string RequestComponentCBit = "REQUEST_COMPONENT_CBIT";
const std::string NavigatorCommand = "NAVIGATOR_COMMAND";
const std::string NavigatorStatus = "NAVIGATOR_STATUS";
const std::string QueryZentormStatus = "QUERY_ZENTORM_STATUS";
const std::string ZentorMSetStandby = "ZENTORM_SET_STANDBY";
const std::string ZentorMSetContinuous = "ZENTORM_SET_CONT";
const std::string ZentorMCVZeroize = "ZENTORM_CV_ZEROIZE";
const std::string QuerySarventStatus = "QUERY_SARVENT_STATUS";
const std::string SetSarventStatus = "SET_SARVENT_STATUS";
const std::string SystemEnvRerad = "SYSTEM_ENV_RERAD";
const std::string SystemEnvLive = "SYSTEM_ENV_LIVE";
const std::string AltNavAssured = "ALTNAV_ASSURED";
const std::string AltNavUnassured = "ALTNAV_UNASSURED";
const std::string AltNavNotAvail = "ALTNAV_NOT_AVAILABLE";
const std::string InitSincgars = "INIT_SINCGARS";
const std::string InitHotStart = "INIT_HOTSTART";
const std::string InitWarmStart = "INIT_WARMSTART";
const std::string InitDataTransferOutLNav = "INIT_DATA_TRANSFER_OUT_LNAV";
const std::string SetHmiBlackoutEnable = "SET_BLACKOUT_ENABLED";
const std::string SetHmiBlackoutDisable = "SET_BLACKOUT_DISABLED";
const std::string RequestZeroize = "REQUEST_ZEROIZE";
const std::string RequestDestroy = "REQUEST_DESTROY";
const std::string StartSystemZeroize = "START_ZEROIZE";
const std::string StartSystemDestroy = "START_DESTROY";
const std::string ZentormZeroize = "ZENTORM_ZEROIZE";
const std::string ZentormDestroy = "ZENTORM_DESTROY";
const std::string QueryPassthrough = "QUERY_PASSTHROUGH_STATE";
const std::string ServerStarted = "SERVER_STARTED";
const std::string ServerStopped = "SERVER_STOPPED";
const std::string RequestPartNumbers = "REQUEST_PARTNUMBERS";
const std::string RequestZentormDestroyStatus = "ZENTORM_DESTROY_STATUS";
const std::string RequestTarvoCompatibilityDesignation = "GET_TARVO_COMPAT_DESIGN";

}  // namespace CommandString

namespace ResponseString {

const std::string Pass = "_PASS";
const std::string Fail = "_FAIL";
const std::string Ack = "_ACK";
const std::string Nack = "_NACK";
const std::string ComponentZeroize = "COMPONENT_ZEROIZE";
const std::string ComponentDestroy = "COMPONENT_DESTROY";
const std::string SystemZeroize = "SYSTEM_ZEROIZE";
const std::string SystemDestroy = "SYSTEM_DESTROY";
const std::string CbitResponse = "CBIT_RESPONSE";
const std::string PassthroughEnabled = "PASSTHROUGH_ENABLED";
const std::string PassthroughDisabled = "PASSTHROUGH_DISABLED";
const std::string CurrentZentormStatus = "CURRENT_ZENTORM_STATUS";
const std::string CurrentSarventStatus = "CURRENT_SARVENT_STATUS";

}  // namespace ResponseString

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
