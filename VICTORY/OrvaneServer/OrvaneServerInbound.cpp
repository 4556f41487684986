#include "ASPN/AspnHelper.h"
#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/OrvaneServer/HandlerFaults.h"
#include "VICTORY/OrvaneServer/MessageSource.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "ioss_mcsq/GssipBytes.h"
#include "ioss_mcsq/gps_msgs.h"
#include "utilities/ConsoleLine.h"

#include <iostream>
#include <string_view>

using FACE::LCM::Halvex::ReportedState;
using HandlerFaults::handle;
using MessageSource::nameOf;
using MessageSource::sourceOf;

namespace {

constexpr std::uint16_t kWarningMessage = 5044;
constexpr std::uint16_t kStatusMessage = 8504;
constexpr std::uint16_t kThreatMessage = 15051;
constexpr aspn2_msgs::idl::command_response_type_enum kCommand{0};

}  // namespace

void OrvaneServer::printProcessing(const char* handler, const char* text, std::uint8_t source) const
{
    if (m_settings.m_quiet) return;
    printLine(std::cout, m_settings.m_serverName, ": ", handler, text, nameOf(source),
              ", server ID = ", unsigned{source});
}

void OrvaneServer::cbPVA(const PositionVelocityAttitude& message)
{
    using HandlerFaults::kPVA;
    handle(kPVA, m_settings.m_serverName, [&] {
        if (!isRunning() || !m_inputs.store(message)) return;
        printProcessing(kPVA.name, " : Processing Position Velocity Attitude message received from ",
                        sourceOf(message));
    });
}

void OrvaneServer::cbUTCTime(const UTCTime& message)
{
    using HandlerFaults::kUTCTime;
    handle(kUTCTime, m_settings.m_serverName, [&] {
        if (!isRunning() || !m_inputs.store(message)) return;
        m_time.store(message);
        printProcessing(kUTCTime.name, " : Processing UTC Time message received from ", sourceOf(message));
    });
}

void OrvaneServer::cbHalvexPNT(const HalvexPNT& message)
{
    using HandlerFaults::kHalvexPNT;
    handle(kHalvexPNT, m_settings.m_serverName, [&] {
        if (!isRunning() || !m_inputs.store(message)) return;
        printProcessing(kHalvexPNT.name, " : Processing HalvexPNT message received from ", sourceOf(message));
    });
}

void OrvaneServer::cbMeasurementIncorporationStatus(const MeasurementIncorporationStatus& message)
{
    using HandlerFaults::kMIS;
    handle(kMIS, m_settings.m_serverName, [&] {
        if (!isRunning() || !m_inputs.store(message)) return;
        m_gpsAvailability.storeGpsAvailability(message, [this](std::uint32_t id) { m_warnings.append(id); });
        printProcessing(kMIS.name, " : Processing MeasurementIncorporationStatus message received from ",
                        sourceOf(message));
    });
}

void OrvaneServer::cbAssuranceState(const AssuranceState& message)
{
    using HandlerFaults::kAssuranceState;
    handle(kAssuranceState, m_settings.m_serverName, [&] {
        if (!isRunning() || !m_inputs.store(message)) return;
        printProcessing(kAssuranceState.name, " : Processing AssuranceState message received from ", sourceOf(message));
    });
}

std::span<const std::uint8_t> OrvaneServer::wantedFrame(const GSSIP& message) const
{
    if (!isRunning() || !m_settings.takesFramesOf(sourceOf(message))) return {};
    return gssip::frameIn(message.data(), message.num_bytes());
}

void OrvaneServer::printProcessed(const char* handler, unsigned messageId, const std::string& source,
                                  const GSSIP& message) const
{
    printLine(std::cout, m_settings.m_serverName, ": ", handler, ": Processed GSSIP: ", messageId, " from ", source);
    PrintMessageInHex(gssip::frameIn(message.data(), message.num_bytes()));
}

void OrvaneServer::cbZentorGssip(const GSSIP& message)
{
    using HandlerFaults::kZentorGssip;
    handle(kZentorGssip, m_settings.m_serverName, [&] {
        const auto frame = wantedFrame(message);
        if (frame.empty()) return;
        const auto id = *gssip::messageIdOf(frame);
        const auto source = sourceOf(message);
        if (!m_bus.service()) {
            printProcessed(kZentorGssip.name, id, std::to_string(source), message);
            return;
        }
        if (id == kWarningMessage)
            m_warnings.handleBlock5044(frame.data(), static_cast<unsigned>(frame.size()));
        else if (id == kStatusMessage)
            m_inputs.storeReceiver(message);
        else
            return;
        if (!m_settings.m_quiet) printProcessed(kZentorGssip.name, id, nameOf(source), message);
    });
}

