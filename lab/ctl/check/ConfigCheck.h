#ifndef LAB_CTL_CHECK_CONFIGCHECK_H
#define LAB_CTL_CHECK_CONFIGCHECK_H

#include "lab/ctl/check/Findings.h"

#include <functional>
#include <string>

namespace orvanectl {

/// What is checked, and for which machine.
struct CheckOptions {
    std::string file = "/opt/halvex/config/OrvaneServer.xml";

    /// Where the files of the unit's folder /opt/halvex/config are looked for; empty: there. Then this machine isn't the
    /// unit: its devices, processors and rights are not looked at.
    std::string folder;

    /// Called with each file before it is read.
    std::function<void(const std::string& path)> onFile;

    /// @return the path under which a path of the unit is found
    std::string found(const std::string& path) const;
};

/// Reads all that the service would read when it is started with that file, by the rules and the reading code of the
/// service, and looks at more than it does. An error is what keeps it from starting. What the hardware answers, and
/// what other programs hold (ports, memory), is not asked.
///
/// Prints nothing, changes nothing. One thread, while no other one prints.
Findings checkConfiguration(const CheckOptions& options);

}  // namespace orvanectl

#endif
