#ifndef LAB_CTL_RECORD_RECORDINGREPAIR_H
#define LAB_CTL_RECORD_RECORDINGREPAIR_H

#include <string>

namespace orvanectl {

/// Writes a recording that is closed from all that can be read of `file`, and answers what was done, as a line. A file
/// that is whole is left as it is.
/// Throws `std::runtime_error`; `file` is then as it was. What is written stands beside its place until it is whole, and is
/// gone where that fails or a signal ends the process.
/// @param into  a new file; empty: takes the place of `file` once it is whole, which is refused while it is recorded
std::string repairRecording(const std::string& file, const std::string& into);

}  // namespace orvanectl

#endif
