#include "lab/ctl/record/RecordingCut.h"

#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/Counted.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/UnknownNames.h"
#include "lab/ctl/record/Draft.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/ctl/record/RecordingOverview.h"
#include "lab/ctl/record/RecordingTrouble.h"
#include "lab/mcap/Copy.h"

#include <algorithm>

namespace orvanectl {

std::string cutRecording(const CutOptions& options)
{
    if (options.to && *options.to < options.from) throw UnknownName("--to lies before --from");
    const mcap::FileSource source(options.file);
    const std::string name = printable(options.file);
    const RecordingOverview overview = overviewOf(ReadProgress(source, "reads " + name), options.file);
    const std::vector<std::string> topics = overview.topics();
    for (const std::string& channel : options.channels) {
        if (std::ranges::find(topics, channel) == topics.end())
            throw UnknownName(name + ": no channel " + printable(channel) + "; " + nearestOrAll(channel, topics));
    }
    mcap::CopyFilter filter;
    filter.range.start = overview.timeBehindStart(options.from);
    if (options.to) filter.range.end = overview.timeBehindStart(*options.to);
    if (!options.channels.empty())
        filter.channel = [&](const mcap::Channel& channel) {
            return std::ranges::find(options.channels, channel.topic) != options.channels.end();
        };
    Draft draft(options.into, Draft::Place::Free);
    const mcap::CopyResult copied = mcap::copy(ReadProgress(source, "copies " + name), draft.output(), {}, filter);
    draft.keep();
    sayTrouble(options.file, cutOffText(copied.source));
    return printable(options.into) + ": " + counted(copied.written.messages, "message") + " of " +
           counted(copied.written.channels, "channel") +
           (copied.problems > 0 ? "; " + counted(copied.problems, "damaged place") + " left out\n" : "\n");
}

}  // namespace orvanectl
