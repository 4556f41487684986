#ifndef LAB_CTL_SERVE_REPLAYRUN_H
#define LAB_CTL_SERVE_REPLAYRUN_H

#include "lab/ctl/serve/ServeRun.h"

#include <ostream>

namespace orvanectl {

/// Reads `options.recording`, prints the page's address, and serves what was recorded on it until a signal comes or the
/// time is over. The bus is not asked for anything. Throws `std::runtime_error` for what can't be had.
void runReplay(const ServeOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
