#include "lab/ctl/record/RecordingTrouble.h"

#include "lab/ctl/Counted.h"
#include "lab/ctl/FrameDecoder.h"
#include "utilities/ConsoleLine.h"

#include <iostream>

namespace orvanectl {

std::string cutOffText(const mcap::ScanResult& result)
{
    if (result.isClosed) return "";
    return "was cut off at byte " + std::to_string(result.end) + ", or its end is damaged";
}

std::string troubleText(const mcap::ScanResult& result, std::uint64_t problems)
{
    std::string text = cutOffText(result);
    if (problems > 0) text += (text.empty() ? "" : ", ") + counted(problems, "damaged place");
    return text;
}

void sayTrouble(const std::string& file, const std::string& trouble)
{
    if (!trouble.empty()) printLine(std::cerr, "orvanectl: ", printable(file), ": ", trouble);
}

}  // namespace orvanectl
