#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

/// The server with what its derived classes may use in the open.
struct ServerDoor::Server : OrvaneServer {
    Server(ServerDoor& door, const std::string& sensorFile) : OrvaneServer(sensorFile), m_door(door) {}

    void checkForFaultTestEvents() override
    {
        m_door.onFaultTest ? m_door.onFaultTest() : OrvaneServer::checkForFaultTestEvents();
    }
    void attemptBlendedNavigationProcessing() override
    {
        m_door.onBlendedNavigation ? m_door.onBlendedNavigation() : OrvaneServer::attemptBlendedNavigationProcessing();
    }

    using OrvaneServer::cbAssuranceState;
    using OrvaneServer::cbBitReport;
    using OrvaneServer::cbClearSystemDataCallback;
    using OrvaneServer::cbCmd;
    using OrvaneServer::cbHalvexPNT;
    using OrvaneServer::cbHxGssip;
    using OrvaneServer::cbMeasurementIncorporationStatus;
    using OrvaneServer::cbPVA;
    using OrvaneServer::cbRsp;
    using OrvaneServer::cbSaveVclidCallback;
    using OrvaneServer::cbTellNavWarSaCallback;
    using OrvaneServer::cbTellSystemConfigurationCallback;
    using OrvaneServer::cbTellWarningMessagesCallback;
    using OrvaneServer::cbUTCTime;
    using OrvaneServer::cbZentorGssip;
    using OrvaneServer::InitializeVictory;
    using OrvaneServer::logMaintenanceEvent;
    using OrvaneServer::m_bitResults;
    using OrvaneServer::m_bus;
    using OrvaneServer::m_clearDataCommand;
    using OrvaneServer::m_inputs;
    using OrvaneServer::m_navWar;
    using OrvaneServer::m_partNumbers;
    using OrvaneServer::m_postCompleteSeen;
    using OrvaneServer::m_sanitizeOrders;
    using OrvaneServer::m_settings;
    using OrvaneServer::m_state;
    using OrvaneServer::m_turnPause;
    using OrvaneServer::m_warnings;
    using OrvaneServer::m_workerThread;
    using OrvaneServer::performPOSTcomplete;
    using OrvaneServer::processClearDataRequest;
    using OrvaneServer::sendCommandResponseMessage;
    using OrvaneServer::ShutdownVictory;
    using OrvaneServer::updateVDMdataRate;
    using OrvaneServer::workerTurn;

    static_assert(noexcept(OrvaneServer::cbSaveVclidCallback(nullptr, nullptr, nullptr)));
    static_assert(noexcept(OrvaneServer::cbTellNavWarSaCallback(nullptr, nullptr)));
    static_assert(noexcept(OrvaneServer::cbTellWarningMessagesCallback(nullptr, nullptr)));
    static_assert(noexcept(OrvaneServer::cbClearSystemDataCallback(nullptr, nullptr, nullptr)));
    static_assert(noexcept(OrvaneServer::cbTellSystemConfigurationCallback(nullptr, nullptr)));

    ServerDoor& m_door;
};

int ServerDoor::Library::saveVcl(const char* text) const
{
    return Server::cbSaveVclidCallback(m_context, m_service, text);
}

void ServerDoor::Library::tellThreats() const
{
    Server::cbTellNavWarSaCallback(m_context, m_service);
}

void ServerDoor::Library::tellWarnings() const
{
    Server::cbTellWarningMessagesCallback(m_context, m_service);
}

int ServerDoor::Library::clearSystemData(VapntcSystemData* data) const
{
    return Server::cbClearSystemDataCallback(m_context, m_service, data);
}

void ServerDoor::Library::tellConfiguration() const
{
    Server::cbTellSystemConfigurationCallback(m_context, m_service);
}

ServerDoor::ServerDoor(const std::string& sensorFile) : m_server(std::make_unique<Server>(*this, sensorFile)) {}

ServerDoor::~ServerDoor() = default;

OrvaneServer& ServerDoor::operator*() const
{
    return *m_server;
}

OrvaneServer* ServerDoor::operator->() const
{
    return m_server.get();
}

ServerSettings& ServerDoor::settings() const
{
    return m_server->m_settings;
}

void ServerDoor::useBusFiles(const std::string& configuration, const std::string& vcl)
{
    m_server->m_settings.m_victoryConfigurationFile = configuration;
    m_server->m_settings.m_vclFile = vcl;
}

