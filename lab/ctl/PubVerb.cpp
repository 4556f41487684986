#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/FrameFields.h"
#include "lab/ctl/PubRun.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kPubExamples =
    "Examples:\n"
    "  orvanectl pub Command --set command_response=START_ZEROIZE\n"
    "  orvanectl pub UTCTime --from MasterClock --set gps_week=2445 --rate 1 --count 10\n"
    "  orvanectl pub 8504 --set angle084=1.5 --set status096.receiver_failure=1\n"
    "  orvanectl pub 5044 --set warningNumber=6 --set 'warningText=ANTENNA OPEN'\n"
    "  orvanectl echo UTCTime --json --count 5 > lines.json\n"
    "  orvanectl pub --file lines.json             as they were, in their own time\n"
    "  orvanectl pub --file lines.json --now       with numbers and times of their own\n"
    "\n"
    "A value is JSON, or a text; a field within another stands behind a dot: covariance.0.1=0.5. 5044,\n"
    "8504 and 15051 are frames for the lab's queues. Exit status: 0 when all has arrived, 1 if nobody\n"
    "subscribes or reads, if a signal breaks it off before its count or its lines are out, or if a file\n"
    "or a DDS participant can't be had, 2 for a wrong command line, also for a field or a value that\n"
    "there is not.";

bool isOfFrame(const std::string& setting)
{
    return !setting.starts_with("header.");
}

ExitStatus publish(const PubOptions& options)
{
    if (options.topic.empty() == options.file.empty())
        throw UnknownName(options.topic.empty() ? "give a TOPIC or --file" : "give a TOPIC or --file, not both");
    if (!options.file.empty() && (!options.settings.empty() || !options.type.empty()))
        throw UnknownName("--set and --type are for a TOPIC, not for --file");
    if (!options.hex.empty() && !findFrameKind(options.topic))
        throw UnknownName("--hex is for a frame: 5044, 8504 or 15051");
    if (!options.hex.empty() && std::ranges::any_of(options.settings, isOfFrame))
        throw UnknownName("--hex is a whole frame; of its fields none can be set");
    if (!options.type.empty() && findFrameKind(options.topic))
        throw UnknownName("--type is for a topic, not for a frame");
    if (options.file.empty() && options.stampsNow)
        throw UnknownName("--now is for --file; a TOPIC has times of its own");
    runPub(options, std::cout);
    return kDone;
}

}  // namespace

Verb addPubVerb(CLI::App& tool)
{
    const auto options = std::make_shared<PubOptions>();
    CLI::App* const command = tool.add_subcommand(
        "pub",
        "Publish records on DDS topics: one made of fields, or lines as echo --json prints them; or frames of the "
        "receiver into the lab's queues. Times are the unit's own, by its registers.");
    command->footer(kPubExamples);
    command->add_option("TOPIC", options->topic, "where a record made of fields goes; or 5044, 8504, 15051")
        ->type_name("");
    command->add_option("--hex", options->hex, "such a frame as it is, checksums included")->type_name("DIGITS");
    command->add_option("--set", options->settings, "a field of it; all others are zero")->type_name("FIELD=VALUE");
    command->add_option("--type", options->type, "of it, whatever the connection file says")->type_name("NAME");
    command
        ->add_option("--from", options->server,
                     "the server whose it is, by name or number; HalvexNavigator, of 5044 and 8504 ZentorM")
        ->type_name("SERVER");
    command->add_option("--system", options->system, "the system that it is from, by name or number")
        ->type_name("SYSTEM")
        ->capture_default_str();
    command->add_option("--file", options->file, "lines of JSON instead; - for standard input, line by line")
        ->type_name("FILE");
    command->add_flag("--now", options->stampsNow, "the lines' headers get new numbers and times");
    command->add_option("--rate", options->rate, "records a second")
        ->check(CLI::Range(0.001, 100000.0))
        ->check(isNumber())
        ->type_name("HZ");
    command->add_option("--count", options->count, "end after so many records")->type_name("N");
    command->add_option("--wait", options->waitSeconds, "for a subscriber, or until a frame is taken")
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
    return {command, [options] { return ended([&] { return publish(*options); }); }};
}

}  // namespace orvanectl
