#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include <stdexcept>
#include <utility>

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

    using OrvaneServer::cbClearSystemDataCallback;
    using OrvaneServer::cbCmd;
    using OrvaneServer::cbHxGssip;
    using OrvaneServer::cbRsp;
    using OrvaneServer::cbSaveVclidCallback;
    using OrvaneServer::cbTellNavWarSaCallback;
    using OrvaneServer::cbTellSystemConfigurationCallback;
    using OrvaneServer::cbTellWarningMessagesCallback;
    using OrvaneServer::cbZentorGssip;
    using OrvaneServer::logMaintenanceEvent;
    using OrvaneServer::m_bitResults;
    using OrvaneServer::m_bus;
    using OrvaneServer::m_clearDataCommand;
    using OrvaneServer::m_navWar;
    using OrvaneServer::m_partNumbers;
    using OrvaneServer::m_sanitizeOrders;
    using OrvaneServer::m_settings;
    using OrvaneServer::m_turnPause;
    using OrvaneServer::m_warnings;
    using OrvaneServer::m_workerStop;
    using OrvaneServer::processClearDataRequest;
    using OrvaneServer::workerTurn;

    void take(const UTCTime& message) { cbUTCTime(message); }
    void take(const PositionVelocityAttitude& message) { cbPVA(message); }
    void take(const HalvexPNT& message) { cbHalvexPNT(message); }
    void take(const MeasurementIncorporationStatus& message) { cbMeasurementIncorporationStatus(message); }
    void take(const AssuranceState& message) { cbAssuranceState(message); }
    void take(const BitReport& report) { cbBitReport(report); }

    void transition(FACE::LCM::Halvex::RequestedState::Value requested)
    {
        auto rc = FACE::RETURN_CODE_TYPE::NOT_AVAILABLE;
        Request_State_Transition(requested, rc);
        if (rc != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::logic_error("the server is in that state");
    }

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

ServerDoor::ServerDoor(const std::string& sensorFile) : m_server(std::make_unique<Server>(*this, sensorFile))
{
    settings().m_victoryConfigurationFile = "config";
    settings().m_vclFile = "vcl";
}

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

void ServerDoor::run()
{
    const auto pause = std::exchange(m_server->m_turnPause, std::chrono::milliseconds(0));
    m_server->transition(FACE::LCM::Halvex::RequestedState::START);
    m_server->Stop();
    m_server->m_turnPause = pause;
}

void ServerDoor::halt()
{
    m_server->transition(FACE::LCM::Halvex::RequestedState::STOP);
}

template <class Message>
void ServerDoor::deliver(const Message& message)
{
    m_server->take(message);
}

template void ServerDoor::deliver(const aspn2_msgs::idl::UTCTime&);
template void ServerDoor::deliver(const aspn2_msgs::idl::PositionVelocityAttitude&);
template void ServerDoor::deliver(const aspn2_msgs::idl::HalvexPNT&);
template void ServerDoor::deliver(const aspn2_msgs::idl::MeasurementIncorporationStatus&);
template void ServerDoor::deliver(const aspn2_msgs::idl::AssuranceState&);
template void ServerDoor::deliver(const aspn2_msgs::idl::BitReport&);

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

void ServerDoor::turn()
{
    m_server->m_workerStop.clear();  // as the worker finds it, which orders to sanitize look at
    m_server->workerTurn();
}

std::chrono::milliseconds& ServerDoor::turnPause()
{
    return m_server->m_turnPause;
}

BusService& ServerDoor::bus() const
{
    return m_server->m_bus;
}

ServerDoor::Library ServerDoor::busLibrary() const
{
    return {static_cast<OrvaneServer*>(m_server.get()), bus().service()};
}

unsigned ServerDoor::libraryPrints(const char* text, unsigned length)
{
    return m_server->logMaintenanceEvent(text, length);
}

bool ServerDoor::processClearDataRequest(VapntcSystemData* data)
{
    return m_server->processClearDataRequest(bus().service(), data);
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
