#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "ioss_mcsq/gps_msgs.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Saturate.h"
#include "utilities/Shielded.h"
#include "utilities/StringUtils.h"

#include <cstdint>
#include <iostream>
#include <span>
#include <string_view>

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::ReportedState;

namespace {

constexpr std::uint16_t kWarningMessage = 5044;
constexpr std::uint16_t kStatusMessage = 8504;
constexpr std::uint16_t kThreatMessage = 15051;
constexpr aspn2_msgs::idl::command_response_type_enum kCommand{0};
constexpr std::uint8_t kAnySource = 0;
constexpr unsigned long kSilentPeriodMs = 4294967295UL;

/// How a handler reports what it throws. The names that are not its own are deliberate: the unit's log is searched for
/// these texts.
struct Handler {
    const char* name;
    const char* detailsOf;  // null: the event is the bare text of the exception
    const char* unknownIn;
};

constexpr Handler kPVA = {"cbPVA", nullptr, "cbPVA"};
constexpr Handler kUTCTime = {"cbUTCTime", "cbUTCTime", "cbUTCTime"};
constexpr Handler kHalvexPNT = {"cbHalvexPNT", "cbUTCTime", "cbHalvexPNT"};
constexpr Handler kMIS = {"cbMeasurementIncorporationStatus", "cbUTCTime", "cbMeasurementIncorporationStatus"};
constexpr Handler kAssuranceState = {"cbAssuranceState", "cbAssuranceState", "cbAssuranceState"};
constexpr Handler kZentorGssip = {"cbZentorGssip", nullptr, "cbGssip"};
constexpr Handler kHxGssip = {"cbHxGssip", nullptr, "cbGssip"};
constexpr Handler kCmd = {"cbCmd", "cbCmd", "cbCmd"};
constexpr Handler kRsp = {"cbRsp", "cbRsp", "cbCmd."};

template <class Body>
void handle(const Handler& handler, const std::string& serverName, Body&& body)
{
    shielded(body, [&](const char* what) {
        if (!what) {
            const std::string event = serverName + ": Unknown c++ exception in " + handler.unknownIn;
            Reports::sendEvent(EventTypes::EVENT_FAULT, event);
            printLine(std::cout, Reports::location(), handler.name, " : ", event);
        } else if (!handler.detailsOf) {
            Reports::sendEvent(EventTypes::EVENT_FAULT, what);
            printLine(std::cout, Reports::location(), handler.name, " : An exception occurred. Details: ", what);
        } else {
            const std::string event = serverName + ": An exception occurred. Details: " + what;
            Reports::sendEvent(EventTypes::EVENT_FAULT, event);
            printLine(std::cout, Reports::location(), handler.name, " : An exception occurred in ", handler.detailsOf,
                      ". Details: ", event);
        }
    });
}

std::uint8_t serverOf(std::int32_t deviceId)
{
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(deviceId) >> 16);
}

std::uint8_t topicOf(std::int32_t deviceId)
{
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(deviceId));
}

std::string nameOf(std::uint8_t server)
{
    const std::string name = ASPN2::ServerIds::to_string(server);
    return name == "INVALID_SERVER_ID" ? "(unknown ID " + std::to_string(server) + ")" : name;
}

template <class Message>
std::uint8_t sourceOf(const Message& message)
{
    return serverOf(message.header().device_id());
}

bool accepts(std::uint8_t configured, std::uint8_t source)
{
    return configured == kAnySource || configured == source;
}

/// The frame that a record holds; empty if its length is not to be believed, or has no room for an id.
std::span<const std::uint8_t> frameOf(const aspn2_msgs::idl::GSSIP& message)
{
    const std::int64_t length = message.num_bytes();
    if (length < 4 || length > static_cast<std::int64_t>(message.data().size())) return {};
    return {message.data().data(), static_cast<std::size_t>(length)};
}

std::uint16_t messageIdOf(std::span<const std::uint8_t> frame)
{
    return static_cast<std::uint16_t>(frame[2] | frame[3] << 8);
}

}  // namespace

void OrvaneServer::printProcessing(const char* handler, const char* text, std::uint8_t source) const
{
    if (m_quiet) return;
    printLine(std::cout, m_serverName, ": ", handler, text, nameOf(source), ", server ID = ", unsigned{source});
}

template <class Message>
bool OrvaneServer::storeLatest(const Message& message, std::uint8_t wantedSource, Message OrvaneServer::*latest,
                               bool OrvaneServer::*isNew)
{
    if (!isRunning() || !accepts(wantedSource, sourceOf(message))) return false;
    const MutexLock lock(m_navDataMutex);
    this->*isNew = true;
    this->*latest = message;
    return true;
}

void OrvaneServer::cbPVA(const PositionVelocityAttitude& message)
{
    handle(kPVA, m_serverName, [&] {
        if (!storeLatest(message, m_pvaSourceServerId, &OrvaneServer::m_pva, &OrvaneServer::m_hasPVA)) return;
        printProcessing(kPVA.name, " : Processing Position Velocity Attitude message received from ",
                        sourceOf(message));
    });
}

