#include "PCSMaintReporter/PCSMaintReporter.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "VICTORY/Utilities/VictoryXmlHelpers.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Saturate.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <string>
#include <tinyxml2.h>
#include <tuple>
#include <utility>

namespace {

constexpr double kPublicationRate = 1.0;
constexpr unsigned long kShortestPeriodMs = 1000;

}  // namespace

bool OrvaneServer::InitializeVictory(const char* vclText)
{
    const MutexLock lock(m_lifeCycleMutex);
    return startVictory(vclText);
}

bool OrvaneServer::ShutdownVictory()
{
    const MutexLock lock(m_lifeCycleMutex);
    return shutdownVictory();
}

bool OrvaneServer::startVictory(const char* vclText)
{
    // The analysis doesn't see that these run under the lock of the caller.
    bool started = false;
    const auto body = [&]() ORVANE_THREAD_ANNOTATION(no_thread_safety_analysis) { started = startService(vclText); };
    const auto report = [&](const char* what) ORVANE_THREAD_ANNOTATION(no_thread_safety_analysis) {
        Reports::sendCallbackException("InitializeVictory", what);
        discardService();
    };
    shielded(body, report);
    return started;
}

bool OrvaneServer::startService(const char* vclText)
{
    // From here on, what the library prints comes by. A redirection that is in force already stays.
    m_outputRedirector.redirect(
        [this](const char* text, unsigned int size) { return static_cast<int>(logMaintenanceEvent(text, size)); });
    if (m_victoryStarted) return true;

    initMeasSourceEncoder();
    initWarningIdEncoder();
    const bool bitReady = m_bitResults.Initialize("Halvex", saturate<std::int32_t>(m_BITtimeoutSeconds), m_debug);

    VapntsService* const service = makeService(vclText);
    if (!service) {
        Reports::sendFault("InitializeVictory", m_serverName + " Error reading VICTORY APNT configuration file.");
        return false;
    }
    m_hasService = true;

    std::ignore = VictoryLibrary::setUp(service,
                                        {.saveVclid = &cbSaveVclidCallback,
                                         .tellNavWarSa = &cbTellNavWarSaCallback,
                                         .tellWarningMessages = &cbTellWarningMessagesCallback,
                                         .clearSystemData = &cbClearSystemDataCallback,
                                         .tellSystemConfiguration = &cbTellSystemConfigurationCallback},
                                        this, kPublicationRate);

    initVictoryDefaultManagementData();
    initVictoryDefaultVDMData();
    // A failure is told and deliberately changes nothing: the service counts as started.
    if (const auto answer = VictoryLibrary::startService(service); !answer.isSuccess())
        printLine(std::cout, Reports::location(), "InitializeVictory : vapntsStartService answered ", answer.number());
    ++m_victoryGeneration;
    m_victoryStarted = true;
    return bitReady;
}

VapntsService* OrvaneServer::makeService(const char* vclText)
{
    bool hasTexts = VictoryLibrary::readTextFile(m_victoryConfigurationFile, m_victoryConfigurationText).isSuccess();
    if (!vclText) {
        hasTexts = VictoryLibrary::readTextFile(m_vclFile, m_vclText).isSuccess() && hasTexts;
        vclText = m_vclText.data();
    }
    if (!hasTexts) return nullptr;
    VapntsService* const service = VictoryLibrary::newService(m_victoryConfigurationText.data(), vclText);
    m_service = service;
    return service;
}

void OrvaneServer::discardService()
{
    {
        const ExclusiveLock gate(m_serviceGate);
        m_victoryStarted = false;
    }
    // A start that fails early finds the service of the start before, which has been deleted.
    if (m_hasService) deleteService("InitializeVictory");
}

void OrvaneServer::deleteService(const char* caller)
{
    m_hasService = false;
    // No lock that a call-back takes: this waits for them.
    shielded([this] { VictoryLibrary::deleteService(m_service); },
             [=](const char* what) { Reports::sendCallbackException(caller, what); });
}

bool OrvaneServer::shutdownVictory()
{
    {
        const ExclusiveLock gate(m_serviceGate);  // whoever is in the library has left it then
        if (!m_victoryStarted.exchange(false)) return false;
    }
    deleteService("ShutdownVictory");
    Reports::sendEvent(EventTypes::EVENT_INFORMATION, m_serverName + " : VapntsService exited");
    if (m_debug) printLine(std::cout, m_serverName, " : VapntsService exited");
    return true;
}

bool OrvaneServer::updateVDMdataRate(unsigned long periodMs)
{
    const MutexLock lock(m_lifeCycleMutex);
    constexpr const char* kFunction = "updateVDMdataRate";
    printLine(std::cout, Reports::location(), kFunction, " : Updating VDM rate to ", periodMs, " milliseconds.");
    if (periodMs < kShortestPeriodMs) return false;
    printLine(std::cout, Reports::location(), kFunction, " : Restarting APNT.");

    // What can't be loaded or found is not told: the start below tells what the library thinks of the text.
    tinyxml2::XMLDocument document;
    document.LoadFile(m_vclFile.c_str());
    const std::string period = std::to_string(periodMs);
    VICTORY::updateConfigItemInVclXml(document, "ASSURED_PNT_BLENDED_NAVIGATION", "updatePeriod", period.c_str());
    VICTORY::updateConfigItemInVclXml(document, "ASSURED_PNT_NAVWAR_SA", "updatePeriod", period.c_str());
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    std::string text = printer.CStr();

    shutdownVictory();
    m_updatedVclText = std::move(text);  // the service before may have used the old one
    startVictory(m_updatedVclText.c_str());
    return true;
}

void OrvaneServer::performPOSTcomplete()
{
    whileStarted([this](VapntsService* service) {
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
    if (m_debug) printLine(std::cout, Reports::location(), "logMaintenanceEvent", ": OrvaneServer SOAP Error: ", line);
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

int OrvaneServer::cbSaveVclidCallback(void* context, VapntsService*, const char* vclText) noexcept
{
    constexpr const char* kFunction = "cbSaveVclidCallback";
    int answer = 1;
    shielded(
        [&] {
            if (!context) {
                Reports::sendFault(kFunction, Reports::kNoInstance);
                return;
            }
            auto& server = *static_cast<OrvaneServer*>(context);
            if (server.m_clearDataCommand.state() == ClearDataCommand::STATE_IN_PROGRESS) {
                Reports::sendFault(kFunction,
                                   server.m_serverName + " : APNT Clear in progress, not processing SaveVCLID command");
                return;
            }
            if (!server.m_victoryStarted) {
                Reports::sendFault(kFunction, server.m_serverName +
                                                  " : Ignored. Cannot save VCLID / VCL XML file while "
                                                  "APNT service is not running!");
                answer = 0;
                return;
            }
            if (!server.m_quiet) printLine(std::cout, server.m_serverName, ": Saving VCLID file: ", server.m_vclFile);
            answer = vclText && VictoryLibrary::writeTextFile(vclText, server.m_vclFile).isSuccess() ? 0 : 1;
        },
        [&](const char* what) {
            answer = 1;
            Reports::sendCallbackException(kFunction, what);
        });
    return answer;
}
