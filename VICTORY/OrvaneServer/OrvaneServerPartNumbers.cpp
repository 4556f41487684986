#include "ASPN/CmdResponseStrings.h"
#include "VICTORY/OrvaneServer/OrvaneServer.h"
#include "VICTORY/OrvaneServer/Reports.h"
#include "VICTORY/Utilities/VictoryLibrary.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <tuple>

namespace {

using StringUtils::copyText;
using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds kLongestWait = 9'999'999'999ns;
constexpr std::uint8_t kTarvoServer = 47;
constexpr std::uint8_t kTarvoTopic = 0;

/// "0x35"; without a prefix for 0, which fills the width of two.
std::string hexText(std::uint8_t id)
{
    std::ostringstream text;
    text << std::hex << std::showbase << std::setfill('0') << std::setw(2) << unsigned{id};
    return text.str();
}

/// A field that may lack its terminator, as a text.
template <std::size_t size>
std::string_view textOf(const char (&field)[size])
{
    return {field, static_cast<std::size_t>(std::find(field, field + size, '\0') - field)};
}

}  // namespace

void OrvaneServer::processPartNumbers()
{
    const auto now = m_steadyNow();
    if (!m_postCompleteSeen && m_debug) printLine(std::cout, "State Notification: Post incomplete");
    // In every turn, whether a request goes out or not.
    if (m_debug)
        Reports::sendAndPrint(EventTypes::EVENT_INFORMATION,
                              "OrvaneServer: Requesting part numbers. Will wait up to 10 seconds.");
    if (m_requestPartNumbers && m_postCompleteSeen) {
        sendCommandResponseMessage(Sys::CommandString::RequestPartNumbers);
        m_requestPartNumbers = false;
        m_lastPartNumberRequest = m_steadyNow();
        return;
    }
    if (!m_postCompleteSeen) return;
    if (m_debug) printLine(std::cout, "State Notification: Post IS Complete!");
    if (m_partNumbersComplete) return;
    if (now - m_lastPartNumberRequest > kLongestWait) {
        Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                              "OrvaneServer: Timeout of 10 seconds expired while waiting for server part "
                              "number responses. Will re-request part numbers.");
        m_requestPartNumbers = true;
        return;
    }

    std::ptrdiff_t count = 0;
    bool complete = false;
    {
        const MutexLock lock(m_apntConfigurationMutex);
        count = std::count_if(m_partNumberResponses.begin(), m_partNumberResponses.end(),
                              [](const auto& row) { return row.second; });
        complete = count == std::ssize(m_partNumberResponses);
    }
    if (m_debug)
        Reports::sendAndPrint(EventTypes::EVENT_INFORMATION,
                              "OrvaneServer: Checking part numbers. Responses received count = " +
                                  std::to_string(count));
    if (!complete) return;
    if (m_debug)
        Reports::sendAndPrint(EventTypes::EVENT_INFORMATION,
                              "OrvaneServer: All " + std::to_string(count) +
                                  " server part number responses received. Updating VICTORY APNT Configuration.");
    {
        const MutexLock lock(m_apntConfigurationMutex);
        copyText(m_systemConfiguration.systemName, "Kolt Gen II");
        tellSystemConfiguration();
    }
    const MutexLock lock(m_partNumberMutex);
    m_partNumbersComplete = true;
    m_partNumbersArrived.notify_all();
}

void OrvaneServer::tellSystemConfiguration()
{
    const auto* const configuration = &m_systemConfiguration;
    whileStarted(
        [configuration](VapntsService* service) { std::ignore = VictoryLibrary::tell(service, *configuration); });
}

void OrvaneServer::handlePartNumberResponses(const std::string& text, const unsigned char& serverId,
                                             unsigned char topicId)
{
    const MutexLock lock(m_apntConfigurationMutex);
    const std::string name = ASPN2::Components::to_component(serverId, topicId);
    const std::string id = hexText(serverId);
    VersionStatus status;
    status.decodeResponse(text.c_str());
    if (m_debug) {
        printLine(std::cout, m_serverName, ": Part number for ", name, ", server ID ", id, ", topic ID ",
                  hexText(topicId), ": ", text);
        printLine(std::cout, m_serverName, ", Version Status:", status.createMessage());
    }

    if (serverId == kTarvoServer && topicId == kTarvoTopic) {
        updateTARVOComponentConfiguration(status, id, name);
    } else {
        const int index = findAndClearComponentConfigurationByIdAndName(id, name);
        updateComponentConfiguration(index, id, name, status.createSerialNumberOnlyMessage(),
                                     status.createSoftwareFirmwareOnlyMessage(), status.getHardware1Version());
    }
    tellSystemConfiguration();

    const auto expected = m_partNumberResponses.find(name);
    if (expected != m_partNumberResponses.end()) {
        expected->second = true;
        return;
    }
    Reports::sendAndPrint(EventTypes::EVENT_FAULT, m_serverName +
                                                       " : Received part number response from unexpected server " +
                                                       name + ", server ID " + id + ": " + text);
}

