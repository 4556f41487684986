#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordingSource.h"

namespace orvanectl {

namespace {

constexpr const char* kHzExamples =
    "Examples:\n"
    "  orvanectl hz                                 all topics of the connection file\n"
    "  orvanectl hz PositionVelocityAttitude --window 5\n"
    "  orvanectl hz --every 10 --count 1 --json     one report, after 10 seconds\n"
    "  orvanectl hz --recording drive.mcap\n"
    "\n"
    "gaps: places where sequence numbers of a source are missing, and how many; back: numbers not\n"
    "higher than the one before; lost: records that were sent and have not arrived here.\n"
    "\n"
    "Ctrl-C ends it; the last line sums up. Exit status: as echo has it.";

}  // namespace

Verb addHzVerb(CLI::App& tool)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* const command = tool.add_subcommand(
        "hz",
        "Print for DDS topics how often and how completely their records come: rate over the last seconds, count, "
        "gaps in the sequence numbers. It only listens.");
    command->footer(kHzExamples);
    command->add_option("TOPIC", options->topics, "what to look at; all without one")->type_name("");
    addWatchOptions(*command, *options);
    command->add_option("--count", options->count, "end after so many reports")->type_name("N");
    command->add_option("--window", options->windowSeconds, "over which the rate is taken")
        ->check(isSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    command->add_option("--every", options->everySeconds, "between reports")
        ->check(isSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    return {command, [options] { return runWatch(runHz, runHzOfRecording, *options); }};
}

}  // namespace orvanectl
