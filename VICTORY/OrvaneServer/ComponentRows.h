#ifndef VICTORY_ORVANESERVER_COMPONENTROWS_H
#define VICTORY_ORVANESERVER_COMPONENTROWS_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "VICTORY/libvictory/victory.h"
#include "utilities/VersionStatus.h"

#include <string>

/// The head and the rows of the configuration record that clients of the bus read. Functions of what they are given,
/// but for lines on the console in debug, and the event of a row that finds no room. A row is identified by its id and
/// name together: a server may have several. Texts are cut to 255 characters.
namespace ComponentRows {

/// What a row says. Nothing of the software or the hardware is known if it is empty.
struct Component {
    std::string id;
    std::string name;
    std::string serialNumber;  ///< "N/A" in the row if it is empty
    std::string software;
    std::string hardware;
};

/// Fills the head of the record; the rows and their count stay.
/// @param serialNumber      "N/A" in the record if it is empty
/// @param manufacturerCode  its first five characters count
void updateSystemConfiguration(VapntcSystemConfiguration& configuration, const std::string& name,
                               const std::string& serialNumber, const std::string& software,
                               const std::string& hardware, const std::string& manufacturerCode);

/// The index of a row, which is zeroed; -1 if there is none.
int findAndClearComponentConfigurationByIdAndName(VapntcSystemConfiguration& configuration,
                                                  const ServerSettings& settings, const std::string& id,
                                                  const std::string& name);

/// Fills a row; false, with an event, if there is no room for it.
/// @param index  -1 for a new row behind the others
bool updateComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings, int index,
                                  const Component& component);

/// Fills the row of a component anew, or a new one; false, with an event, if there is no room for that.
bool replaceComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings,
                                   const Component& component);

/// Fills the two rows of the sensor service, which reports its processing card and the sensor proper in one answer.
/// @param name  of the service: that of the rows is followed by "-PC" and "-KELP"
void updateTARVOComponentConfiguration(VapntcSystemConfiguration& configuration, const ServerSettings& settings,
                                       VersionStatus& status, const std::string& id, const std::string& name);

}  // namespace ComponentRows

#endif
