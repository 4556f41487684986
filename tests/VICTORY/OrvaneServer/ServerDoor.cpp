#include "tests/VICTORY/OrvaneServer/ServerDoor.h"

#include "ASPN/HealthReporter.h"
#include "face/FACE_Text.h"

#include <array>
#include <utility>

/// The server with its parts open to the door alone.
class ServerDoor::Server : public OrvaneServer {
public:
    Server(ServerDoor& door, const std::string& sensorFile) : OrvaneServer(sensorFile), m_door(door) {}

    void checkForFaultTestEvents() override
    {
        m_door.onFaultTest ? m_door.onFaultTest() : OrvaneServer::checkForFaultTestEvents();
    }
    void attemptBlendedNavigationProcessing() override
    {
        m_door.onBlendedNavigation ? m_door.onBlendedNavigation() : OrvaneServer::attemptBlendedNavigationProcessing();
    }

    std::array<long long*, 10> connectionIds()
    {
        return {&m_bitReportId, &m_commandId, &m_responseId,       &m_pvaId,      &m_utcTimeId,
                &m_halvexPNTId, &m_misId,     &m_assuranceStateId, &m_eventLogId, &m_maintenanceEventId};
    }

private:
    friend class ServerDoor;
    friend class ServerDoor::Library;

    ServerDoor& m_door;

