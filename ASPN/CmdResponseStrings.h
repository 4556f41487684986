#ifndef ASPN_CMDRESPONSESTRINGS_H
#define ASPN_CMDRESPONSESTRINGS_H

#include <string>

/// The texts by which the services of the unit command each other, and the flags by which they tell milestones. The
/// tables are those of the whole unit: this service uses some of them.
///
/// A command may carry arguments behind commas; what stands before the first comma is its stem. A response is the stem
/// and one of four suffixes, or a text of the responder's choice. Texts are compared whole, byte for byte. They are
/// there ahead of what other sources make before `main`.
namespace Sys {

namespace CommandString {

extern const std::string SystemModeLive;
extern const std::string SystemModeSim;
extern const std::string QueryVersioning;
extern const std::string BitServerPing;
extern const std::string BitServerReportClear;
extern const std::string BitServerReportAppend;
extern const std::string BitServerReportRemove;
extern const std::string RequestBitReport;
extern const std::string RequestSystemCBit;
extern const std::string RequestComponentCBit;
extern const std::string NavigatorCommand;
extern const std::string NavigatorStatus;
extern const std::string QueryZentormStatus;
extern const std::string ZentorMSetStandby;
extern const std::string ZentorMSetContinuous;
extern const std::string ZentorMCVZeroize;
extern const std::string QuerySarventStatus;
extern const std::string SetSarventStatus;
extern const std::string SystemEnvRerad;
extern const std::string SystemEnvLive;
extern const std::string AltNavAssured;
extern const std::string AltNavUnassured;
extern const std::string AltNavNotAvail;
extern const std::string InitSincgars;
extern const std::string InitHotStart;
extern const std::string InitWarmStart;
extern const std::string InitDataTransferOutLNav;
extern const std::string SetHmiBlackoutEnable;
extern const std::string SetHmiBlackoutDisable;
extern const std::string RequestZeroize;
extern const std::string RequestDestroy;
extern const std::string StartSystemZeroize;
extern const std::string StartSystemDestroy;
extern const std::string ZentormZeroize;
extern const std::string ZentormDestroy;
extern const std::string QueryPassthrough;
extern const std::string ServerStarted;
extern const std::string ServerStopped;
extern const std::string RequestPartNumbers;
extern const std::string RequestZentormDestroyStatus;
extern const std::string RequestTarvoCompatibilityDesignation;

}  // namespace CommandString

namespace ResponseString {

extern const std::string Pass;
extern const std::string Fail;
extern const std::string Ack;
extern const std::string Nack;
extern const std::string ComponentZeroize;
extern const std::string ComponentDestroy;
extern const std::string SystemZeroize;
extern const std::string SystemDestroy;
extern const std::string CbitResponse;
extern const std::string PassthroughEnabled;
extern const std::string PassthroughDisabled;
extern const std::string CurrentZentormStatus;
extern const std::string CurrentSarventStatus;

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
