#include "lab/ctl/Verb.h"
#include "lab/ctl/report/ReportRun.h"
#include "utilities/ConsoleLine.h"

#include <iostream>
#include <memory>

namespace orvanectl {

namespace {

constexpr const char* kReportExamples =
    "Examples:\n"
    "  orvanectl report drive.mcap -o drive.html         a page for a browser\n"
    "  orvanectl report before.mcap after.mcap -o both.html      two of them, compared\n"
    "  orvanectl report drive.mcap --json                the same numbers\n"
    "\n"
    "Exit status: 0 when all went well, 1 if a FILE was cut off or is damaged (its page is written all the\n"
    "same), or something can't be read or written, 2 for a wrong command line.";

ExitStatus report(const ReportOptions& options)
{
    if (options.page.empty() && !options.json) {
        printLine(std::cerr, "orvanectl: where to? -o PAGE, or --json (orvanectl report --help tells more)");
        return kMisused;
    }
    if (runReport(options, std::cout)) return kDone;
    printLine(std::cerr, "orvanectl: a recording was cut off or is damaged: orvanectl info tells more");
    return kFailed;
}

}  // namespace

Verb addReportVerb(CLI::App& tool)
{
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* const command = tool.add_subcommand(
        "report", "Make one page of a recording, or of two to compare: what happened, in pictures.");
    command->footer(kReportExamples);
    command->add_option("FILE", options->files, "the recording, or two")->required()->expected(1, 2)->type_name("");
    command->add_option("-o,--output", options->page, "write the page there; a file that is there stays")
        ->type_name("PAGE");
    command
        ->add_option("--settings", options->settings, "the service's top-level file; else the unit's, if there is one")
        ->type_name("FILE");
    command->add_flag("--json", options->json, "print the numbers as one JSON object");
    return {command, [options] { return ended([&] { return report(*options); }); }};
}

}  // namespace orvanectl