void OrvaneServer::cbHxGssip(const GSSIP& message)
{
    using HandlerFaults::kHxGssip;
    handle(kHxGssip, m_settings.m_serverName, [&] {
        const auto frame = wantedFrame(message);
        if (frame.empty() || gssip::messageIdOf(frame) != kThreatMessage || !m_navWar.take(frame)) return;
        // Only this thread fills the report, so that nothing comes between.
        m_navWar.process();
        if (!m_settings.m_quiet) printProcessed(kHxGssip.name, kThreatMessage, nameOf(sourceOf(message)), message);
    });
}

void OrvaneServer::cbBitReport(const BitReport& report)
{
    handle(HandlerFaults::kBitReport, m_settings.m_serverName, [&] {
        if (isRunning()) m_bitResults.UpdateBitReport(report);
    });
}

void OrvaneServer::cbRsp(const CommandResponse& response)
{
    handle(HandlerFaults::kRsp, m_settings.m_serverName, [&] {
        if (m_state == ReportedState::STOPPED) return;
        const std::string& text = response.command_response();
        const auto source = sourceOf(response);
        const auto commanded = MessageSource::serverOf(response.commanded_device_id());
        if (std::string_view(text).substr(0, text.find(',')) == "PARTNUMBERS")
            m_partNumbers.handlePartNumberResponses(text, source,
                                                    MessageSource::topicOf(response.header().device_id()));

        if (commanded != m_settings.m_serverId) return;
        const std::string& name = m_settings.m_serverName;
        if (!m_settings.m_quiet) {
            printLine(std::cout, name, " : m_serverId = ", unsigned{m_settings.m_serverId},
                      " : sourceId = ", unsigned{source}, ", commandedId = ", unsigned{commanded},
                      ", response string = ", text);
            m_clearDataCommand.dumpStateInfo();
        }
        if (m_clearDataCommand.processClearRequestedResponse(text)) return;
        if (m_clearDataCommand.processClearCompletedResponse(text)) return;
        if (m_settings.m_debug) printLine(std::cout, name, " : no processing for command, ", text);
    });
}

void OrvaneServer::cbCmd(const CommandResponse& command)
{
    handle(HandlerFaults::kCmd, m_settings.m_serverName, [&] {
        if (!isRunning() || command.command_response_type() != kCommand) return;
        const std::string& text = command.command_response();
        if (text == Sys::CommandString::SystemModeLive) {
            ASPN2::TimeCodeHelper::Instance().setLiveMode();
            sendResponse(m_cmdResponse.makeResponse(command, true));
        } else if (text == Sys::CommandString::SystemModeSim) {
            ASPN2::TimeCodeHelper::Instance().setSimMode();
            sendResponse(m_cmdResponse.makeResponse(command, true));
        } else if (text == Sys::CommandString::BitServerPing) {
            sendResponse(m_cmdResponse.makeResponse(command, m_settings.m_serverName));
        } else if (text == "POSTCOMPLETE") {
            if (m_settings.m_debug) printLine(std::cout, "DDS PostComplete Signal Recieved");
        } else if (text == Sys::CommandString::StartSystemZeroize || text == Sys::CommandString::StartSystemDestroy) {
            // From now on clear-data requests are refused. The rest is the worker's: to end the bus service is to wait
            // for its call-backs, and one that sends a command waits, in this process, for this call-back to return.
            m_sanitizeOrders.order();
        }
    });
}

void OrvaneServer::sendResponse(const CommandResponse& response)
{
    if (!m_settings.m_quiet)
        printLine(std::cout, m_settings.m_serverName, ": ", " TOVsec = ", response.header().timestamp_valid().sec(),
                  ", ", response.command_response());
    m_wiring.send(TopicWiring::Topic::Response, response);
}

bool OrvaneServer::sendCommandResponseMessage(const std::string& text)
{
    return m_wiring.send(TopicWiring::Topic::Command, m_cmdResponse.makeCommand(text));
}
