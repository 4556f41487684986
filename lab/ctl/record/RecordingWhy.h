#ifndef LAB_CTL_RECORD_RECORDINGWHY_H
#define LAB_CTL_RECORD_RECORDINGWHY_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "lab/ctl/why/WhyRun.h"

#include <ostream>

namespace orvanectl {

/// Prints of `options.recording` what `runWhy` prints while it listens, by the times at which it was recorded: of the
/// five topics, of the bus if it was recorded, and of the receiver's queue if that was. No time passes. Throws as
/// `runWhy` does.
void runWhyOfRecording(const WhyOptions& options, std::ostream& output);

/// The same by settings that are read already.
void runWhyOfRecording(const WhyOptions& options, const ServerSettings& settings, std::ostream& output);

}  // namespace orvanectl

#endif
