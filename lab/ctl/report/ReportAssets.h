#ifndef LAB_CTL_REPORT_REPORTASSETS_H
#define LAB_CTL_REPORT_REPORTASSETS_H

#include "lab/ctl/serve/PageAssets.h"

#include <span>

namespace orvanectl {

/// The files that the page of a report is made of; any thread.
std::span<const PageAsset> reportAssets();

}  // namespace orvanectl

#endif
