#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/OrvaneServer/ClearDataRequest.h"
#include "VICTORY/OrvaneServer/ManagementData.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/OrvaneServer/VictoryCallbacks.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Saturate.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <tuple>

using VictoryCallbacks::withServer;

bool OrvaneServer::InitializeVictory(const char* vclText)
{
    return m_bus.start(vclText);
}

bool OrvaneServer::ShutdownVictory()
{
    return m_bus.stop();
}

bool OrvaneServer::updateVDMdataRate(unsigned long periodMs)
{
    return m_bus.restart(periodMs);
}

BusService::Owner OrvaneServer::busOwner()
{
    // From the first start on, what the library prints comes by. A redirection that is in force already stays.
    return {.redirectOutput = [this] { redirectOutput(); },
            .prepare = [this] { return prepareBus(); },
            .equip = [this](VapntsService* service) { equipBus(service); }};
}

void OrvaneServer::redirectOutput()
{
    const auto take = [this](const char* text, unsigned int size) {
        return static_cast<int>(logMaintenanceEvent(text, size));
    };
    const bool isCaptured = m_outputRedirector.redirect(take) || COutputRedirector::originalStdOutStreamDest;
    if (isCaptured) return;
    // The service goes on without it, and without this where there is no memory for telling.
    shielded(
        [&] {
            Reports::sendFault("InitializeVictory",
                               m_settings.m_serverName + " Error capturing what the VICTORY library prints.");
        },
        [](const char*) {});
}

bool OrvaneServer::prepareBus()
{
    m_measSources.initMeasSourceEncoder();
    m_warnings.initWarningIdEncoder();
    return m_bitResults.Initialize("Halvex", saturate<std::int32_t>(m_settings.m_BITtimeoutSeconds),
                                   m_settings.m_debug);
}

void OrvaneServer::equipBus(VapntsService* service)
{
    constexpr double kPublicationRate = 1.0;
    std::ignore = VictoryLibrary::setUp(service,
                                        {.saveVclid = &cbSaveVclidCallback,
                                         .tellNavWarSa = &cbTellNavWarSaCallback,
                                         .tellWarningMessages = &cbTellWarningMessagesCallback,
                                         .clearSystemData = &cbClearSystemDataCallback,
                                         .tellSystemConfiguration = &cbTellSystemConfigurationCallback},
                                        this, kPublicationRate);
    initVictoryDefaultManagementData(service);
    ManagementData::initVictoryDefaultVDMData(service);
}

void OrvaneServer::initVictoryDefaultManagementData(VapntsService* service)
{
    ManagementData::tellAvailableOutputs(service, m_allOutputs);
    // The configuration has been wiped otherwise.
    if (!m_sanitizeOrders.isRequested()) m_partNumbers.tellProvisionalConfiguration(service);
    ManagementData::tellAvailableSensors(service, m_bitResults, m_settings);
}

void OrvaneServer::performPOSTcomplete()
{
    m_bus.whileStarted([this](VapntsService* service) {
        std::ignore =
            VictoryLibrary::setUpBuiltInTests(service,
                                              {.execute = &BuiltInTests::ExecuteBuiltInTestsCallback,
                                               .getResults = &BuiltInTests::GetBuiltInTestResultsCallback,
                                               .clearResults = &BuiltInTests::ClearBuiltInTestResultsCallback},
                                              &m_bitResults);
    });
}

unsigned int OrvaneServer::logMaintenanceEvent(const char* text, unsigned int length)
{
    const std::string line(text, length);
    if (m_settings.m_debug)
        printLine(std::cout, Reports::location(), "logMaintenanceEvent", ": OrvaneServer SOAP Error: ", line);
    if (line.find("SOAP 1.2 fault SOAP-ENV:Sender") == std::string::npos) return 0;
    using Reporter = PCSMaintReporter;
    constexpr auto noUnit = Reporter::eLru{0};
    constexpr auto noComponent = Reporter::eCmpo{0};
    Reporter::Instance().sendLongDescriptionMultiMaintenanceEvent(
        line, ASPN2::ServerIds::OrvaneServer_name, Reporter::eCrit{3}, Reporter::eOutcome{3}, 52, Reporter::eCat{11},
        Reporter::eLru{1}, Reporter::eCmpo{1}, noUnit, noComponent, noUnit, noComponent, noUnit, noComponent, 0,
        "SOAP");
    return length;
}

void OrvaneServer::attemptBlendedNavigationProcessing()
{
    shielded(
        [this] { m_inputs.join([this](const NavInputs::Joined& inputs) { encodeVictoryBlendedNavigation(inputs); }); },
        [this](const char* what) { Reports::sendJoinException(m_settings.m_serverName, what); });
}

void OrvaneServer::encodeVictoryBlendedNavigation(const NavInputs::Joined& inputs)
{
    const auto record =
        BlendedNavigation::record({inputs.utcTime, inputs.pnt, inputs.mis, inputs.pva, inputs.assurance,
                                   inputs.receiver, m_gpsAvailability.isLost()},
                                  [this](unsigned short id) { return m_measSources.encodeVictoryMeasSource(id); });
    const bool isTold = m_bus.whileStarted([&](VapntsService* service) {
        VapntcTime time = {};
        BlendedNavigation::set_VictoryTime(time, inputs.utcTime, !m_settings.m_quiet);
        if (!m_faultConsole.isTellDisabled()) std::ignore = VictoryLibrary::tell(service, record, &time);
    });
    if (!isTold)
        Reports::sendFault("encodeVictoryBlendedNavigation",
                           m_settings.m_serverName + ": Cannot publish APNT Blended Navigation data while APNT service "
                                                     "is not running!");
}

