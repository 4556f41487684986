#ifndef LAB_CTL_REPORT_COMPARISON_H
#define LAB_CTL_REPORT_COMPARISON_H

#include "lab/ctl/FrameDecoder.h"

namespace orvanectl {

/// What two reports of recordings tell, side by side: rows of `name`, `unit`, `a`, `b` and `difference`, which is b - a; a
/// value that one of them has not is null. Any thread.
Json comparisonOf(const Json& a, const Json& b);

}  // namespace orvanectl

#endif