bool OrvaneServer::waitForPartNumberResponses(int seconds)
{
    const MutexLock lock(m_partNumberMutex);
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!m_partNumbersComplete)
        if (m_partNumbersArrived.wait_until(m_partNumberMutex, until) == std::cv_status::timeout) break;
    return m_partNumbersComplete;
}

void OrvaneServer::updateTARVOComponentConfiguration(VersionStatus& status, const std::string& id,
                                                     const std::string& name)
{
    // The sensor service reports its processing card and the sensor proper in one answer.
    const auto update = [&](const std::string& rowName, VersionStatus& part, const char* serialNumber,
                            const char* hardware) REQUIRES(m_apntConfigurationMutex) {
        const int index = findAndClearComponentConfigurationByIdAndName(id, rowName);
        updateComponentConfiguration(index, id, rowName, serialNumber, part.createSoftwareFirmwareOnlyMessage(),
                                     hardware);
    };

    VersionStatus card;
    card.setSoftware1Version(status.getSoftware1Version());
    card.setHardware1Version(status.getHardware1Version());
    card.setSerialNumber1(status.getSerialNumber1());
    card.setFirmware1Version(status.getFirmware1Version());
    card.setOs1Version(status.getOs1Version());
    card.setAntennaTable(status.getAntennaTable());
    update(name + "-PC", card, card.getSerialNumber1(), card.getHardware1Version());

    VersionStatus sensor;
    sensor.setSoftware5Version(status.getSoftware5Version());
    sensor.setSoftware6Version(status.getSoftware6Version());
    sensor.setSoftware7Version(status.getSoftware7Version());
    sensor.setSoftware8Version(status.getSoftware8Version());
    sensor.setHardware2Version(status.getHardware2Version());
    sensor.setSerialNumber2(status.getSerialNumber2());
    sensor.setFirmware2Version(status.getFirmware2Version());
    sensor.setOs2Version(status.getOs2Version());
    sensor.setAntennaTable(status.getAntennaTable());
    update(name + "-KELP", sensor, sensor.getSerialNumber2(), sensor.getHardware2Version());
}

int OrvaneServer::findAndClearComponentConfigurationByIdAndName(const std::string& id, const std::string& name)
{
    for (std::int32_t i = 0; i < m_systemConfiguration.componentCount; ++i) {
        auto& row = m_systemConfiguration.components[i];
        if (m_debug) printLine(std::cout, m_serverName, ": * Searching componentConfigurations for componentId ", id);
        if (textOf(row.componentId) != id) continue;
        if (m_debug) printLine(std::cout, m_serverName, ": ** Found. Comparing to componentConfigurations name ", name);
        if (textOf(row.name) != name) continue;
        if (m_debug)
            printLine(std::cout, m_serverName, ": *** Found. Clearing componentConfigurations for componentId ", id);
        row = {};
        return i;
    }
    return -1;
}

bool OrvaneServer::updateComponentConfiguration(int index, const std::string& id, const std::string& name,
                                                const std::string& serialNumber, const std::string& software,
                                                const std::string& hardware)
{
    if (m_debug)
        printLine(std::cout, m_serverName, ": **** Updating componentConfigurations for componentId ", id, ", name ",
                  name);
    auto& count = m_systemConfiguration.componentCount;
    const bool append = index == -1;
    const std::int32_t place = append ? count : index;
    if (place < 0 || place >= VAPNTC_MAX_ROWS) {
        // The count of rows cuts the literal from its front: deliberately, and so the log is read.
        constexpr std::string_view kDataFields = ". Data fields: ";
        const auto cut = std::min(static_cast<std::size_t>(std::max(count, 0)), kDataFields.size());
        const std::string text = "Out of range error updating component for APNT Component Configuration at index, " +
                                 std::string(kDataFields.substr(cut)) + "rComponentId=" + id + ", " + "rName=" + name +
                                 ", " + "rSN=" + serialNumber + ", " + "rSW=" + software + ", " + "rHW=" + hardware +
                                 ", ";
        Reports::sendAndPrint(EventTypes::EVENT_FAULT, text);
        return false;
    }
    if (append) ++count;

    auto& row = m_systemConfiguration.components[place];
    copyText(row.componentId, id);
    copyText(row.name, name);
    copyText(row.serialNumber, serialNumber.empty() ? "N/A" : serialNumber);
    copyText(row.software, software);
    row.softwarePresent = !software.empty();
    copyText(row.hardware, hardware);
    row.hardwarePresent = !hardware.empty();
    return true;
}
