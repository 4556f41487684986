#ifndef LAB_CTL_WHY_SERVICESETTINGS_H
#define LAB_CTL_WHY_SERVICESETTINGS_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "lab/ctl/QueueTaps.h"

#include <string>
#include <vector>

namespace orvanectl {

/// What the service reads from its top-level file, by its own reading code. Throws `std::runtime_error`, which names the
/// file, if the service would not take it.
ServerSettings serviceSettings(const std::string& file);

/// The queues of its file of devices; what that lacks is left out.
std::vector<QueueName> queuesOf(const ServerSettings& settings);

}  // namespace orvanectl

#endif
