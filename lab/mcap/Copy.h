#ifndef LAB_MCAP_COPY_H
#define LAB_MCAP_COPY_H

#include "lab/mcap/Reader.h"
#include "lab/mcap/Writer.h"

#include <functional>

namespace mcap {

/// What goes into a copy; all without a limit.
struct CopyFilter {
    TimeRange range;
    std::function<bool(const Channel&)> channel;  ///< empty: all
};

struct CopyResult {
    ScanResult source;
    Statistics written;
    std::uint64_t problems = 0;  ///< places that were left out
};

/// Writes a recording that is closed from all that can be read of another, be it damaged or cut off: messages, with their
/// schemas and channels, and all metadata and attachments. Numbers of schemas and channels may be new ones.
/// Throws what `source` and `output` do; nothing is written unless `source` begins as a recording.
CopyResult copy(const Source& source, Output& output, const Writer::Options& options, const CopyFilter& filter = {});

}  // namespace mcap

#endif
