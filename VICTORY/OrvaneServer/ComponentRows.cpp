#include "VICTORY/OrvaneServer/ComponentRows.h"

#include "VICTORY/OrvaneServer/Reports.h"
#include "utilities/ConsoleLine.h"
#include "utilities/StringUtils.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <string_view>

namespace ComponentRows {

namespace {

using StringUtils::copyText;

/// A field that may lack its terminator, as a text.
template <std::size_t size>
std::string_view textOf(const char (&field)[size])
{
    return {field, static_cast<std::size_t>(std::find(field, field + size, '\0') - field)};
}

void reportOutOfRange(std::int32_t count, const Component& component)
{
    // The count of rows cuts the literal from its front: deliberately, and so the log is read.
    constexpr std::string_view kDataFields = ". Data fields: ";
    const auto cut = std::min(static_cast<std::size_t>(std::max(count, 0)), kDataFields.size());
    Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                          "Out of range error updating component for APNT Component Configuration at index, " +
                              std::string(kDataFields.substr(cut)) + "rComponentId=" + component.id +
                              ", rName=" + component.name + ", rSN=" + component.serialNumber +
                              ", rSW=" + component.software + ", rHW=" + component.hardware + ", ");
}

}  // namespace

void updateSystemConfiguration(VapntcSystemConfiguration& configuration, const std::string& name,
                               const std::string& serialNumber, const std::string& software,
                               const std::string& hardware, const std::string& manufacturerCode)
{
    copyText(configuration.systemName, name);
    copyText(configuration.systemSerialNumber, serialNumber.empty() ? "N/A" : serialNumber);
    copyText(configuration.systemSoftware, software);
    configuration.softwarePresent = !software.empty();
    copyText(configuration.systemHardware, hardware);
    configuration.hardwarePresent = !hardware.empty();
    std::fill(std::begin(configuration.manufacturerCode), std::end(configuration.manufacturerCode), '\0');
    std::copy_n(manufacturerCode.begin(), std::min(manufacturerCode.size(), sizeof configuration.manufacturerCode),
                configuration.manufacturerCode);
    configuration.manufacturerCodePresent = !manufacturerCode.empty();
}

int findAndClearComponentConfigurationByIdAndName(VapntcSystemConfiguration& configuration,
                                                  const ServerSettings& settings, const std::string& id,
                                                  const std::string& name)
{
    const auto print = [&](const char* text, const std::string& sought) {
        if (settings.m_debug) printLine(std::cout, settings.m_serverName, text, sought);
    };
    for (std::int32_t i = 0; i < configuration.componentCount; ++i) {
        auto& row = configuration.components[i];
        print(": * Searching componentConfigurations for componentId ", id);
        if (textOf(row.componentId) != id) continue;
        print(": ** Found. Comparing to componentConfigurations name ", name);
        if (textOf(row.name) != name) continue;
        print(": *** Found. Clearing componentConfigurations for componentId ", id);
        row = {};
        return i;
    }
    return -1;
}

bool updateComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings, int index,
                                  const Component& component)
{
    if (settings.m_debug)
        printLine(std::cout, settings.m_serverName, ": **** Updating componentConfigurations for componentId ",
                  component.id, ", name ", component.name);
    auto& count = configuration.componentCount;
    const bool append = index == -1;
    const std::int32_t place = append ? count : index;
    if (place < 0 || place >= VAPNTC_MAX_ROWS) {
        reportOutOfRange(count, component);
        return false;
    }
    if (append) ++count;

    auto& row = configuration.components[place];
    copyText(row.componentId, component.id);
    copyText(row.name, component.name);
    copyText(row.serialNumber, component.serialNumber.empty() ? "N/A" : component.serialNumber);
    copyText(row.software, component.software);
    row.softwarePresent = !component.software.empty();
    copyText(row.hardware, component.hardware);
    row.hardwarePresent = !component.hardware.empty();
    return true;
}

bool replaceComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings,
                                   const Component& component)
{
    const int index =
        findAndClearComponentConfigurationByIdAndName(configuration, settings, component.id, component.name);
    return updateComponentConfiguration(configuration, settings, index, component);
}

void updateTARVOComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings,
                                       VersionStatus& status, const std::string& id, const std::string& name)
{
    VersionStatus card;
    card.setSoftware1Version(status.getSoftware1Version());
    card.setHardware1Version(status.getHardware1Version());
    card.setSerialNumber1(status.getSerialNumber1());
    card.setFirmware1Version(status.getFirmware1Version());
    card.setOs1Version(status.getOs1Version());
    card.setAntennaTable(status.getAntennaTable());
    replaceComponentConfiguration(configuration, settings,
                                  {id, name + "-PC", card.getSerialNumber1(), card.createSoftwareFirmwareOnlyMessage(),
                                   card.getHardware1Version()});

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
    replaceComponentConfiguration(configuration, settings,
                                  {id, name + "-KELP", sensor.getSerialNumber2(),
                                   sensor.createSoftwareFirmwareOnlyMessage(), sensor.getHardware2Version()});
}

}  // namespace ComponentRows
