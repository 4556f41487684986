#include "VICTORY/OrvaneServer/PartNumbers.h"

#include "ASPN/AspnDeviceIds.h"
#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/OrvaneServer/ComponentRows.h"
#include "VICTORY/OrvaneServer/PartNumberSchedule.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"
#include "utilities/VersionStatus.h"

#include <algorithm>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <tuple>

namespace {

constexpr const char* kPartNumberIncompleteText = " - Collecting system information. Please wait and retry...";
constexpr std::uint8_t kTarvoServer = 47;
constexpr std::uint8_t kTarvoTopic = 0;

struct Source {
    std::uint8_t server;
    std::uint8_t topic;
};

/// Whose answers make the exchange complete.
constexpr Source kExpected[] = {{53, 1}, {53, 0}, {39, 0}, {47, 0}, {47, 2}, {49, 0}, {38, 0}};

/// "0x35"; without a prefix for 0, which fills the width of two.
std::string hexText(std::uint8_t id)
{
    std::ostringstream text;
    text << std::hex << std::showbase << std::setfill('0') << std::setw(2) << unsigned{id};
    return text.str();
}

}  // namespace

PartNumbers::PartNumbers(const ServerSettings& settings, BusService& service, Clock::time_point (*steadyNow)())
    : m_settings(settings), m_service(service), m_steadyNow(steadyNow)
{
    for (const auto& [server, topic] : kExpected)
        m_partNumberResponses[ASPN2::Components::to_component(server, topic)] = false;
}

void PartNumbers::processPartNumbers(bool isPostComplete, const Send& send)
{
    const auto now = m_steadyNow();
    if (!isPostComplete && m_settings.m_debug) printLine(std::cout, "State Notification: Post incomplete");
    // In every turn, whether a request goes out or not.
    printAndSendOnDebug("OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.");
    const auto step =
        nextStep({isPostComplete, m_requestPartNumbers, m_partNumbersComplete, now - m_lastPartNumberRequest});
    if (isPostComplete && step != PartNumberStep::SendRequest && m_settings.m_debug)
        printLine(std::cout, "State Notification: Post IS Complete!");
    switch (step) {
    case PartNumberStep::AwaitSelfTest:
    case PartNumberStep::Nothing:
        return;
    case PartNumberStep::SendRequest:
        return sendRequest(send);
    case PartNumberStep::AskAgain:
        return askAgain();
    case PartNumberStep::CountResponses:
        return countResponses();
    }
}

void PartNumbers::sendRequest(const Send& send)
{
    send(Sys::CommandString::RequestPartNumbers);
    m_requestPartNumbers = false;
    m_lastPartNumberRequest = m_steadyNow();
}

void PartNumbers::askAgain()
{
    Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                          "OrvaneServer: Timeout of 10 seconds expired while waiting for server part "
                          "number responses. Will re-request part numbers.");
    m_requestPartNumbers = true;
}

void PartNumbers::countResponses()
{
    std::ptrdiff_t count = 0;
    bool complete = false;
    {
        const MutexLock lock(m_apntConfigurationMutex);
        count = std::count_if(m_partNumberResponses.begin(), m_partNumberResponses.end(),
                              [](const auto& row) { return row.second; });
        complete = count == std::ssize(m_partNumberResponses);
    }
    printAndSendOnDebug("OrvaneServer: Checking part numbers. Responses received count = " + std::to_string(count));
    if (!complete) return;
    printAndSendOnDebug("OrvaneServer: All " + std::to_string(count) +
                        " server part number responses received. Updating VICTORY APNT Configuration.");
    tellCompleteConfiguration();
}

void PartNumbers::tellCompleteConfiguration()
{
    {
        const MutexLock lock(m_apntConfigurationMutex);
        StringUtils::copyText(m_systemConfiguration.systemName, "Kolt Gen II");
        tellSystemConfiguration();
    }
    const MutexLock lock(m_partNumberMutex);
    m_partNumbersComplete = true;
    m_partNumbersArrived.notify_all();
}

