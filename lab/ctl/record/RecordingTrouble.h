#ifndef LAB_CTL_RECORD_RECORDINGTROUBLE_H
#define LAB_CTL_RECORD_RECORDINGTROUBLE_H

#include "lab/mcap/Reader.h"

#include <cstdint>
#include <string>

/// What could not be read of a recording. Pure functions but the last, any thread.
namespace orvanectl {

/// "was cut off at byte 120, or its end is damaged"; empty for one that ended well.
std::string cutOffText(const mcap::ScanResult& result);

/// That and "2 damaged places".
std::string troubleText(const mcap::ScanResult& result, std::uint64_t problems);

/// Says it on standard error, as a line that names the file; nothing if it is empty.
void sayTrouble(const std::string& file, const std::string& trouble);

}  // namespace orvanectl

#endif
