#include "lab/ctl/Verb.h"
#include "lab/ctl/record/RecordingRepair.h"

#include <iostream>
#include <memory>
#include <string>

namespace orvanectl {

namespace {

struct RepairArguments {
    std::string file;
    std::string into;
};

constexpr const char* kRepairExamples =
    "Examples:\n"
    "  orvanectl repair drive.mcap                   in its place\n"
    "  orvanectl repair drive.mcap -o whole.mcap     into another file\n"
    "\n"
    "Exit status: 0 if FILE was whole or is now, 1 if it is no recording or can't be read or written, 2 for\n"
    "a wrong command line.";

ExitStatus repair(const RepairArguments& options)
{
    std::cout << repairRecording(options.file, options.into);
    return printed();
}

}  // namespace

Verb addRepairVerb(CLI::App& tool)
{
    const auto options = std::make_shared<RepairArguments>();
    CLI::App* const command =
        tool.add_subcommand("repair", "Close a recording that was cut off, with all that can be read of it.");
    command->footer(kRepairExamples);
    command->add_option("FILE", options->file, "the recording")->required()->type_name("");
    command->add_option("-o,--output", options->into, "a new file; FILE itself without it")->type_name("FILE");
    return {command, [options] { return ended([&] { return repair(*options); }); }};
}

}  // namespace orvanectl
