#ifndef LAB_UNIT_COMMANDLINE_H
#define LAB_UNIT_COMMANDLINE_H

#include "lab/unit/Settings.h"

#include <optional>
#include <ostream>

namespace unitsim {

/// What the command line asks for: settings to run with, or else the status to end with.
struct CommandLine {
    std::optional<Settings> settings;
    int status = 0;
};

/// Prints help to `out`, and what is wrong, by option and value, to `err` (status 2).
CommandLine readCommandLine(int argc, const char* const* argv, std::ostream& out, std::ostream& err);

}  // namespace unitsim

#endif
