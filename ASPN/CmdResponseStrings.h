#ifndef ASPN_CMDRESPONSESTRINGS_H
#define ASPN_CMDRESPONSESTRINGS_H

#include <string>

/// The texts by which the services of the unit command each other, and the flags by which they tell milestones. The
/// tables are those of the whole unit: this service uses some of them.
///
/// A command may carry arguments behind commas; what stands before the first comma is its stem. A response is the stem
/// and one of four suffixes, or a text of the responder's choice. Texts are compared whole, byte for byte.
namespace Sys {

namespace CommandString {

inline const std::string SystemModeLive = "SYSTEM_MODE_SELECT_LIVE";
inline const std::string SystemModeSim = "SYSTEM_MODE_SELECT_SIMULATION";
inline const std::string QueryVersioning = "QUERY_VERSIONING";
inline const std::string BitServerPing = "BITSERVER_PING";
inline const std::string BitServerReportClear = "BITSERVER_REPORT_CLEAR";
inline const std::string BitServerReportAppend = "BITSERVER_REPORT_APPEND";
inline const std::string BitServerReportRemove = "BITSERVER_REPORT_REMOVE";
inline const std::string RequestBitReport = "REQUEST_BIT_REPORT";
inline const std::string RequestSystemCBit = "REQUEST_CBIT";
inline const std::string RequestComponentCBit = "REQUEST_COMPONENT_CBIT";
inline const std::string NavigatorCommand = "NAVIGATOR_COMMAND";
inline const std::string NavigatorStatus = "NAVIGATOR_STATUS";
inline const std::string QueryZentormStatus = "QUERY_ZENTORM_STATUS";
inline const std::string ZentorMSetStandby = "ZENTORM_SET_STANDBY";
inline const std::string ZentorMSetContinuous = "ZENTORM_SET_CONT";
inline const std::string ZentorMCVZeroize = "ZENTORM_CV_ZEROIZE";
inline const std::string QuerySarventStatus = "QUERY_SARVENT_STATUS";
inline const std::string SetSarventStatus = "SET_SARVENT_STATUS";
inline const std::string SystemEnvRerad = "SYSTEM_ENV_RERAD";
inline const std::string SystemEnvLive = "SYSTEM_ENV_LIVE";
inline const std::string AltNavAssured = "ALTNAV_ASSURED";
inline const std::string AltNavUnassured = "ALTNAV_UNASSURED";
inline const std::string AltNavNotAvail = "ALTNAV_NOT_AVAILABLE";
inline const std::string InitSincgars = "INIT_SINCGARS";
inline const std::string InitHotStart = "INIT_HOTSTART";
inline const std::string InitWarmStart = "INIT_WARMSTART";
inline const std::string InitDataTransferOutLNav = "INIT_DATA_TRANSFER_OUT_LNAV";
inline const std::string SetHmiBlackoutEnable = "SET_BLACKOUT_ENABLED";
inline const std::string SetHmiBlackoutDisable = "SET_BLACKOUT_DISABLED";
inline const std::string RequestZeroize = "REQUEST_ZEROIZE";
inline const std::string RequestDestroy = "REQUEST_DESTROY";
inline const std::string StartSystemZeroize = "START_ZEROIZE";
inline const std::string StartSystemDestroy = "START_DESTROY";
inline const std::string ZentormZeroize = "ZENTORM_ZEROIZE";
inline const std::string ZentormDestroy = "ZENTORM_DESTROY";
inline const std::string QueryPassthrough = "QUERY_PASSTHROUGH_STATE";
inline const std::string ServerStarted = "SERVER_STARTED";
inline const std::string ServerStopped = "SERVER_STOPPED";
inline const std::string RequestPartNumbers = "REQUEST_PARTNUMBERS";
inline const std::string RequestZentormDestroyStatus = "ZENTORM_DESTROY_STATUS";
inline const std::string RequestTarvoCompatibilityDesignation = "GET_TARVO_COMPAT_DESIGN";

}  // namespace CommandString

namespace ResponseString {

inline const std::string Pass = "_PASS";
inline const std::string Fail = "_FAIL";
inline const std::string Ack = "_ACK";
inline const std::string Nack = "_NACK";
inline const std::string ComponentZeroize = "COMPONENT_ZEROIZE";
inline const std::string ComponentDestroy = "COMPONENT_DESTROY";
inline const std::string SystemZeroize = "SYSTEM_ZEROIZE";
inline const std::string SystemDestroy = "SYSTEM_DESTROY";
inline const std::string CbitResponse = "CBIT_RESPONSE";
inline const std::string PassthroughEnabled = "PASSTHROUGH_ENABLED";
inline const std::string PassthroughDisabled = "PASSTHROUGH_DISABLED";
inline const std::string CurrentZentormStatus = "CURRENT_ZENTORM_STATUS";
inline const std::string CurrentSarventStatus = "CURRENT_SARVENT_STATUS";

}  // namespace ResponseString

/// Flags of the current boot: files that vanish with it, of any size and any owner. `directory` is where they lie.
///@{
bool isPostComplete(const std::string& directory = "/tmp");
bool isSystemStarted(const std::string& directory = "/tmp");
bool isFirstBbitDone(const std::string& directory = "/tmp");
///@}

/// Create a flag, for the services that own the milestone; what can't be written is not told. An existing file is
/// emptied.
///@{
void announcePostComplete(const std::string& directory = "/tmp");
void announceFirstBbitDone(const std::string& directory = "/tmp");
///@}

}  // namespace Sys

#endif
