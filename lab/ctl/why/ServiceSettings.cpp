#include "lab/ctl/why/ServiceSettings.h"

#include "VICTORY/OrvaneServer/ServerConfigFile.h"
#include "lab/ctl/check/Silence.h"

#include <stdexcept>

namespace orvanectl {

ServerSettings serviceSettings(const std::string& file)
{
    ServerSettings settings;
    Scheduling ignored;
    const Silence silence;
    if (!ServerConfigFile::read(FACE::String(file.c_str()), settings, ignored))
        throw std::runtime_error(file + ": the service doesn't take this file; orvanectl check tells why");
    return settings;
}

}  // namespace orvanectl