void ServerDoor::run()
{
    m_server->m_state = FACE::LCM::Halvex::ReportedState::RUNNING;
}

void ServerDoor::halt()
{
    m_server->m_state = FACE::LCM::Halvex::ReportedState::STOPPED;
}

void ServerDoor::deliver(const aspn2_msgs::idl::UTCTime& message)
{
    m_server->cbUTCTime(message);
}

void ServerDoor::deliver(const aspn2_msgs::idl::PositionVelocityAttitude& message)
{
    m_server->cbPVA(message);
}

void ServerDoor::deliver(const aspn2_msgs::idl::HalvexPNT& message)
{
    m_server->cbHalvexPNT(message);
}

void ServerDoor::deliver(const aspn2_msgs::idl::MeasurementIncorporationStatus& message)
{
    m_server->cbMeasurementIncorporationStatus(message);
}

void ServerDoor::deliver(const aspn2_msgs::idl::AssuranceState& message)
{
    m_server->cbAssuranceState(message);
}

void ServerDoor::deliver(const aspn2_msgs::idl::BitReport& report)
{
    m_server->cbBitReport(report);
}

void ServerDoor::fromReceiver(const aspn2_msgs::idl::GSSIP& record)
{
    m_server->cbZentorGssip(record);
}

void ServerDoor::toReceiver(const aspn2_msgs::idl::GSSIP& record)
{
    m_server->cbHxGssip(record);
}

void ServerDoor::command(const aspn2_msgs::idl::CommandResponse& message)
{
    m_server->cbCmd(message);
}

void ServerDoor::response(const aspn2_msgs::idl::CommandResponse& message)
{
    m_server->cbRsp(message);
}

void ServerDoor::collectPartNumbers()
{
    const auto turn = [this] {
        m_server->m_partNumbers.processPartNumbers(true, [](const std::string&) { return true; });
    };
    turn();
    constexpr unsigned char kSources[][2] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};
    for (const auto& [server, topic] : kSources)
        m_server->m_partNumbers.handlePartNumberResponses("PARTNUMBERS", server, topic);
    turn();
}

bool ServerDoor::sendCommand(const std::string& text)
{
    return m_server->sendCommandResponseMessage(text);
}

void ServerDoor::turn()
{
    m_server->workerTurn();
}

std::chrono::milliseconds& ServerDoor::turnPause()
{
    return m_server->m_turnPause;
}

std::thread::id ServerDoor::worker() const
{
    return m_server->m_workerThread.get_id();
}

bool ServerDoor::isSelfTestOver() const
{
    return m_server->m_postCompleteSeen;
}

bool ServerDoor::startBus(const char* vclText)
{
    return m_server->InitializeVictory(vclText);
}

bool ServerDoor::stopBus()
{
    return m_server->ShutdownVictory();
}

bool ServerDoor::restartBus(unsigned long periodMs)
{
    return m_server->updateVDMdataRate(periodMs);
}

bool ServerDoor::busRuns() const
{
    return m_server->m_bus.isStarted();
}

VapntsService* ServerDoor::busService() const
{
    return m_server->m_bus.service();
}

ServerDoor::Library ServerDoor::busLibrary() const
{
    return {static_cast<OrvaneServer*>(m_server.get()), busService()};
}

unsigned ServerDoor::libraryPrints(const char* text, unsigned length)
{
    return m_server->logMaintenanceEvent(text, length);
}

void ServerDoor::offerBuiltInTests()
{
    m_server->performPOSTcomplete();
}

bool ServerDoor::processClearDataRequest(VapntcSystemData* data)
{
    return m_server->processClearDataRequest(busService(), data);
}

const NavInputs& ServerDoor::inputs() const
{
    return m_server->m_inputs;
}

std::vector<VapntcNavWarSaThreat> ServerDoor::threats() const
{
    return m_server->m_navWar.list();
}

std::vector<VapntcWarningMessage> ServerDoor::warnings() const
{
    return m_server->m_warnings.list();
}

bool ServerDoor::isSanitizeRequested() const
{
    return m_server->m_sanitizeOrders.isRequested();
}

OrvaneBitResults& ServerDoor::builtInTests()
{
    return m_server->m_bitResults;
}

ClearDataCommand& ServerDoor::clearData()
{
    return m_server->m_clearDataCommand;
}
