#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/record/RecordRun.h"

#include <cstdlib>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  orvanectl record                              until Ctrl-C, into a file named by the time\n"
    "  orvanectl record -o drive.mcap --for 5        for five seconds\n"
    "  orvanectl record --socket /tmp/bus            with what is told on the bus of the lab\n"
    "  orvanectl record --queue ZEN_HX=copy.bin      with the records of a queue, from a copy of it\n"
    "\n"
    "Exit status: 0 when all went well, 1 if a file, a DDS participant or a queue's copy can't be had or\n"
    "the recording can't be written, 2 for a wrong command line.";

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
    command->footer(kExamples);
    command->add_option("-o,--output", options->file, "a new file; else one named by the time")->type_name("FILE");
    command
        ->add_option("--connections", options->connections, "domain, transport and topics, as the service reads them")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS, else none")->type_name("PATH");
    command->add_option("--queue", options->queues, "a queue's name, and the file or named pipe that gets a copy of it")
        ->type_name("NAME=PATH")
        ->allow_extra_args(false);
    command->add_option("--for", options->seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    return {command, [options] { return ended([&] { return record(*options); }); }};
}

}  // namespace orvanectl
