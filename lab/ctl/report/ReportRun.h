#ifndef LAB_CTL_REPORT_REPORTRUN_H
#define LAB_CTL_REPORT_REPORTRUN_H

#include "lab/ctl/FrameDecoder.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace orvanectl {

struct ReportOptions {
    std::vector<std::string> files;  ///< one recording, or two that are compared
    std::string page;                ///< a new file; empty: none
    std::string settings;            ///< the service's own file; empty: the unit's if there is one, else none
    bool json = false;               ///< prints the numbers
};

/// Writes the page, and prints the numbers or how large the page is. Answers whether all recordings are whole. Throws
/// `std::runtime_error` for what can't be read or written.
bool runReport(const ReportOptions& options, std::ostream& output);

/// `recordings`, each as `reportOf` has it, `settings` (whose they are), and of two a `comparison`.
/// @param recordings  in their order
Json wholeReport(std::vector<Json> recordings, const std::string& settings);

}  // namespace orvanectl

#endif
