#include "VICTORY/OrvaneServer/BusService.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "VICTORY/Utilities/VictoryXmlHelpers.h"
#include "utilities/ConsoleLine.h"
#include "utilities/Shielded.h"

#include <iostream>
#include <tinyxml2.h>
#include <utility>

namespace {

constexpr unsigned long kShortestPeriodMs = 1000;

}  // namespace

BusService::BusService(const ServerSettings& settings, Owner owner) : m_settings(settings), m_owner(std::move(owner)) {}

bool BusService::start(const char* vclText)
{
    const MutexLock lock(m_lifeCycleMutex);
    return startVictory(vclText);
}

bool BusService::stop()
{
    const MutexLock lock(m_lifeCycleMutex);
    return shutdownVictory();
}

bool BusService::restart(unsigned long periodMs)
{
    const MutexLock lock(m_lifeCycleMutex);
    constexpr const char* kFunction = "updateVDMdataRate";
    printLine(std::cout, Reports::location(), kFunction, " : Updating VDM rate to ", periodMs, " milliseconds.");
    if (periodMs < kShortestPeriodMs) return false;
    printLine(std::cout, Reports::location(), kFunction, " : Restarting APNT.");

    std::string text = vclTextWithPeriod(periodMs);
    shutdownVictory();
    m_updatedVclText = std::move(text);  // the service before may have used the old one
    startVictory(m_updatedVclText.c_str());
    return true;
}

bool BusService::saveVcl(const char* vclText)
{
    if (!vclText) return false;
    const MutexLock lock(m_vclFileMutex);
    return VictoryLibrary::replaceTextFile(vclText, m_settings.m_vclFile).isSuccess();
}

bool BusService::startVictory(const char* vclText)
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

bool BusService::startService(const char* vclText)
{
    m_owner.redirectOutput();
    if (m_victoryStarted) return true;

    const bool isPrepared = m_owner.prepare();
    VapntsService* const service = makeService(vclText);
    if (!service) {
        Reports::sendFault("InitializeVictory",
                           m_settings.m_serverName + " Error reading VICTORY APNT configuration file.");
        return false;
    }
    m_hasService = true;
    m_owner.equip(service);
    // A failure is told and deliberately changes nothing: the service counts as started.
    if (const auto answer = VictoryLibrary::startService(service); !answer.isSuccess())
        printLine(std::cout, Reports::location(), "InitializeVictory : vapntsStartService answered ", answer.number());
    ++m_victoryGeneration;
    m_victoryStarted = true;
    return isPrepared;
}

VapntsService* BusService::makeService(const char* vclText)
{
    bool hasTexts =
        VictoryLibrary::readTextFile(m_settings.m_victoryConfigurationFile, m_victoryConfigurationText).isSuccess();
    if (!vclText) {
        const MutexLock lock(m_vclFileMutex);
        hasTexts = VictoryLibrary::readTextFile(m_settings.m_vclFile, m_vclText).isSuccess() && hasTexts;
        vclText = m_vclText.data();
    }
    if (!hasTexts) return nullptr;
    VapntsService* const service = VictoryLibrary::newService(m_victoryConfigurationText.data(), vclText);
    m_service = service;
    return service;
}

std::string BusService::vclTextWithPeriod(unsigned long periodMs)
{
    // What can't be loaded or found is not told: the start tells what the library thinks of the text.
    tinyxml2::XMLDocument document;
    {
        const MutexLock lock(m_vclFileMutex);
        document.LoadFile(m_settings.m_vclFile.c_str());
    }
    const std::string period = std::to_string(periodMs);
    VICTORY::updateConfigItemInVclXml(document, "ASSURED_PNT_BLENDED_NAVIGATION", "updatePeriod", period.c_str());
    VICTORY::updateConfigItemInVclXml(document, "ASSURED_PNT_NAVWAR_SA", "updatePeriod", period.c_str());
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return printer.CStr();
}

void BusService::discardService()
{
    {
        const ExclusiveLock gate(m_serviceGate);
        m_victoryStarted = false;
    }
    // A start that fails early finds the service of the start before, which has been deleted.
    if (m_hasService) deleteService("InitializeVictory");
}

void BusService::deleteService(const char* caller)
{
    m_hasService = false;
    // No lock that a call-back takes: this waits for them.
    shielded([this] { VictoryLibrary::deleteService(m_service); },
             [=](const char* what) { Reports::sendCallbackException(caller, what); });
}

bool BusService::shutdownVictory()
{
    {
        const ExclusiveLock gate(m_serviceGate);  // whoever is in the library has left it then
        if (!m_victoryStarted.exchange(false)) return false;
    }
    deleteService("ShutdownVictory");
    // What can't be told keeps nobody from the start that follows in a restart.
    shielded(
        [this] {
            const std::string text = m_settings.m_serverName + " : VapntsService exited";
            Reports::sendEvent(EventTypes::EVENT_INFORMATION, text);
            if (m_settings.m_debug) printLine(std::cout, text);
        },
        [](const char* what) { Reports::sendCallbackException("ShutdownVictory", what); });
    return true;
}
