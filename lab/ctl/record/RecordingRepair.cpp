#include "lab/ctl/record/RecordingRepair.h"

#include "lab/ctl/Counted.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/record/Draft.h"
#include "lab/ctl/record/ReadProgress.h"
#include "lab/mcap/Copy.h"

#include <stdexcept>

namespace orvanectl {

namespace {

class Findings : public mcap::RecordSink {
public:
    void attachment(const mcap::Attachment&) override { ++attachments; }
    void problem(std::uint64_t, const std::string&) override { ++problems; }

    std::uint64_t attachments = 0;  // that are whole
    std::uint64_t problems = 0;
};

}  // namespace

std::string repairRecording(const std::string& file, const std::string& into)
{
    // Before it is opened to be read: once nobody writes, it stays as long as it is.
    if (into.empty() && mcap::FileSource(file).isBeingWritten())
        throw std::runtime_error(file + ": is being recorded; a copy of what is there needs -o");
    const mcap::FileSource source(file);
    Findings findings;
    const mcap::ScanResult found = mcap::scan(ReadProgress(source, "reads " + printable(file)), findings);
    if (!found.isRecording) throw std::runtime_error(file + ": is no recording");
    if (found.isClosed && findings.problems == 0) return printable(file) + ": is whole\n";
    if (into.empty() && found.attachments > findings.attachments)
        throw std::runtime_error(file +
                                 ": has a damaged attachment, which would be lost in its place; -o writes a copy "
                                 "without it");

    Draft draft(into.empty() ? file : into, into.empty() ? Draft::Place::Taken : Draft::Place::Free);
    const mcap::CopyResult copied = mcap::copy(ReadProgress(source, "copies " + printable(file)), draft.output(), {});
    draft.keep();
    const std::uint64_t behind = source.size() - found.end;
    return printable(into.empty() ? file : into) + ": closed, with " + counted(copied.written.messages, "message") +
           "; " + (found.isClosed ? "" : counted(behind, "byte") + " at the end and ") +
           counted(copied.problems, "damaged place") + " left out\n";
}

}  // namespace orvanectl