    static_assert(noexcept(cbSaveVclidCallback(nullptr, nullptr, nullptr)));
    static_assert(noexcept(cbTellNavWarSaCallback(nullptr, nullptr)));
    static_assert(noexcept(cbTellWarningMessagesCallback(nullptr, nullptr)));
    static_assert(noexcept(cbClearSystemDataCallback(nullptr, nullptr, nullptr)));
    static_assert(noexcept(cbTellSystemConfigurationCallback(nullptr, nullptr)));
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

ServerDoor::Settings ServerDoor::settings() const
{
    return {.systemName = FACE::textOf(m_server->m_systemName),
            .configurationName = FACE::textOf(m_server->m_configurationName),
            .connectionsFile = FACE::textOf(m_server->m_connectionsFile),
            .ioDevicesFile = FACE::textOf(m_server->m_ioDevicesFile),
            .debug = m_server->m_debug,
            .quiet = m_server->m_quiet,
            .testMode = m_server->m_testMode,
            .utcSource = m_server->m_utcSourceServerId,
            .pvaSource = m_server->m_pvaSourceServerId,
            .misSource = m_server->m_misSourceServerId,
            .pntSource = m_server->m_fusionPNTSourceServerId,
            .gssipSourceList = FACE::textOf(m_server->m_gssipSourceServerSet),
            .gssipSources = m_server->m_gssipSourceServers,
            .clearDataRequestSeconds = m_server->m_clearDataRequestTimeoutSeconds,
            .clearDataInProgressSeconds = m_server->m_clearDataInProgressTimeoutSeconds,
            .bitTimeoutSeconds = m_server->m_BITtimeoutSeconds,
            .busConfigurationFile = m_server->m_victoryConfigurationFile,
            .vclFile = m_server->m_vclFile,
            .flagDirectory = m_server->m_flagDirectory,
            .allOutputs = m_server->m_allOutputs};
}

void ServerDoor::change(const std::function<void(Settings&)>& how)
{
    auto settings = this->settings();
    how(settings);
    m_server->m_systemName = settings.systemName.c_str();
    m_server->m_configurationName = settings.configurationName.c_str();
    m_server->m_connectionsFile = settings.connectionsFile.c_str();
    m_server->m_ioDevicesFile = settings.ioDevicesFile.c_str();
    m_server->m_debug = settings.debug;
    m_server->m_quiet = settings.quiet;
    m_server->m_testMode = settings.testMode;
    m_server->m_utcSourceServerId = settings.utcSource;
    m_server->m_pvaSourceServerId = settings.pvaSource;
    m_server->m_misSourceServerId = settings.misSource;
    m_server->m_fusionPNTSourceServerId = settings.pntSource;
    m_server->m_gssipSourceServerSet = settings.gssipSourceList.c_str();
    m_server->m_gssipSourceServers = settings.gssipSources;
    m_server->m_clearDataRequestTimeoutSeconds = settings.clearDataRequestSeconds;
    m_server->m_clearDataInProgressTimeoutSeconds = settings.clearDataInProgressSeconds;
    m_server->m_BITtimeoutSeconds = settings.bitTimeoutSeconds;
    m_server->m_victoryConfigurationFile = settings.busConfigurationFile;
    m_server->m_vclFile = settings.vclFile;
    m_server->m_flagDirectory = settings.flagDirectory;
    m_server->m_allOutputs = settings.allOutputs;
}

void ServerDoor::setQuiet(bool isQuiet)
{
    m_server->m_quiet = isQuiet;
}

void ServerDoor::setDebug(bool isDebug)
{
    m_server->m_debug = isDebug;
}

void ServerDoor::useBusFiles(const std::string& configuration, const std::string& vcl)
{
    m_server->m_victoryConfigurationFile = configuration;
    m_server->m_vclFile = vcl;
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

void ServerDoor::measure(const aspn2_msgs::idl::MeasurementIncorporationStatus& message)
{
    m_server->storeGpsAvailability(message);
}

void ServerDoor::useTransport(std::shared_ptr<FACE::TSS::HX_TSS> transport, long long firstId)
{
    m_server->m_tss = std::move(transport);
    for (auto* const id : m_server->connectionIds()) *id = firstId++;
}

bool ServerDoor::hasTransport() const
{
    return m_server->m_tss != nullptr;
}

bool ServerDoor::sendCommand(const std::string& text)
{
    return m_server->sendCommandResponseMessage(text);
}

void ServerDoor::turn()
{
    m_server->workerTurn();
}

std::chrono::milliseconds ServerDoor::turnPause() const
{
    return m_server->m_turnPause;
}

void ServerDoor::setTurnPause(std::chrono::milliseconds pause)
{
    m_server->m_turnPause = pause;
}

std::thread::id ServerDoor::worker() const
{
    return m_server->m_workerThread.get_id();
}

void ServerDoor::sanitize()
{
    m_server->carryOutSanitizeOrders();
}

bool ServerDoor::isSanitizeRequested() const
{
    return m_server->m_sanitizeRequested;
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
    return m_server->m_victoryStarted;
}

VapntsService* ServerDoor::busService() const
{
    return m_server->m_service;
}

ServerDoor::Library ServerDoor::library() const
{
    return {static_cast<OrvaneServer*>(m_server.get()), m_server->m_service};
}

unsigned ServerDoor::libraryPrints(const char* text, unsigned length)
{
    return m_server->logMaintenanceEvent(text, length);
}

void ServerDoor::offerBuiltInTests()
{
    m_server->performPOSTcomplete();
}

void ServerDoor::setTellDisabled(bool isDisabled)
{
    m_server->m_tellDisabled = isDisabled;
}

bool ServerDoor::isTellDisabled() const
{
    return m_server->m_tellDisabled;
}

void ServerDoor::takeFaultKey()
{
    bool tellDisabled = m_server->m_tellDisabled;
    m_server->m_victoryFaultHelper.ManageFaults(tellDisabled);
    m_server->m_tellDisabled = tellDisabled;
}

std::set<ServerDoor::Input> ServerDoor::newInputs() const
{
    const MutexLock lock(m_server->m_navDataMutex);
    std::set<Input> inputs;
    if (m_server->m_hasUTCTime) inputs.insert(Input::UtcTime);
    if (m_server->m_hasPVA) inputs.insert(Input::Pva);
    if (m_server->m_hasFusionPNT) inputs.insert(Input::Pnt);
    if (m_server->m_hasMIS) inputs.insert(Input::Mis);
    if (m_server->m_hasAssuranceState) inputs.insert(Input::Assurance);
    if (m_server->m_has8504) inputs.insert(Input::Receiver);
    return inputs;
}

aspn2_msgs::idl::PositionVelocityAttitude ServerDoor::latestPva() const
{
    const MutexLock lock(m_server->m_navDataMutex);
    return m_server->m_pva;
}

aspn2_msgs::idl::GSSIP ServerDoor::latestReceiverRecord() const
{
    const MutexLock lock(m_server->m_navDataMutex);
    return m_server->m_8504;
}

aspn2_msgs::idl::UTCTime ServerDoor::latestTime() const
{
    const MutexLock lock(m_server->m_timeMutex);
    return m_server->m_latestTime;
}

bool ServerDoor::isGpsLost() const
{
    return m_server->m_gpsLost;
}

void ServerDoor::whileTimeIsHeld(const std::function<void()>& action)
{
    const MutexLock lock(m_server->m_timeMutex);
    action();
}

const VapntcMeasSource* ServerDoor::encodeVictoryMeasSource(unsigned short id) const
{
    return m_server->encodeVictoryMeasSource(id);
}

std::vector<VapntcNavWarSaThreat> ServerDoor::threats() const
{
    const MutexLock lock(m_server->m_threatListMutex);
    return {m_server->m_threats.begin(), m_server->m_threats.end()};
}

void ServerDoor::processThreatReport()
{
    m_server->attemptNavWarSaProcessing();
}

bool ServerDoor::encodeVictoryNavWarSA()
{
    const MutexLock lock(m_server->m_threatDataMutex);
    return m_server->encodeVictoryNavWarSA();
}

std::vector<VapntcWarningMessage> ServerDoor::warnings() const
{
    const MutexLock lock(m_server->m_warningListMutex);
    return {m_server->m_warnings.begin(), m_server->m_warnings.end()};
}

bool ServerDoor::warn(const VapntcWarningMessage& warning)
{
    return m_server->appendWarningToList(warning);
}

bool ServerDoor::warn(const std::string& text)
{
    return m_server->sendVDBcustomWarning(text);
}

bool ServerDoor::warnOfEnd(ClearDataCommand::ClearDataType type, bool isPassed, const std::string& text)
{
    return m_server->sendVDBCompleteWarning(type, isPassed, text);
}

std::uint32_t ServerDoor::encodeVictoryWarningId(unsigned short number) const
{
    return m_server->encodeVictoryWarningId(number);
}

VapntcSystemConfiguration ServerDoor::configuration() const
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    return m_server->m_systemConfiguration;
}

void ServerDoor::changeConfiguration(const std::function<void(VapntcSystemConfiguration&)>& how)
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    how(m_server->m_systemConfiguration);
}

