#ifndef LAB_CTL_REPORT_REPORTPAGE_H
#define LAB_CTL_REPORT_REPORTPAGE_H

#include "lab/ctl/FrameDecoder.h"

#include <string>

namespace orvanectl {

/// A page that needs nothing but itself, with these numbers in it: what the recordings have said is text there, whatever
/// it is. Any thread.
/// @param report  as `ReportRun.h` has it
std::string reportPage(const Json& report);

}  // namespace orvanectl

#endif