void PartNumbers::tellSystemConfiguration()
{
    const auto* const configuration = &m_systemConfiguration;
    m_service.whileStarted(
        [configuration](VapntsService* service) { std::ignore = VictoryLibrary::tell(service, *configuration); });
}

void PartNumbers::handlePartNumberResponses(const std::string& text, const unsigned char& serverId,
                                            unsigned char topicId)
{
    const MutexLock lock(m_apntConfigurationMutex);
    const std::string name = ASPN2::Components::to_component(serverId, topicId);
    const std::string id = hexText(serverId);
    enter(text, id, name, serverId == kTarvoServer && topicId == kTarvoTopic, hexText(topicId));
    tellSystemConfiguration();

    const auto expected = m_partNumberResponses.find(name);
    if (expected != m_partNumberResponses.end()) {
        expected->second = true;
        return;
    }
    Reports::sendAndPrint(EventTypes::EVENT_FAULT, m_settings.m_serverName +
                                                       " : Received part number response from unexpected server " +
                                                       name + ", server ID " + id + ": " + text);
}

void PartNumbers::enter(const std::string& text, const std::string& id, const std::string& name, bool isSensorService,
                        const std::string& topicId)
{
    VersionStatus status;
    status.decodeResponse(text.c_str());
    if (m_settings.m_debug) {
        printLine(std::cout, m_settings.m_serverName, ": Part number for ", name, ", server ID ", id, ", topic ID ",
                  topicId, ": ", text);
        printLine(std::cout, m_settings.m_serverName, ", Version Status:", status.createMessage());
    }
    if (isSensorService) {
        ComponentRows::updateTARVOComponentConfiguration(m_systemConfiguration, m_settings, status, id, name);
        return;
    }
    ComponentRows::replaceComponentConfiguration(m_systemConfiguration, m_settings,
                                                 {id, name, status.createSerialNumberOnlyMessage(),
                                                  status.createSoftwareFirmwareOnlyMessage(),
                                                  status.getHardware1Version()});
}

bool PartNumbers::waitForPartNumberResponses(int seconds)
{
    const MutexLock lock(m_partNumberMutex);
    const auto until = Clock::now() + std::chrono::seconds(seconds);
    while (!m_partNumbersComplete)
        if (m_partNumbersArrived.wait_until(m_partNumberMutex, until) == std::cv_status::timeout) break;
    return m_partNumbersComplete;
}

void PartNumbers::awaitSystemConfiguration(int seconds)
{
    if (!m_service.isStarted()) {
        Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                              m_settings.m_serverName +
                                  " : Cannot request part numbers while APNT service is not running!");
        return;
    }
    printAndSendOnDebug(m_settings.m_serverName + " : VICTORY APNT Configuration / Part number request received.");
    if (waitForPartNumberResponses(seconds)) return;
    Reports::sendAndPrint(
        EventTypes::EVENT_FAULT,
        m_settings.m_serverName +
            " : Warning! Complete set of part numbers was not available for APNT Configuration after " +
            std::to_string(seconds) + " seconds.");
}

void PartNumbers::tellProvisionalConfiguration(VapntsService* service)
{
    const MutexLock lock(m_apntConfigurationMutex);
    ComponentRows::updateSystemConfiguration(
        m_systemConfiguration, std::string("Kolt Gen II") + kPartNumberIncompleteText, "", "", "", "9XQ27");
    std::ignore = VictoryLibrary::tell(service, m_systemConfiguration);
}

void PartNumbers::wipeConfiguration()
{
    const MutexLock lock(m_apntConfigurationMutex);
    m_requestPartNumbers = false;
    clearApntConfiguration();
}

void PartNumbers::clearApntConfiguration()
{
    m_service.whileStarted(
        [](VapntsService* service) { std::ignore = VictoryLibrary::tell(service, VapntcSystemConfiguration{}); });
}

void PartNumbers::printAndSendOnDebug(const std::string& text, int line) const
{
    if (m_settings.m_debug) Reports::sendAndPrint(EventTypes::EVENT_INFORMATION, text, __FILE__, line);
}
