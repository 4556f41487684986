#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordingWhy.h"
#include "lab/ctl/why/WhyRun.h"
#include "utilities/ConsoleLine.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kWhyExamples =
    "Examples:\n"
    "  orvanectl why --for 60\n"
    "  orvanectl why --socket /tmp/bus --all         beside what the lab's bus says\n"
    "  orvanectl why --receiver copy.bin --json      hears the receiver's queue, too\n"
    "  orvanectl why --recording drive.mcap          of a recording, by its times\n"
    "\n"
    "Exit status: 0 when it has listened, 1 if a file, a DDS participant or the bus can't be had, 2 for\n"
    "a wrong command line.";

void ofRecording(const WhyOptions& options, std::ostream& output)
{
    runWhyOfRecording(options, output);
}

ExitStatus why(const WhyOptions& options)
{
    try {
        (options.recording.empty() ? runWhy : ofRecording)(options, std::cout);
        return kDone;
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

}  // namespace

Verb addWhyVerb(CLI::App& tool)
{
    const auto options = std::make_shared<WhyOptions>();
    if (const char* const bus = std::getenv("ORVANE_LAB_BUS")) options->socket = bus;
    CLI::App* const command = tool.add_subcommand(
        "why",
        "Tell why Blended Navigation was not published: for each time message that was not joined, which input was "
        "missing, refused, late or early, by the service's own rules. It only listens.");
    command->footer(kWhyExamples);
    command->add_option("FILE", options->file, "the service's top-level file")->type_name("")->capture_default_str();
    command->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS, else none")->type_name("PATH");
    CLI::Option* const receiver = command
                                      ->add_option("--receiver", options->receiver,
                                                   "gets a copy of what the receiver's queue gets; else the desk's own")
                                      ->type_name("PATH");
    command->add_option("--recording", options->recording, "reads a recording in place of what is sent now")
        ->excludes(receiver)
        ->type_name("FILE");
    command->add_option("--for", options->seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    command->add_flag("--all", options->all, "tell of what was joined, too");
    command->add_flag("--json", options->json, "one JSON object a line");
    return {command, [options] { return why(*options); }};
}

}  // namespace orvanectl
