#ifndef LAB_CTL_WATCHVERB_H
#define LAB_CTL_WATCHVERB_H

#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchRun.h"

#include <memory>

namespace orvanectl {

/// Adds what verbs that watch topics have in common: --connections, --recording, --type, --for and --json.
void addWatchOptions(CLI::App& command, WatchOptions& options);

/// A length of time in seconds, from a millisecond to a year.
CLI::Validator isSeconds();

/// What is not a number passes each range it is compared with; this refuses it.
CLI::Validator isNumber();

/// Runs it, of a recording if one is named; what goes wrong is a line on standard error.
using Watch = void (*)(const WatchOptions&, std::ostream&);
ExitStatus runWatch(Watch live, Watch ofRecording, const WatchOptions& options);

}  // namespace orvanectl

#endif
