#ifndef LAB_CTL_REPORT_RECORDINGREPORT_H
#define LAB_CTL_REPORT_RECORDINGREPORT_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/mcap/File.h"

#include <cstdint>
#include <functional>
#include <string>

namespace orvanectl {

/// What a recording tells, as numbers: of bounded size, however long it is (docs/lab/orvanectl-report.md tells the
/// members). Seconds are since its earliest message. What comes earlier than something before it counts as coming with
/// that. Reads all of it twice, damaged or not. Throws `std::runtime_error` for what is no recording.
/// @param name      of the file
/// @param settings  of the service, for what is joined
/// @param progress  gets, from time to time, the share that is read, 0 to 1
Json reportOf(const mcap::Source& source, const std::string& name, const ServerSettings& settings,
              const std::function<void(double)>& progress = {});

}  // namespace orvanectl

#endif
