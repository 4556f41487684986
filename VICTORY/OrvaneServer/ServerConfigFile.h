#ifndef VICTORY_ORVANESERVER_SERVERCONFIGFILE_H
#define VICTORY_ORVANESERVER_SERVERCONFIGFILE_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "face/FACE_String.h"

#include <cstdint>
#include <string>

/// The section of the top-level configuration file that describes the unit.
inline constexpr const char* SYST_NAME = "Halvex";

/// How the process wants to be scheduled. 0 leaves either as it is.
struct Scheduling {
    std::uint16_t priority = 0;  ///< of the first-in-first-out real-time class; its low 8 bits count
    std::uint16_t cpu = 0;       ///< counted from 1; its low 8 bits count

    /// Asks the system for it, and tells on the console what came of it; false if anything is refused.
    /// @param serverName  in the lines
    bool apply(const std::string& serverName) const;
};

/// The top-level configuration file. The main thread alone, before there is another one: no lock is taken.
namespace ServerConfigFile {

/// Reads the unit's section and that of the service. What is missing is told on the console, and so is every key behind
/// it, deliberately: the failure is sticky.
/// @param settings  gets what was read, also beside a failure, but then no source ids and no limits of clear-data
///                  operations
/// @return false if the file, a section or a key can't be had
bool read(const FACE::String& file, ServerSettings& settings, Scheduling& scheduling);

/// Prints all parameters as one line.
void print(const ServerSettings& settings, const Scheduling& scheduling);

}  // namespace ServerConfigFile

#endif
