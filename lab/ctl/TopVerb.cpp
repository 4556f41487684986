#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/top/TopRun.h"
#include "lab/ctl/top/TopScreen.h"
#include "utilities/ConsoleLine.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kTopExamples =
    "Examples:\n"
    "  orvanectl top                       q leaves, h lists the keys\n"
    "  orvanectl top --socket /tmp/bus     with what is told on the bus of the lab\n"
    "\n"
    "Exit status: 0 when all went well, 1 if a file, a DDS participant or the terminal can't be used,\n"
    "2 for a wrong command line, and without a terminal.";

ExitStatus top(const TopOptions& options)
{
    if (!TopScreen::isThere()) {
        printLine(std::cerr, "orvanectl: top needs a terminal on standard input and output; echo and hz don't");
        return kMisused;
    }
    try {
        runTop(options);
        return kDone;
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

}  // namespace

Verb addTopVerb(CLI::App& tool)
{
    const auto options = std::make_shared<TopOptions>();
    if (const char* const bus = std::getenv("ORVANE_LAB_BUS")) options->socket = bus;
    const char* const noColour = std::getenv("NO_COLOR");
    options->hasColours = noColour == nullptr || *noColour == '\0';
    CLI::App* const command = tool.add_subcommand(
        "top", "Show on one screen, four times a second: topics, inputs, joins, queues, bus, events and the service's "
               "process. It only listens.");
    command->footer(kTopExamples);
    command->add_option("FILE", options->file, "the service's top-level file")->type_name("")->capture_default_str();
    command->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS, else none")->type_name("PATH");
    command
        ->add_option("--receiver", options->receiver,
                     "gets a copy of what the receiver's queue gets; else the desk's own")
        ->type_name("PATH");
    command->add_option("--for", options->seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    return {command, [options] { return top(*options); }};
}

}  // namespace orvanectl