void OrvaneServer::cbUTCTime(const UTCTime& message)
{
    handle(kUTCTime, m_serverName, [&] {
        if (!storeLatest(message, m_utcSourceServerId, &OrvaneServer::m_utcTime, &OrvaneServer::m_hasUTCTime)) return;
        {
            const MutexLock lock(m_timeMutex);
            m_gpsSeconds = message.gps_tow_sec() + message.gps_tow_nsec() * 1e-9;
            m_latestTime = message;
        }
        printProcessing(kUTCTime.name, " : Processing UTC Time message received from ", sourceOf(message));
    });
}

void OrvaneServer::cbHalvexPNT(const HalvexPNT& message)
{
    handle(kHalvexPNT, m_serverName, [&] {
        if (!storeLatest(message, m_fusionPNTSourceServerId, &OrvaneServer::m_fusionPNT, &OrvaneServer::m_hasFusionPNT))
            return;
        printProcessing(kHalvexPNT.name, " : Processing HalvexPNT message received from ", sourceOf(message));
    });
}

void OrvaneServer::cbMeasurementIncorporationStatus(const MeasurementIncorporationStatus& message)
{
    handle(kMIS, m_serverName, [&] {
        if (!storeLatest(message, m_misSourceServerId, &OrvaneServer::m_mis, &OrvaneServer::m_hasMIS)) return;
        storeGpsAvailability(message);
        printProcessing(kMIS.name, " : Processing MeasurementIncorporationStatus message received from ",
                        sourceOf(message));
    });
}

void OrvaneServer::cbAssuranceState(const AssuranceState& message)
{
    handle(kAssuranceState, m_serverName, [&] {
        if (!storeLatest(message, kAnySource, &OrvaneServer::m_assuranceState, &OrvaneServer::m_hasAssuranceState))
            return;
        printProcessing(kAssuranceState.name, " : Processing AssuranceState message received from ", sourceOf(message));
    });
}

void OrvaneServer::storeGpsAvailability(const MeasurementIncorporationStatus& message)
{
    std::int64_t sum = 0;
    for (const auto& entry : message.meas_types())
        if (entry.meas_set_id() == 1 || entry.meas_set_id() == 2) sum += entry.meas_avail();
    const auto queue = [this](std::uint32_t id) {
        VapntcWarningMessage warning = {};
        warning.warningId = id;
        appendWarningToList(warning);
    };
    switch (m_gpsAvailRing.store(saturate<std::int32_t>(static_cast<double>(sum)), m_gpsLost)) {
    case GpsAvailability::Change::None:
        break;
    case GpsAvailability::Change::Lost:
        queue(VAPNTC_WARNING_GPS_MEASUREMENTS_LOST);
        m_gpsLost = true;
        break;
    case GpsAvailability::Change::Back:
        queue(VAPNTC_WARNING_GPS_MEASUREMENTS_BACK);
        m_gpsLost = false;
        break;
    }
}

void OrvaneServer::printProcessed(const char* handler, unsigned messageId, const std::string& source,
                                  const GSSIP& message) const
{
    printLine(std::cout, m_serverName, ": ", handler, ": Processed GSSIP: ", messageId, " from ", source);
    PrintMessageInHex(frameOf(message));
}

void OrvaneServer::cbZentorGssip(const GSSIP& message)
{
    handle(kZentorGssip, m_serverName, [&] {
        const auto source = sourceOf(message);
        if (!isRunning() || !m_gssipSourceServers.contains(source)) return;
        const auto frame = frameOf(message);
        if (frame.empty()) return;
        const auto id = messageIdOf(frame);
        if (!m_service) {
            printProcessed(kZentorGssip.name, id, std::to_string(source), message);
            return;
        }
        if (id == kWarningMessage) {
            handleBlock5044(frame.data(), static_cast<unsigned>(frame.size()));
        } else if (id == kStatusMessage) {
            const MutexLock lock(m_navDataMutex);
            m_8504 = message;
            m_has8504 = true;
        } else {
            return;
        }
        if (!m_quiet) printProcessed(kZentorGssip.name, id, nameOf(source), message);
    });
}

void OrvaneServer::cbHxGssip(const GSSIP& message)
{
    handle(kHxGssip, m_serverName, [&] {
        const auto source = sourceOf(message);
        if (!isRunning() || !m_gssipSourceServers.contains(source)) return;
        const auto frame = frameOf(message);
        if (frame.empty() || messageIdOf(frame) != kThreatMessage) return;
        {
            const MutexLock lock(m_threatDataMutex);
            if (!m_threatData.OkSetContent(frame.data(), static_cast<std::uint16_t>(frame.size()))) return;
            m_threatReportWaits = true;
        }
        // Only this thread fills the report, so that nothing comes between: the processing takes the lock itself.
        attemptNavWarSaProcessing();
        if (!m_quiet) printProcessed(kHxGssip.name, kThreatMessage, nameOf(source), message);
    });
}

