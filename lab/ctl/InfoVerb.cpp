#include "lab/ctl/Verb.h"
#include "lab/ctl/record/RecordingInfo.h"

#include <iostream>
#include <memory>
#include <string>

namespace orvanectl {

namespace {

struct InfoArguments {
    std::string file;
    bool json = false;
};

constexpr const char* kInfoExamples =
    "Examples:\n"
    "  orvanectl info drive.mcap\n"
    "  orvanectl info drive.mcap --json\n"
    "\n"
    "gaps: places where sequence numbers of a source are missing, and how many; back: numbers not higher\n"
    "than the one before; missed: records that were sent and did not arrive at the recorder, since the\n"
    "first that did.\n"
    "\n"
    "Exit status: 0 if FILE is whole, 1 if it was cut off or is damaged, or can't be read, 2 for a wrong\n"
    "command line.";

ExitStatus info(const InfoArguments& options)
{
    const RecordingInfo info = infoOf(options.file);
    std::cout << (options.json ? infoJson(info) : infoText(info));
    const ExitStatus status = printed();
    return info.isClosed && info.problemCount == 0 ? status : kFailed;
}

}  // namespace

Verb addInfoVerb(CLI::App& tool)
{
    const auto options = std::make_shared<InfoArguments>();
    CLI::App* const command = tool.add_subcommand(
        "info", "Tell what a recording has: its time, and for each channel counts, rates, gaps and what was missed.");
    command->footer(kInfoExamples);
    command->add_option("FILE", options->file, "the recording")->required()->type_name("");
    command->add_flag("--json", options->json, "one JSON object");
    return {command, [options] { return ended([&] { return info(*options); }); }};
}

}  // namespace orvanectl