int OrvaneServer::cbSaveVclidCallback(void* context, VapntsService*, const char* vclText) noexcept
{
    int answer = 1;
    withServer<OrvaneServer>(context, VictoryCallbacks::kSaveVclid,
                             [&](OrvaneServer& server) { answer = server.saveVcl(vclText); });
    return answer;
}

int OrvaneServer::saveVcl(const char* vclText)
{
    constexpr const char* kFunction = VictoryCallbacks::kSaveVclid.function;
    const std::string& name = m_settings.m_serverName;
    if (m_clearDataCommand.state() == ClearDataCommand::STATE_IN_PROGRESS) {
        Reports::sendFault(kFunction, name + " : APNT Clear in progress, not processing SaveVCLID command");
        return 1;
    }
    if (!m_bus.isStarted()) {
        Reports::sendFault(kFunction, name + " : Ignored. Cannot save VCLID / VCL XML file while APNT service is not "
                                             "running!");
        return 0;
    }
    if (!m_settings.m_quiet) printLine(std::cout, name, ": Saving VCLID file: ", m_settings.m_vclFile);
    return m_bus.saveVcl(vclText) ? 0 : 1;
}

void OrvaneServer::cbTellNavWarSaCallback(void* context, VapntsService* service) noexcept
{
    withServer<OrvaneServer>(context, VictoryCallbacks::kTellNavWarSa, [&](OrvaneServer& server) {
        server.m_navWar.publish(service, server.m_bus.isStarted(), server.m_faultConsole.isTellDisabled());
    });
}

void OrvaneServer::cbTellWarningMessagesCallback(void* context, VapntsService* service) noexcept
{
    withServer<OrvaneServer>(context, VictoryCallbacks::kTellWarningMessages, [&](OrvaneServer& server) {
        server.m_warnings.publish(service, server.m_bus.isStarted(), server.m_faultConsole.isTellDisabled());
    });
}

void OrvaneServer::cbTellSystemConfigurationCallback(void* context, VapntsService*) noexcept
{
    withServer<OrvaneServer>(context, VictoryCallbacks::kTellSystemConfiguration,
                             [](OrvaneServer& server) { server.m_partNumbers.awaitSystemConfiguration(); });
}

int OrvaneServer::cbClearSystemDataCallback(void* context, VapntsService* service, VapntcSystemData* data) noexcept
{
    constexpr auto& kTexts = VictoryCallbacks::kClearSystemData;
    withServer<OrvaneServer>(context, kTexts, [&](OrvaneServer& server) { server.clearSystemData(service, data); });
    shielded(
        [&] {
            const auto* const server = static_cast<const OrvaneServer*>(context);
            // The word is always this one.
            if (server && !server->m_settings.m_quiet)
                printLine(std::cout, VictoryCallbacks::kClearSystemData.function, " : ",
                          "Return code to VDB: ", "ERROR");
        },
        [](const char*) {});
    return 1;
}

void OrvaneServer::clearSystemData(VapntsService* service, VapntcSystemData* data)
{
    const std::string& name = m_settings.m_serverName;
    if (m_settings.m_debug) printLine(std::cout, "CALLBACK RECIEVED --- ");
    if (m_sanitizeOrders.isRequested()) {
        Reports::sendEvent(EventTypes::EVENT_FAULT,
                           name + ": Sanitize in progress, not processing APNT clear system data command");
        return;
    }
    if (!m_bus.isStarted()) {
        Reports::sendEvent(EventTypes::EVENT_FAULT, name + " : Ignored. Cannot process APNT Clear System Data while "
                                                           "APNT service is not running!");
        return;
    }
    // The answer says that the request was heard; how the erasing ends reaches the client as a warning.
    processClearDataRequest(service, data);
    std::ignore = VictoryLibrary::tellClearRequestTaken(service);
}

bool OrvaneServer::processClearDataRequest(VapntsService*, VapntcSystemData* data)
{
    const std::string& name = m_settings.m_serverName;
    if (!m_bus.isStarted()) {
        Reports::sendEvent(EventTypes::EVENT_FAULT, name + " : Ignored. Cannot process APNT Clear System Data requests "
                                                           "while APNT service is not running!");
        return true;
    }
    if (!data && !m_settings.m_quiet) printLine(std::cout, "No command provided, Zeroize device command type");
    const auto [type, complaint] = requestOf(data);
    if (!complaint.empty()) {
        Reports::sendFault("processClearDataRequest", name + complaint,
                           m_settings.m_quiet ? Reports::Console::Omit : Reports::Console::Print);
        m_warnings.sendVDBcustomWarning(name + complaint);
    }
    if (!type) return false;
    if (m_settings.m_debug) printLine(std::cout, "Identified eClearType = ", m_clearDataCommand.requestName(*type));
    return m_clearDataCommand.processClearDataRequestType(*type);
}
