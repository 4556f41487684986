#include "ASPN/HealthReporter.h"
#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/OrvaneServer/BuildInfo.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "aspn2_msgs/BitReport.h"
#include "aspn2_msgs/CommandResponse.h"
#include "aspn2_msgs/EventLog.h"
#include "aspn2_msgs/MaintenanceEvent.h"
#include "face/FACE_Text.h"
#include "face/HX_Config.h"
#include "face/HX_Devmem.h"
#include "ioss_mcsq/GssipMcsq.h"
#include "ioss_mcsq/HX_MCSQ.h"
#include "platform/FPGA.h"
#include "utilities/ConsoleLine.h"

#include <iostream>

using FACE::RETURN_CODE_TYPE;

OrvaneServer::ReporterGuard::~ReporterGuard()
{
    if (!started) return;
    FpgaFace::Instance().DoneFpga();
    HealthReporter::Instance().DoneHealthReporter();
    PCSMaintReporter::Instance().DoneMaintReporter();
}

void OrvaneServer::Framework_Connect(const FACE::String&, RETURN_CODE_TYPE::Value& rc)
{
    // Whatever becomes of the transport, devices and bus are connected as far as they can be.
    const auto code = m_wiring.connect(topicHandlers());
    const bool hasDevices = connectDevices();
    if (hasDevices && code == RETURN_CODE_TYPE::NO_ERROR) startPlatform();
    const bool hasVictory = InitializeVictory(nullptr);
    m_faultConsole.offerService();
    rc = code == RETURN_CODE_TYPE::NO_ERROR && hasDevices && hasVictory ? RETURN_CODE_TYPE::NO_ERROR
                                                                        : RETURN_CODE_TYPE::INVALID_CONFIG;
}

TopicHandlers OrvaneServer::topicHandlers()
{
    auto to = [this]<class T>(void (OrvaneServer::*handler)(const T&)) {
        return [this, handler](const T& message) { (this->*handler)(message); };
    };
    return {.bitReport = to(&OrvaneServer::cbBitReport),
            .command = to(&OrvaneServer::cbCmd),
            .response = to(&OrvaneServer::cbRsp),
            .pva = to(&OrvaneServer::cbPVA),
            .utcTime = to(&OrvaneServer::cbUTCTime),
            .halvexPNT = to(&OrvaneServer::cbHalvexPNT),
            .mis = to(&OrvaneServer::cbMeasurementIncorporationStatus),
            .assuranceState = to(&OrvaneServer::cbAssuranceState)};
}

bool OrvaneServer::connectDevices()
{
    using FACE::IOSS::HX_MCSQ;
    m_gssipMcsq = std::make_shared<GssipMcsq>(m_settings.m_serverName,
                                              std::make_unique<HX_MCSQ>(HX_MCSQ::kDevicePrefix, m_queuePulse));
    m_devmem = std::make_shared<FACE::IOSS::HX_Devmem>();
    auto memory = RETURN_CODE_TYPE::NO_ERROR;
    m_devmem->Set_Reference(FACE::String(), std::make_shared<FACE::HX_Config>(), 0, memory);
    if (memory != RETURN_CODE_TYPE::NO_ERROR) return false;
    m_devmem->Initialize(m_settings.m_ioDevicesFile, memory);

    auto fromReceiver = RETURN_CODE_TYPE::NO_ACTION;
    m_gssipMcsq->Connect_ReadOnly(
        m_settings.m_ioDevicesFile, "ZEN_HX", [this](const GSSIP& message) { cbZentorGssip(message); }, fromReceiver);
    auto toReceiver = RETURN_CODE_TYPE::NO_ACTION;
    m_gssipMcsq->Connect_ReadOnly(
        m_settings.m_ioDevicesFile, "HX_ZEN", [this](const GSSIP& message) { cbHxGssip(message); }, toReceiver);
    return memory == RETURN_CODE_TYPE::NO_ERROR && fromReceiver == RETURN_CODE_TYPE::NO_ERROR &&
           toReceiver == RETURN_CODE_TYPE::NO_ERROR;
}

void OrvaneServer::startPlatform()
{
    using Topic = TopicWiring::Topic;
    const std::string& name = m_settings.m_serverName;
    m_deviceIdFactory.reset(FACE::textOf(m_settings.m_systemName).c_str(), m_settings.m_serverId);
    m_cmdResponse.reset(m_deviceIdFactory);

    m_reporters.started = true;
    FpgaFace::Instance().InitFpga(m_devmem);
    auto& health = HealthReporter::Instance();
    health.InitHealthReporter(name, m_deviceIdFactory, m_wiring.transport<aspn2_msgs::idl::EventLog>(),
                              m_wiring.id(Topic::EventLog));
    PCSMaintReporter::Instance().InitMaintReporter(name, m_deviceIdFactory,
                                                   m_wiring.transport<aspn2_msgs::idl::MaintenanceEvent>(),
                                                   m_wiring.id(Topic::MaintenanceEvent));
    health.SendConfigEvent("//aspn://Sarvent/" + name + ":" + BuildInfo::time() + "/");
    const std::string banner = name + " KPN: " + BuildInfo::partNumber() + "  " + BuildInfo::makersStatement();
    printLine(std::cout, banner);
    health.SendConfigEvent(banner);
}

void OrvaneServer::Framework_Disconnect(RETURN_CODE_TYPE::Value& rc)
{
    FpgaFace::Instance().DoneFpga();
    m_wiring.disconnect();
    ShutdownVictory();
    HealthReporter::Instance().DoneHealthReporter();
    rc = RETURN_CODE_TYPE::NO_ERROR;
}
