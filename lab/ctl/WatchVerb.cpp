#include "lab/ctl/WatchVerb.h"

#include <cmath>
#include <iostream>
#include <string>

namespace orvanectl {

CLI::Validator isSeconds()
{
    constexpr double kShortest = 0.001;
    constexpr double kLongest = 31'536'000;
    const auto check = [](const std::string& text) -> std::string {
        double seconds = 0;
        const bool isGood = CLI::detail::lexical_cast(text, seconds) && seconds >= kShortest && seconds <= kLongest;
        return isGood ? "" : text + " is no time from 0.001 to 31536000 seconds";
    };
    return {check, ""};
}

CLI::Validator isNumber()
{
    const auto check = [](const std::string& text) -> std::string {
        double number = 0;
        const bool isGood = CLI::detail::lexical_cast(text, number) && !std::isnan(number);
        return isGood ? "" : text + " is no number";
    };
    return {check, ""};
}

void addWatchOptions(CLI::App& command, WatchOptions& options)
{
    command.add_option("--connections", options.connections, "domain, transport and topics, as the service reads them")
        ->type_name("FILE")
        ->capture_default_str();
    command.add_option("--recording", options.recording, "shows a recording in place of what is sent now")
        ->type_name("FILE");
    command.add_option("--type", options.type, "of the records, whatever FILE says; the topic needn't be there then")
        ->type_name("NAME");
    command.add_option("--for", options.seconds, "end after so long")->check(isSeconds())->type_name("SECONDS");
    command.add_flag("--json", options.json, "one JSON object a line");
}

ExitStatus runWatch(Watch live, Watch ofRecording, const WatchOptions& options)
{
    return ended([&] {
        (options.recording.empty() ? live : ofRecording)(options, std::cout);
        return kDone;
    });
}

}  // namespace orvanectl
