#include "VICTORY/OrvaneServer/OrvaneServer.h"

#include "ASPN/CmdResponseStrings.h"
#include "ASPN/HealthReporter.h"
#include "VICTORY/OrvaneServer/HandlerFaults.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/OrvaneServer/ServerConfigFile.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "utilities/ConsoleLine.h"

#include <iostream>

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::ReportedState;
using FACE::LCM::Halvex::RequestedState;

OrvaneServer::OrvaneServer(const std::string& sensorFile)
    : m_bus(m_settings, busOwner()), m_bitResults(sensorFile), m_clearDataCommand(m_settings.m_serverName),
      m_faultConsole(m_settings.m_serverName, m_bus)
{}

OrvaneServer::~OrvaneServer() = default;

void OrvaneServer::Initialize(RETURN_CODE_TYPE::Value& rc)
{
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void OrvaneServer::Finalize(RETURN_CODE_TYPE::Value& rc)
{
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void OrvaneServer::Configure(const FACE::String& file, RETURN_CODE_TYPE::Value& rc)
{
    Scheduling scheduling;
    bool isComplete = ServerConfigFile::read(file, m_settings, scheduling);
    if (isComplete) prepareCommandedOperations();
    ServerConfigFile::print(m_settings, scheduling);
    if (isComplete) isComplete = scheduling.apply(m_settings.m_serverName);
    rc = isComplete ? RETURN_CODE_TYPE::NO_ERROR : RETURN_CODE_TYPE::INVALID_CONFIG;
}

void OrvaneServer::prepareCommandedOperations()
{
    m_clearDataCommand.setClearDataInProgressTimeout(
        ClearDataCommand::limitedSeconds(m_settings.m_clearDataInProgressTimeoutSeconds));
    m_clearDataCommand.setClearDataRequestTimeout(
        ClearDataCommand::limitedSeconds(m_settings.m_clearDataRequestTimeoutSeconds));
    m_clearDataCommand.setQuiet(!m_settings.m_debug);
    const auto send = [this](const std::string& command) { return sendCommandResponseMessage(command); };
    m_clearDataCommand.setCommandResponseMessageCallback(send);
    m_bitResults.setCommandResponseMessageCallback(send);
    m_clearDataCommand.setSendVDBCompleteWarningCallback(
        [this](ClearDataCommand::ClearDataType type, bool isPassed, const std::string& message) {
            return m_warnings.sendVDBCompleteWarning(type, isPassed, message);
        });
}

void OrvaneServer::Query_State(ReportedState::Value& state, RETURN_CODE_TYPE::Value& rc)
{
    state = static_cast<ReportedState::Value>(m_state.load());
    rc = RETURN_CODE_TYPE::NO_ERROR;
}

void OrvaneServer::Request_State_Transition(RequestedState::Value requested, RETURN_CODE_TYPE::Value& rc)
{
    // The state changes last: until then, what arrives is dropped.
    rc = RETURN_CODE_TYPE::NO_ERROR;
    if (m_state == ReportedState::STOPPED && requested == RequestedState::START) {
        m_sanitizeOrders.begin();
        Start();
        m_bitResults.Start();
        Reports::sendEvent(EventTypes::EVENT_INFORMATION, m_settings.m_serverName + " started successfully.");
        m_state = ReportedState::RUNNING;
    } else if (m_state == ReportedState::RUNNING && requested == RequestedState::STOP) {
        Stop();
        m_bitResults.Stop();
        Reports::sendEvent(EventTypes::EVENT_INFORMATION, m_settings.m_serverName + " stopped successfully.");
        m_state = ReportedState::STOPPED;
        m_sanitizeOrders.end();
    } else {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    }
}

std::vector<const ThreadPulse*> OrvaneServer::threads() const
{
    return {&m_workerPulse, m_queuePulse.get(), &HealthReporter::Instance().pulse()};
}

void OrvaneServer::Start()
{
    Stop();
    m_workerStop.clear();
    m_workerThread = std::thread(&OrvaneServer::workerThreadFunction, this);
    if (m_settings.m_debug) printLine(std::cout, m_settings.m_serverName, ": ", "Start", " : Worker thread started.");
}

void OrvaneServer::Stop()
{
    m_workerStop.set();
    if (!m_workerThread.joinable()) return;
    m_workerThread.join();
    if (m_settings.m_debug) printLine(std::cout, m_settings.m_serverName, ": ", "Stop", " : worker thread stopped.");
}

void OrvaneServer::workerThreadFunction() noexcept
{
    while (!m_workerStop.isSet()) {
        m_workerPulse.turn();
        m_workerStop.pauseFor(m_turnPause);
        HandlerFaults::handle(HandlerFaults::kWorker, m_settings.m_serverName, [this] { workerTurn(); });
    }
    m_workerPulse.rest();
}

void OrvaneServer::workerTurn()
{
    carryOutSanitizeOrders();
    if (m_settings.m_testMode) checkForFaultTestEvents();
    attemptBlendedNavigationProcessing();
    m_partNumbers.processPartNumbers(
        m_postCompleteSeen, [this](const std::string& command) { return sendCommandResponseMessage(command); });
    if (m_postCompleteSeen) {
        m_bitResults.cycleCommandedBitStateMachine();
    } else if (Sys::isPostComplete(m_settings.m_flagDirectory)) {
        m_postCompleteSeen = true;
        performPOSTcomplete();
    }
}

void OrvaneServer::carryOutSanitizeOrders()
{
    // Each may wait for call-backs of the library, and ten may come at once: an order counts as a turn.
    m_sanitizeOrders.carryOut(
        m_workerStop.isSet(),
        [this] {
            m_workerPulse.turn();
            sanitize();
        },
        [this](const char* what) { HandlerFaults::report(HandlerFaults::kCmd, m_settings.m_serverName, what); });
}

void OrvaneServer::sanitize()
{
    constexpr unsigned long kSilentPeriodMs = 4294967295UL;
    if (!updateVDMdataRate(kSilentPeriodMs))
        Reports::sendEvent(EventTypes::EVENT_FAULT,
                           m_settings.m_serverName + ": Could not reduce VDM data rates during sanitize operation!");
    m_partNumbers.wipeConfiguration();
}

void OrvaneServer::checkForFaultTestEvents()
{
    m_faultConsole.turn();
}
