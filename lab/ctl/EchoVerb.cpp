#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordingSource.h"

namespace orvanectl {

namespace {

constexpr const char* kEchoExamples =
    "Examples:\n"
    "  orvanectl echo EventLog                      a line for each event, from now on\n"
    "  orvanectl echo EventLog --backfill           and first those that publishers still hold\n"
    "  orvanectl echo UTCTime --count 1             a paragraph with every field\n"
    "  orvanectl echo EventLog MaintenanceEvent --json --for 60\n"
    "  orvanectl echo --type GSSIP Frames           a topic that the connection file has not\n"
    "  orvanectl echo EventLog --recording drive.mcap   what a recording has\n"
    "\n"
    "Ctrl-C ends it; the last line sums up. Exit status: 0 when all went well, 1 if the connection\n"
    "file or a DDS participant can't be had, 2 for a wrong command line, also for a topic or a type\n"
    "that there is not.";

}  // namespace

Verb addEchoVerb(CLI::App& tool)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const command = tool.add_subcommand(
        "echo", "Print the records of DDS topics decoded: source, sequence number, time of validity, every field by "
                "name; of EventLog and MaintenanceEvent a line each. It only listens.");
    command->footer(kEchoExamples);
    command->add_option("TOPIC", options->topics, "what to show")->required()->type_name("");
    addWatchOptions(*command, *options);
    command->add_option("--count", options->count, "end after so many records")->type_name("N");
    command->add_flag("--full", options->full, "a paragraph with every field for all types");
    command->add_flag("--backfill", options->backfill,
                      "first the records that publishers still hold; they send again then what is lost on the way");
    return {command, [options] { return runWatch(runEcho, runEchoOfRecording, *options); }};
}

}  // namespace orvanectl
