#include "VICTORY/OrvaneServer/OrvaneServer.h"

#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"
#include "utilities/SleepFully.h"

#include <iostream>

using FACE::RETURN_CODE_TYPE;
using FACE::LCM::Halvex::ReportedState;
using FACE::LCM::Halvex::RequestedState;

OrvaneServer::OrvaneServer(const std::string& sensorFile)
    : m_bitResults(sensorFile), m_clearDataCommand(m_serverName), m_victoryFaultHelper(m_serverName)
{
    struct Expected {
        std::uint8_t server;
        std::uint8_t topic;
    };
    constexpr Expected components[] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};
    for (const auto& [server, topic] : components)
        m_partNumberResponses[ASPN2::Components::to_component(server, topic)] = false;
}

OrvaneServer::~OrvaneServer() = default;

void OrvaneServer::Initialize(RETURN_CODE_TYPE::Value& rc)
{
    rc = RETURN_CODE_TYPE::NO_ACTION;
}

void OrvaneServer::Finalize(RETURN_CODE_TYPE::Value& rc)
{
    rc = RETURN_CODE_TYPE::NO_ACTION;
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
        Start();
        m_bitResults.Start();
        Reports::sendEvent(EventTypes::EVENT_INFORMATION, m_serverName + " started successfully.");
        m_state = ReportedState::RUNNING;
    } else if (m_state == ReportedState::RUNNING && requested == RequestedState::STOP) {
        Stop();
        m_bitResults.Stop();
        Reports::sendEvent(EventTypes::EVENT_INFORMATION, m_serverName + " stopped successfully.");
        m_state = ReportedState::STOPPED;
    } else {
        rc = RETURN_CODE_TYPE::NOT_AVAILABLE;
    }
}

void OrvaneServer::Start()
{
    Stop();
    m_workerStop = false;
    m_workerThread = std::thread(&OrvaneServer::workerThreadFunction, this);
    if (m_debug) printLine(std::cout, m_serverName, ": ", "Start", " : Worker thread started.");
}

void OrvaneServer::Stop()
{
    m_workerStop = true;
    const bool hasWorker = m_workerThread.joinable();
    if (hasWorker) m_workerThread.join();
    carryOutSanitizeOrders();  // what came after the last turn
    if (hasWorker && m_debug) printLine(std::cout, m_serverName, ": ", "Stop", " : worker thread stopped.");
}

void OrvaneServer::workerThreadFunction() noexcept
{
    while (!m_workerStop) {
        sleepFully(m_turnPause);
        shielded([this] { workerTurn(); }, [this](const char* what) { reportWorkerException(what); });
    }
}

void OrvaneServer::reportWorkerException(const char* what)
{
    const std::string text = m_serverName + ": workerThreadFunction() EXCEPTION: " + (what ? what : "<unknown>");
    Reports::sendAndPrint(EventTypes::EVENT_FAULT, text);
}

void OrvaneServer::workerTurn()
{
    carryOutSanitizeOrders();
    if (m_testMode) checkForFaultTestEvents();
    attemptBlendedNavigationProcessing();
    processPartNumbers();
    if (m_postCompleteSeen) {
        m_bitResults.cycleCommandedBitStateMachine();
    } else if (Sys::isPostComplete(m_flagDirectory)) {
        m_postCompleteSeen = true;
        performPOSTcomplete();
    }
}

void OrvaneServer::checkForFaultTestEvents()
{
    // The service must not end while a fault is raised in it. After a restart it is another one, without faults.
    const SharedLock gate(m_serviceGate);
    m_victoryFaultHelper.SetAvailableService(m_victoryStarted ? m_service.load() : nullptr);
    if (const auto generation = m_victoryGeneration.load(); generation != m_faultHelperGeneration) {
        m_victoryFaultHelper.forgetFaults(VictoryFaultHelper::APNT);
        m_faultHelperGeneration = generation;
    }
    bool tellDisabled = m_tellDisabled;
    m_victoryFaultHelper.ManageFaults(tellDisabled);
    m_tellDisabled = tellDisabled;
}
