#include "ASPN/HealthReporter.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/OrvaneServer/BuildInfo.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "face/FACE_Text.h"
#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "face/HX_TSS.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "platform/FPGA.h"
#include "utilities/ConsoleLine.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <sstream>

using FACE::RETURN_CODE_TYPE;

namespace {

constexpr long long kNoTimeout = -1;

/// A call-back of the transport that hands the message to a member of the server.
template <class Server, class Message>
FACE::TSS::Read_Callback<Message> callTo(Server* server, void (Server::*handler)(const Message&))
{
    return [server, handler](long long, long long, const Message& message, const FACE::TSS::HEADER_TYPE&,
                             const FACE::Sequence<FACE::TSS::QoS_Element>&,
                             RETURN_CODE_TYPE::Value&) { (server->*handler)(message); };
}

/// A result that says so unless an operation sets it.
constexpr auto kUntried = RETURN_CODE_TYPE::NO_ACTION;

struct Registration {
    const char* label;
    RETURN_CODE_TYPE::Value result = kUntried;
};

using Registrations = std::array<Registration, 10>;

bool isComplete(const Registrations& registrations)
{
    return std::all_of(registrations.begin(), registrations.end(),
                       [](const auto& registration) { return registration.result == RETURN_CODE_TYPE::NO_ERROR; });
}

void print(const Registrations& registrations)
{
    std::ostringstream text;
    text << "Error from Register_Callback or Register_Sender calls:\n";
    for (const auto& registration : registrations) text << registration.label << registration.result << '\n';
    std::cout << text.str() << std::flush;
}

}  // namespace

/// The connections in the order of their making, which is that of their ending too.
struct OrvaneServer::ConnectionRow {
    const char* name;
    long long OrvaneServer::*id;
    bool isTold;  // when it can't be made
};

const std::array<OrvaneServer::ConnectionRow, 10>& OrvaneServer::connectionRows()
{
    static constexpr std::array<ConnectionRow, 10> rows = {
        {{"BitReport", &OrvaneServer::m_bitReportId, true},
         {"Command", &OrvaneServer::m_commandId, true},
         {"Response", &OrvaneServer::m_responseId, true},
         {"PositionVelocityAttitude", &OrvaneServer::m_pvaId, true},
         {"UTCTime", &OrvaneServer::m_utcTimeId, true},
         {"HalvexPNT", &OrvaneServer::m_halvexPNTId, true},
         {"MeasurementIncorporationStatus", &OrvaneServer::m_misId, true},
         {"AssuranceState", &OrvaneServer::m_assuranceStateId, true},
         {"EventLog", &OrvaneServer::m_eventLogId, true},
         {"MaintenanceEvent", &OrvaneServer::m_maintenanceEventId, false}}};
    return rows;
}

OrvaneServer::ReporterGuard::~ReporterGuard()
{
    if (!started) return;
    FpgaFace::Instance().DoneFpga();
    HealthReporter::Instance().DoneHealthReporter();
    PCSMaintReporter::Instance().DoneMaintReporter();
}

void OrvaneServer::Framework_Connect(const FACE::String&, RETURN_CODE_TYPE::Value& rc)
{
    auto code = RETURN_CODE_TYPE::NO_ERROR;
    const auto configuration = std::make_shared<FACE::HX_Config>();
    m_tss = std::make_shared<FACE::TSS::HX_TSS>(m_serverName);
    m_tss->Set_Reference(FACE::String(), configuration, 0, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) m_tss->Initialize(m_connectionsFile, code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) createConnections(code);
    if (code == RETURN_CODE_TYPE::NO_ERROR) {
        makeTransports();
        registerCallbacks(code);
    }

    // Whatever became of the transport, devices and bus are connected as far as they can be.
    const bool hasDevices = connectDevices();
    if (hasDevices && code == RETURN_CODE_TYPE::NO_ERROR) startPlatform();
    const bool hasVictory = InitializeVictory(nullptr);
    m_victoryFaultHelper.SetAvailableService(m_victoryStarted ? m_service.load() : nullptr);
    rc = code == RETURN_CODE_TYPE::NO_ERROR && hasDevices && hasVictory ? RETURN_CODE_TYPE::NO_ERROR
                                                                        : RETURN_CODE_TYPE::INVALID_CONFIG;
}

void OrvaneServer::createConnections(RETURN_CODE_TYPE::Value& code)
{
    bool isComplete = true;
    for (const auto& row : connectionRows()) {
        auto result = kUntried;
        int maxMessageSize = -1;
        m_tss->Create_Connection(FACE::String(row.name), kNoTimeout, this->*row.id, maxMessageSize, result);
        if (result == RETURN_CODE_TYPE::NO_ERROR) continue;
        isComplete = false;
        if (row.isTold)
            printLine(std::cout, Reports::location(), "Framework_Connect: Error connecting to ", row.name, "Topic");
    }
    if (!isComplete) code = RETURN_CODE_TYPE::INVALID_CONFIG;
}