void ServerDoor::setConfigurationHead(const std::string& name, const std::string& serialNumber,
                                      const std::string& software, const std::string& hardware,
                                      const std::string& manufacturerCode)
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    m_server->updateSystemConfiguration(name, serialNumber, software, hardware, manufacturerCode);
}

void ServerDoor::wipeConfiguration()
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    m_server->clearApntConfiguration();
}

bool ServerDoor::updateComponentConfiguration(int index, const std::string& id, const std::string& name,
                                              const std::string& serialNumber, const std::string& software,
                                              const std::string& hardware)
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    return m_server->updateComponentConfiguration(index, id, name, serialNumber, software, hardware);
}

int ServerDoor::findAndClearComponentConfiguration(const std::string& id, const std::string& name)
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    return m_server->findAndClearComponentConfigurationByIdAndName(id, name);
}

ServerDoor::PartNumbers ServerDoor::partNumbers() const
{
    const MutexLock lock(m_server->m_apntConfigurationMutex);
    return {.isRequestDue = m_server->m_requestPartNumbers,
            .isComplete = m_server->m_partNumbersComplete,
            .answered = m_server->m_partNumberResponses};
}

void ServerDoor::partNumberTurn()
{
    m_server->processPartNumbers();
}

void ServerDoor::setPartNumberRequestDue(bool isDue)
{
    m_server->m_requestPartNumbers = isDue;
}

void ServerDoor::setPartNumbersComplete()
{
    const MutexLock lock(m_server->m_partNumberMutex);
    m_server->m_partNumbersComplete = true;
    m_server->m_partNumbersArrived.notify_all();
}

bool ServerDoor::awaitPartNumbers(int seconds)
{
    return m_server->waitForPartNumberResponses(seconds);
}

void ServerDoor::wakeThoseWhoAwaitPartNumbers()
{
    m_server->m_partNumbersArrived.notify_all();
}

void ServerDoor::setPartNumberClock(Clock::time_point (*now)())
{
    m_server->m_steadyNow = now;
}

bool ServerDoor::isSelfTestOver() const
{
    return m_server->m_postCompleteSeen;
}

void ServerDoor::setSelfTestOver()
{
    m_server->m_postCompleteSeen = true;
}

bool ServerDoor::processClearDataRequest(VapntcSystemData* data)
{
    return m_server->processClearDataRequest(m_server->m_service, data);
}

OrvaneBitResults& ServerDoor::builtInTests()
{
    return m_server->m_bitResults;
}

ClearDataCommand& ServerDoor::clearData()
{
    return m_server->m_clearDataCommand;
}

std::string popHealthEvent()
{
    std::int32_t type = -1;
    std::string text;
    if (!HealthReporter::Instance().queue().pop_front(type, text, std::chrono::nanoseconds(0))) return "none";
    return std::to_string(type) + ":" + text;
}

std::vector<std::string> popHealthEvents()
{
    std::vector<std::string> events;
    for (auto event = popHealthEvent(); event != "none"; event = popHealthEvent()) events.push_back(event);
    return events;
}