void OrvaneServer::cbBitReport(const BitReport& report)
{
    shielded(
        [&] {
            if (isRunning()) m_bitResults.UpdateBitReport(report);
        },
        [this](const char* what) {
            const std::string text = m_serverName + ": cbBitReport() EXCEPTION: " + (what ? what : "<unknown>");
            Reports::sendEvent(EventTypes::EVENT_FAULT, text);
            printLine(std::cout, text);
        });
}

void OrvaneServer::cbRsp(const CommandResponse& response)
{
    handle(kRsp, m_serverName, [&] {
        if (m_state == ReportedState::STOPPED) return;
        const std::string& text = response.command_response();
        const auto source = sourceOf(response);
        const auto commanded = serverOf(response.commanded_device_id());
        const auto fields = StringUtils::split(text, ',');
        if (!fields.empty() && fields.front() == "PARTNUMBERS")
            handlePartNumberResponses(text, source, topicOf(response.header().device_id()));

        if (commanded != m_serverId) return;
        if (!m_quiet) {
            printLine(std::cout, m_serverName, " : m_serverId = ", unsigned{m_serverId},
                      " : sourceId = ", unsigned{source}, ", commandedId = ", unsigned{commanded},
                      ", response string = ", text);
            m_clearDataCommand.dumpStateInfo();
        }
        if (m_clearDataCommand.processClearRequestedResponse(text)) return;
        if (m_clearDataCommand.processClearCompletedResponse(text)) return;
        if (m_debug) printLine(std::cout, m_serverName, " : no processing for command, ", text);
    });
}

void OrvaneServer::cbCmd(const CommandResponse& command)
{
    handle(kCmd, m_serverName, [&] {
        if (!isRunning() || command.command_response_type() != kCommand) return;
        const std::string& text = command.command_response();
        if (text == Sys::CommandString::SystemModeLive) {
            ASPN2::TimeCodeHelper::Instance().setLiveMode();
            sendResponse(m_cmdResponse.makeResponse(command, true));
        } else if (text == Sys::CommandString::SystemModeSim) {
            ASPN2::TimeCodeHelper::Instance().setSimMode();
            sendResponse(m_cmdResponse.makeResponse(command, true));
        } else if (text == Sys::CommandString::BitServerPing) {
            sendResponse(m_cmdResponse.makeResponse(command, m_serverName));
        } else if (text == "POSTCOMPLETE") {
            if (m_debug) printLine(std::cout, "DDS PostComplete Signal Recieved");
        } else if (text == Sys::CommandString::StartSystemZeroize || text == Sys::CommandString::StartSystemDestroy) {
            // From now on clear-data requests are refused. The rest is the worker's: to end the bus service is to wait for
            // its call-backs, and one that sends a command waits, in this process, for this call-back to return.
            m_sanitizeRequested = true;
            ++m_sanitizeOrders;
        }
    });
}

void OrvaneServer::carryOutSanitizeOrders()
{
    while (m_sanitizeOrders > 0) {
        --m_sanitizeOrders;  // an order that fails is not taken up again
        shielded([this] { sanitize(); }, [this](const char* what) { reportWorkerException(what); });
    }
}

void OrvaneServer::sanitize()
{
    if (!updateVDMdataRate(kSilentPeriodMs))
        Reports::sendEvent(EventTypes::EVENT_FAULT,
                           m_serverName + ": Could not reduce VDM data rates during sanitize operation!");
    const MutexLock lock(m_apntConfigurationMutex);
    m_requestPartNumbers = false;
    clearApntConfiguration();
}

void OrvaneServer::sendResponse(const CommandResponse& response)
{
    if (!m_quiet)
        printLine(std::cout, m_serverName, ": ", " TOVsec = ", response.header().timestamp_valid().sec(), ", ",
                  response.command_response());
    publishCommandResponse(m_responseId, response);
}

bool OrvaneServer::sendCommandResponseMessage(const std::string& text)
{
    return publishCommandResponse(m_commandId, m_cmdResponse.makeCommand(text));
}

bool OrvaneServer::publishCommandResponse(long long connection, const CommandResponse& message)
{
    // Call-backs of this process run within the sending, so no lock is held here.
    auto rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    if (m_commandResponseTS) {
        long long transaction = 0;
        m_commandResponseTS->Send_Message(connection, -1, transaction, message, rc);
    }
    if (rc == RETURN_CODE_TYPE::NO_ERROR) return true;
    Reports::sendEvent(EventTypes::EVENT_FAULT, m_serverName + ": Could not publish CommandResponse for TOV = " +
                                                    std::to_string(message.header().timestamp_valid().sec()) + ", " +
                                                    message.command_response());
    return false;
}
