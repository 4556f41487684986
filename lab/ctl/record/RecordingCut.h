#ifndef LAB_CTL_RECORD_RECORDINGCUT_H
#define LAB_CTL_RECORD_RECORDINGCUT_H

#include <optional>
#include <string>
#include <vector>

namespace orvanectl {

struct CutOptions {
    std::string file;
    std::string into;                   ///< a new file
    double from = 0;                    ///< seconds behind the first message
    std::optional<double> to;           ///< likewise; else all that follows
    std::vector<std::string> channels;  ///< all without one
};

/// Writes a part of a recording, which is there once it is whole, and answers what was done, as a line. Throws `std::runtime_error`, and `UnknownName` for
/// a channel that the recording has not, and an end before the start. Says on standard error if the recording was cut off.
std::string cutRecording(const CutOptions& options);

}  // namespace orvanectl

#endif
