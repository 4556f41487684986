#ifndef LAB_CTL_CHECK_CHECKS_H
#define LAB_CTL_CHECK_CHECKS_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "lab/ctl/check/ConfigCheck.h"
#include "lab/ctl/check/ConfigText.h"

#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <sys/sysinfo.h>
#include <vector>

/// The checks of one file each. All add to the findings what is wrong and throw nothing but what memory does.
namespace orvanectl {

/// What a key of a container must be.
struct KeyRule {
    enum class Kind {
        Text,
        Boolean,   ///< "true", "false" or a number
        Number,    ///< decimal, 0x or octal
        Decimal,   ///< decimal only
        Decimals,  ///< decimal numbers with commas between them
    };

    const char* name;
    Kind kind;
    std::int64_t least;
    std::int64_t most;
    const char* meaning;  ///< what would be right
};

/// Looks at all keys of a container: missing, unknown and wrong ones.
/// @param missing  what a missing key is
void checkKeys(const ConfigContainer& container, std::span<const KeyRule> rules, Findings& findings,
               Severity missing = Severity::Error);

/// Tells of keys that nothing reads.
/// @param known    those that are read
/// @param missing  of these, those that are not there: probably one of them is meant
void checkUnknownKeys(const ConfigContainer& container, const std::vector<std::string>& known,
                      const std::vector<std::string>& missing, Findings& findings);

/// A text that is taken as true or false, whatever it is.
void checkBoolean(const ConfigContainer& container, const ConfigKey& key, Findings& findings);

/// A number as the service reads it: by its leading digits, 0 if there are none. Tells if that isn't the whole text, or
/// not within the bounds.
/// @param base  0: decimal, 0x or octal
std::int64_t checkNumber(const ConfigContainer& container, const ConfigKey& key, int base, std::int64_t least,
                         std::int64_t most, Findings& findings);

/// "; did you mean NAME?", or nothing if none is near.
std::string suggestion(const std::string& word, const std::vector<std::string>& words);

/// A server from which something is taken, and the key that says so.
struct NamedServer {
    std::string place;  ///< "section/key"
    int line;
    std::uint8_t server;
};

/// The top-level file.
/// @param settings  gets what the service reads, the names of the other files empty if they are not there
/// @return the servers that it names and that there are
std::vector<NamedServer> checkServerFile(const CheckOptions& options, ServerSettings& settings, Findings& findings);

/// The file of the bus connections.
/// @param memory  bytes that the service can have
void checkConnections(const std::string& path, std::uint64_t memory, Findings& findings);

/// Bytes of memory and swap, as many of them as one process can have.
std::uint64_t memoryOf(const struct sysinfo& machine);

/// The same of this machine, or of the largest unit that there may be.
std::uint64_t memoryOfService(bool isThisMachine);

/// The file of the devices.
/// @param looksAtMachine  whether the queue devices must be there
void checkDevices(const std::string& path, bool looksAtMachine, Findings& findings);

/// The bus library's configuration and its VCL text.
void checkBusFiles(const std::string& configuration, const std::string& vcl, Findings& findings);

/// The unit's sensors.
/// @return the servers that report those that are enabled
std::set<std::uint8_t> checkSensors(const std::string& path, Findings& findings);

/// The servers of the top-level file beside those of the sensors: a note for each that no sensor has. A navigator is
/// none, so it may well be meant. Without a sensor that has a server nothing is told.
/// @param sensors  path of the sensors' file
void checkSources(const std::string& file, const std::vector<NamedServer>& named, const std::string& sensors,
                  const std::set<std::uint8_t>& servers, Findings& findings);

}  // namespace orvanectl

#endif