void OrvaneServer::makeTransports()
{
    const auto make = [this]<class T>(Transport<T>& transport) {
        transport = std::make_shared<FACE::TSS::Details::HX_TypedTS<T>>();
        auto ignored = RETURN_CODE_TYPE::NO_ERROR;
        transport->Set_Reference(FACE::String(), m_tss, 0, ignored);
    };
    make(m_bitReportTS);
    make(m_commandResponseTS);
    make(m_pvaTS);
    make(m_utcTimeTS);
    make(m_misTS);
    make(m_halvexPNTTS);
    make(m_assuranceStateTS);
    make(m_eventLogTS);
    make(m_maintenanceEventTS);
}

void OrvaneServer::registerCallbacks(RETURN_CODE_TYPE::Value& code)
{
    Registrations registrations = {{{"bit_rcv = "},
                                    {"cmdRsp_rcv = "},
                                    {"cmdRsp_rcv2 = "},
                                    {"rsp_rcv = "},
                                    {"rsp_rcv2 = "},
                                    {"pva_rcv = "},
                                    {"utcTime_rcv = "},
                                    {"MIS_rcv = "},
                                    {"hxPNT_rcv = "},
                                    {"AssuranceState_rcv = "}}};
    auto next = registrations.begin();
    const auto receive = [&](auto& transport, long long id, auto handler) {
        transport->Register_Callback(id, callTo(this, handler), (next++)->result);
    };
    receive(m_bitReportTS, m_bitReportId, &OrvaneServer::cbBitReport);
    receive(m_commandResponseTS, m_commandId, &OrvaneServer::cbCmd);
    m_commandResponseTS->Register_Sender(m_commandId, (next++)->result);
    receive(m_commandResponseTS, m_responseId, &OrvaneServer::cbRsp);
    m_commandResponseTS->Register_Sender(m_responseId, (next++)->result);
    receive(m_pvaTS, m_pvaId, &OrvaneServer::cbPVA);
    receive(m_utcTimeTS, m_utcTimeId, &OrvaneServer::cbUTCTime);
    receive(m_misTS, m_misId, &OrvaneServer::cbMeasurementIncorporationStatus);
    receive(m_halvexPNTTS, m_halvexPNTId, &OrvaneServer::cbHalvexPNT);
    receive(m_assuranceStateTS, m_assuranceStateId, &OrvaneServer::cbAssuranceState);

    if (isComplete(registrations)) return;
    print(registrations);
    code = RETURN_CODE_TYPE::INVALID_CONFIG;
}

bool OrvaneServer::connectDevices()
{
    m_gssipMcsq = std::make_shared<GssipMcsq>(m_serverName);
    m_devmem = std::make_shared<FACE::IOSS::HX_Devmem>();
    auto memory = RETURN_CODE_TYPE::NO_ERROR;
    m_devmem->Set_Reference(FACE::String(), std::make_shared<FACE::HX_Config>(), 0, memory);
    if (memory != RETURN_CODE_TYPE::NO_ERROR) return false;
    m_devmem->Initialize(m_ioDevicesFile, memory);

    auto fromReceiver = kUntried;
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "ZEN_HX", [this](const GSSIP& message) { cbZentorGssip(message); }, fromReceiver);
    auto toReceiver = kUntried;
    m_gssipMcsq->Connect_ReadOnly(
        m_ioDevicesFile, "HX_ZEN", [this](const GSSIP& message) { cbHxGssip(message); }, toReceiver);
    return memory == RETURN_CODE_TYPE::NO_ERROR && fromReceiver == RETURN_CODE_TYPE::NO_ERROR &&
           toReceiver == RETURN_CODE_TYPE::NO_ERROR;
}

void OrvaneServer::startPlatform()
{
    m_deviceIdFactory.reset(FACE::textOf(m_systemName).c_str(), m_serverId);
    m_cmdResponse.reset(m_deviceIdFactory);

    m_reporters.started = true;
    FpgaFace::Instance().InitFpga(m_devmem);
    auto& health = HealthReporter::Instance();
    health.InitHealthReporter(m_serverName, m_deviceIdFactory, m_eventLogTS, m_eventLogId);
    PCSMaintReporter::Instance().InitMaintReporter(m_serverName, m_deviceIdFactory, m_maintenanceEventTS,
                                                   m_maintenanceEventId);
    health.SendConfigEvent("//aspn://Sarvent/" + m_serverName + ":" + BuildInfo::time() + "/");
    const std::string banner = m_serverName + " KPN: " + BuildInfo::partNumber() + "  " + BuildInfo::makersStatement();
    printLine(std::cout, banner);
    health.SendConfigEvent(banner);
}

void OrvaneServer::Framework_Disconnect(RETURN_CODE_TYPE::Value& rc)
{
    FpgaFace::Instance().DoneFpga();
    if (m_tss) {
        // What was never registered is harmless to end.
        auto ignored = RETURN_CODE_TYPE::NO_ERROR;
        for (const auto& row : connectionRows()) m_tss->Unregister_Callback(this->*row.id, ignored);
        for (const auto& row : connectionRows()) m_tss->Unregister_Sender(this->*row.id, ignored);
        for (const auto& row : connectionRows()) m_tss->Destroy_Connection(this->*row.id, ignored);
    }
    ShutdownVictory();
    HealthReporter::Instance().DoneHealthReporter();
    rc = RETURN_CODE_TYPE::NO_ERROR;
}
