#ifndef LAB_CTL_WATCHVERB_H
#define LAB_CTL_WATCHVERB_H

#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchRun.h"

#include <memory>

namespace orvanectl {

/// Adds what verbs that watch topics have in common: --connections, --type, --for and --json.
void addWatchOptions(CLI::App& command, WatchOptions& options);

/// A length of time in seconds, from a millisecond to a year.
CLI::Validator isSeconds();

/// Runs it; what goes wrong is a line on standard error.
ExitStatus runWatch(void (*watch)(const WatchOptions&, std::ostream&), const WatchOptions& options);

}  // namespace orvanectl

#endif
