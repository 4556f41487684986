#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/record/RecordingCsv.h"
#include "utilities/ConsoleLine.h"

#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr const char* kCsvExamples =
    "Examples:\n"
    "  orvanectl csv drive.mcap EventLog.eventlog           its time, and the text\n"
    "  orvanectl csv drive.mcap UTCTime.header.seq_num AssuranceState\n"
    "  orvanectl csv drive.mcap MeasurementIncorporationStatus.meas_types.0    of the first element alone\n"
    "\n"
    "A channel alone, or a field that has some within it, stands for all of these. A row is a message; what it\n"
    "has not is empty. seconds: since the first message of FILE, as cut counts them.\n"
    "\n"
    "Exit status: 0 when all went well, 1 if FILE was cut off or is damaged, or can't be read, 2 for a wrong\n"
    "command line, also for a channel or field that there is not.";

ExitStatus csv(const CsvOptions& options)
{
    std::optional<Progress> progress;
    if (::isatty(STDOUT_FILENO) != 1) progress.emplace(STDERR_FILENO).say("reads " + printable(options.file));
    const std::string trouble = printCsv(options, std::cout);
    progress.reset();
    if (trouble.empty()) return kDone;
    printLine(std::cerr, "orvanectl: ", options.file, ": ", trouble);
    return kFailed;
}

}  // namespace

Verb addCsvVerb(CLI::App& tool)
{
    const auto options = std::make_shared<CsvOptions>();
    CLI::App* const command =
        tool.add_subcommand("csv", "Print fields of a recording as comma-separated values, a row for each message.");
    command->footer(kCsvExamples);
    command->add_option("FILE", options->file, "the recording")->required()->type_name("");
    command->add_option("FIELD", options->fields, "a channel, or CHANNEL.FIELD")->required()->type_name("");
    return {command, [options] { return ended([&] { return csv(*options); }); }};
}

}  // namespace orvanectl
