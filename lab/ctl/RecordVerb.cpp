#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordRun.h"
#include "lab/ctl/record/RecordingFiles.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace orvanectl {

namespace {

constexpr const char* kRecordExamples =
    "Examples:\n"
    "  orvanectl record                              until Ctrl-C, into a file named by the time\n"
    "  orvanectl record -o drive.mcap --for 5        for five seconds\n"
    "  orvanectl record --socket /tmp/bus            with what is told on the bus of the lab\n"
    "  orvanectl record --queue ZEN_HX=copy.bin      with the records of a queue, from a copy of it\n"
    "  orvanectl record --console service.log        with what the service has printed into a file\n"
    "  orvanectl record -o long.mcap --split 10min   into long-0001.mcap and so on\n"
    "  orvanectl record -o bad.mcap --ring 30        what was before an event of trouble, in bad-0001.mcap\n"
    "\n"
    "With --ring nothing is written until an event of type 3 to 5 comes, SIGUSR1, or Enter on a terminal.\n"
    "\n"
    "Exit status: 0 when all went well, 1 if a file, a DDS participant or a queue's copy can't be had or\n"
    "the recording can't be written, 2 for a wrong command line.";

/// A size or a time, as `splitLimitOf` takes it.
CLI::Validator isSplit()
{
    const auto check = [](const std::string& text) -> std::string {
        try {
            splitLimitOf(text);
            return "";
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
    };
    return {check, ""};
}

ExitStatus record(const RecordOptions& options)
{
    runRecord(options, std::cout);
    return kDone;
}

}  // namespace

Verb addRecordVerb(CLI::App& tool)
{
    const auto options = std::make_shared<RecordOptions>();
    if (const char* const bus = std::getenv("ORVANE_LAB_BUS")) options->socket = bus;
    CLI::App* const command = tool.add_subcommand(
        "record", "Record all DDS topics, the bus of the lab and copies of queues into a file that info, repair and "
                  "viewers of others read. It only listens.");
    command->footer(kRecordExamples);
    command->add_option("-o,--output", options->file, "a new file; else one named by the time")->type_name("FILE");
    command
        ->add_option("--connections", options->connections, "domain, transport and topics, as the service reads them")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS, else none")->type_name("PATH");
    command->add_option("--queue", options->queues, "a queue's name, and the file or named pipe that gets a copy of it")
        ->type_name("NAME=PATH")
        ->allow_extra_args(false);
    command->add_option("--console", options->console, "a file or named pipe that gets what the service prints")
        ->type_name("PATH");
    command->add_option("--for", options->seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    CLI::Option* const split =
        command->add_option("--split", options->split, "a next file after a size or time, such as 64MB or 10min")
            ->check(isSplit())
            ->type_name("LIMIT");
    command->add_option("--ring", options->ring, "keep so much in memory, and write it when there is a reason")
        ->check(isSeconds())
        ->excludes(split)
        ->type_name("SECONDS");
    return {command, [options] { return ended([&] { return record(*options); }); }};
}

}  // namespace orvanectl
