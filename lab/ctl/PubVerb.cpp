#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/PubRun.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "utilities/ConsoleLine.h"

#include <exception>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  orvanectl pub Command --set command_response=START_ZEROIZE\n"
    "  orvanectl pub UTCTime --from MasterClock --set gps_week=2445 --rate 1 --count 10\n"
    "  orvanectl echo UTCTime --json --count 5 > lines.json\n"
    "  orvanectl pub --file lines.json             as they were, in their own time\n"
    "  orvanectl pub --file lines.json --now       with numbers and times of their own\n"
    "\n"
    "A value is JSON, or a text; a field within another stands behind a dot: covariance.0.1=0.5. Exit\n"
    "status: 0 when all records have arrived, 1 if nobody subscribes, or a file or a DDS participant\n"
    "can't be had, 2 for a wrong command line, also for a field or a value that there is not.";

ExitStatus publish(const PubOptions& options)
{
    try {
        if (options.topic.empty() == options.file.empty())
            throw UnknownName(options.topic.empty() ? "give a TOPIC or --file" : "give a TOPIC or --file, not both");
        if (!options.file.empty() && (!options.settings.empty() || !options.type.empty()))
            throw UnknownName("--set and --type are for a TOPIC, not for --file");
        if (options.file.empty() && options.stampsNow)
            throw UnknownName("--now is for --file; a TOPIC has times of its own");
        runPub(options, std::cout);
        return kDone;
    } catch (const UnknownName& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kMisused;
    } catch (const FieldError& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kMisused;
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

}  // namespace

Verb addPubVerb(CLI::App& tool)
{
    const auto options = std::make_shared<PubOptions>();
    CLI::App* const command = tool.add_subcommand(
        "pub", "Publish records on DDS topics: one made of fields, or lines as echo --json prints them. Times are the "
               "unit's own, by its registers.");
    command->footer(kExamples);
    command->add_option("TOPIC", options->topic, "where a record made of fields goes")->type_name("");
    command->add_option("--set", options->settings, "a field of it; all others are zero")->type_name("FIELD=VALUE");
    command->add_option("--type", options->type, "of it, whatever the connection file says")->type_name("NAME");
    command->add_option("--from", options->server, "the server whose it is, by name or number")
        ->type_name("SERVER")
        ->capture_default_str();
    command->add_option("--file", options->file, "lines of JSON instead; - for standard input")->type_name("FILE");
    command->add_flag("--now", options->stampsNow, "the lines' headers get new numbers and times");
    command->add_option("--rate", options->rate, "records a second")
        ->check(CLI::Range(0.001, 100000.0))
        ->type_name("HZ");
    command->add_option("--count", options->count, "end after so many records")->type_name("N");
    command->add_option("--wait", options->waitSeconds, "for a subscriber")
        ->check(isSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    command
        ->add_option("--connections", options->connections, "domain, transport and topics, as the service reads them")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--devices", options->devices, "where the time stamp registers are")
        ->type_name("FILE")
        ->capture_default_str();
    return {command, [options] { return publish(*options); }};
}

}  // namespace orvanectl
