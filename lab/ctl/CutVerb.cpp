#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordingCut.h"

#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kCutExamples =
    "Examples:\n"
    "  orvanectl cut drive.mcap -o part.mcap --from 0.2 --to 0.8\n"
    "  orvanectl cut drive.mcap -o events.mcap --channel EventLog --channel MaintenanceEvent\n"
    "\n"
    "Exit status: 0 when all went well, 1 if FILE is no recording or can't be read or the other can't be\n"
    "written, 2 for a wrong command line, also for a channel that there is not.";

ExitStatus cut(const CutOptions& options)
{
    std::cout << cutRecording(options);
    return printed();
}

}  // namespace

Verb addCutVerb(CLI::App& tool)
{
    const auto options = std::make_shared<CutOptions>();
    CLI::App* const command =
        tool.add_subcommand("cut", "Write a part of a recording, by time and channel, into another.");
    command->footer(kCutExamples);
    command->add_option("FILE", options->file, "the recording")->required()->type_name("");
    command->add_option("-o,--output", options->into, "a new file")->required()->type_name("FILE");
    command->add_option("--from", options->from, "behind its first message")
        ->check(CLI::NonNegativeNumber.description(""))
        ->check(isNumber())
        ->type_name("SECONDS");
    command->add_option("--to", options->to, "likewise, and that moment too")
        ->check(CLI::NonNegativeNumber.description(""))
        ->check(isNumber())
        ->type_name("SECONDS");
    command->add_option("--channel", options->channels, "what to keep; all without one")
        ->type_name("NAME")
        ->allow_extra_args(false);
    return {command, [options] { return ended([&] { return cut(*options); }); }};
}

}  // namespace orvanectl
