#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/serve/ReplayRun.h"
#include "lab/ctl/serve/ServeRun.h"
#include "utilities/ConsoleLine.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kServeExamples =
    "Examples:\n"
    "  orvanectl serve                       until Ctrl-C; prints the page's address\n"
    "  orvanectl serve --port 0 --socket /tmp/bus\n"
    "  orvanectl serve --port 0 --replay drive.mcap     a recording, with a time slider\n"
    "\n"
    "Exit status: 0 when all went well, 1 if a file, a DDS participant or the place to\n"
    "listen at can't be had, 2 for a wrong command line.";

ExitStatus serve(const ServeOptions& options)
{
    try {
        (options.recording.empty() ? runServe : runReplay)(options, std::cout);
        return kDone;
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

}  // namespace

Verb addServeVerb(CLI::App& tool)
{
    const auto options = std::make_shared<ServeOptions>();
    if (const char* const bus = std::getenv("ORVANE_LAB_BUS")) options->socket = bus;
    CLI::App* const command = tool.add_subcommand(
        "serve", "Show on a live page, for a browser on this machine: navigation, inputs, NavWar, warnings, tests, "
                 "events; with buttons for requests of the bus.");
    command->footer(kServeExamples);
    command->add_option("FILE", options->file, "the service's top-level file")->type_name("")->capture_default_str();
    CLI::Option* const socket =
        command->add_option("--socket", options->socket, "the bus; else ORVANE_LAB_BUS, else none")->type_name("PATH");
    command->add_option("--replay", options->recording, "shows a recording in place of what is sent now")
        ->excludes(socket)
        ->type_name("FILE");
    command->add_option("--port", options->port, "to listen at; 0: any that is free")
        ->check(CLI::Range(0, 65535))
        ->type_name("N")
        ->capture_default_str();
    CLI::Option* const address = command
                                     ->add_option("--address", options->address,
                                                  "to listen at, in numbers; others than loopback let the network in")
                                     ->type_name("ADDRESS")
                                     ->capture_default_str();
    command->add_option("--name", options->names, "a name by which the page is asked for besides")->type_name("HOST");
    command
        ->add_option("--descriptor", options->descriptor, "a socket that listens already, in place of address and port")
        ->check(CLI::Range(0, 1 << 20))
        ->type_name("N")
        ->excludes(address);
    command->add_option("--for", options->seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    return {command, [options] { return serve(*options); }};
}

}  // namespace orvanectl
