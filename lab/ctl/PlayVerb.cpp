#include "lab/ctl/ConnectionFile.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/WatchVerb.h"
#include "lab/ctl/play/PlayKeys.h"
#include "lab/ctl/play/PlayRun.h"

#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kPlayExamples =
    "Examples:\n"
    "  orvanectl play drive.mcap\n"
    "  orvanectl play drive.mcap --rate 10 --start 0.2\n"
    "  orvanectl play drive.mcap --channel UTCTime --channel PositionVelocityAttitude --loop\n"
    "  orvanectl play drive.mcap --fast            with the times of now\n"
    "\n"
    "Keys: space pauses and goes on, . plays the next message of a paused play, + and - change the rate,\n"
    "q ends it. Exit status: 0 when all was played, and when a key or, of a loop, a signal has ended it;\n"
    "1 if nobody subscribes to any topic, if a signal breaks it off, if a subscriber takes no more for\n"
    "5 s, or if a file, a queue or a DDS participant can't be had; 2 for a wrong command line, also for a channel that "
    "there is not.";

ExitStatus play(const PlayOptions& options)
{
    if (options.isFast && options.rate != 1) throw UnknownName("give --fast or --rate, not both");
    if (options.leavesRegisters && options.registers) throw UnknownName("give --registers or --no-registers, not both");
    runPlay(options, std::cout);
    return kDone;
}

}  // namespace

Verb addPlayVerb(CLI::App& tool)
{
    const auto options = std::make_shared<PlayOptions>();
    CLI::App* const command = tool.add_subcommand(
        "play", "Play a recording to the service: its records on their topics and into the lab's queues, in their own "
                "time, which the unit's registers follow.");
    command->footer(kPlayExamples);
    command->add_option("FILE", options->file, "the recording")->required()->type_name("");
    command->add_option("--channel", options->choice.channels, "what to play; all without one")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->add_option("--rate", options->rate, "so many times as fast as it was")
        ->check(CLI::Range(kSlowestPlay, kFastestPlay))
        ->check(isNumber())
        ->type_name("N");
    command->add_option("--start", options->choice.startSeconds, "begin so far behind its first message")
        ->check(CLI::NonNegativeNumber.description(""))
        ->check(isNumber())
        ->type_name("SECONDS");
    command->add_flag("--loop", options->loops, "begin again at the end; the times go on");
    command->add_flag("--pause", options->isPaused, "begin paused");
    command->add_flag("--step", options->steps, "play a message for each key, or line of standard input");
    command->add_flag("--fast", options->isFast, "play as fast as it goes, with the times of headers moved to now");
    command->add_flag("--own", options->choice.withOwn, "play what the service itself had sent, too");
    command->add_option("--wait", options->waitSeconds, "for subscribers of all topics; then it begins without")
        ->check(isSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    command
        ->add_option("--registers", options->registers,
                     "memory of the unit whose registers follow; else /dev/mem, if it is the lab's")
        ->type_name("FILE");
    command->add_flag("--no-registers", options->leavesRegisters, "leave registers and flag files alone");
    command->add_option("--connections", options->connections, "domain and transport, as the service reads them")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--devices", options->devices, "where registers and queues are")
        ->type_name("FILE")
        ->capture_default_str();
    return {command, [options] { return ended([&] { return play(*options); }); }};
}

}  // namespace orvanectl
