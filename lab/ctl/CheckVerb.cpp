#include "lab/ctl/Counted.h"
#include "lab/ctl/FrameDecoder.h"
#include "lab/ctl/Progress.h"
#include "lab/ctl/Rendering.h"
#include "lab/ctl/Verb.h"
#include "lab/ctl/check/ConfigCheck.h"
#include "utilities/ConsoleLine.h"

#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>

namespace orvanectl {

namespace {

struct CheckArguments {
    CheckOptions check;
    bool json = false;
};

Findings found(CheckOptions options)
{
    Progress progress(STDERR_FILENO);
    options.onFile = [&](const std::string& path) { progress.say("reads " + printable(path)); };
    return checkConfiguration(options);
}

ExitStatus check(const CheckArguments& options)
{
    const Findings findings = found(options.check);
    for (const Finding& finding : findings.sorted())
        std::cout << (options.json ? finding.json() : finding.asLine() + '\n');
    const bool starts = findings.errors() == 0;
    if (options.json)
        std::cout << jsonLine({{"kind", "sum"},
                               {"errors", findings.errors()},
                               {"warnings", findings.warnings()},
                               {"notes", findings.notes()},
                               {"starts", starts}});
    else
        std::cout << "orvanectl: " << counted(findings.errors(), "error") << ", "
                  << counted(findings.warnings(), "warning")
                  << (findings.notes() == 0 ? "" : ", " + counted(findings.notes(), "note"))
                  << (starts ? ": the service takes this configuration\n" : ": the service would not start\n");
    if (!std::cout.flush()) {
        printLine(std::cerr, "orvanectl: cannot write to standard output");
        return kRefused;
    }
    if (!starts) return kRefused;
    return findings.warnings() == 0 ? kDone : kFailed;
}

constexpr const char* kCheckExamples =
    "Examples:\n"
    "  orvanectl check                                      the unit's own files and devices\n"
    "  orvanectl check --config lab/config                  the lab's sample, on any machine\n"
    "  orvanectl check --config new new/Test.xml            with another top-level file\n"
    "  orvanectl check --json > findings.json\n"
    "\n"
    "Exit status: 0 if all is well but for notes, 1 if there are warnings, 2 if the service would not\n"
    "start, also if a file is missing; 2 for a wrong command line, too.";

}  // namespace

Verb addCheckVerb(CLI::App& tool)
{
    const auto options = std::make_shared<CheckArguments>();
    CLI::App* const command = tool.add_subcommand(
        "check", "Read all files that the service would read and report everything that is wrong with them, a line "
                 "each. An error is what keeps the service from starting.");
    command->footer(kCheckExamples);
    auto* const file =
        command->add_option("FILE", options->check.file, "the top-level file; the unit's own otherwise")->type_name("");
    command
        ->add_option("--config", options->check.folder,
                     "folder that stands for /opt/halvex/config; this machine's devices are not looked at then")
        ->type_name("FOLDER");
    command->add_flag("--json", options->json, "one JSON object a line");
    return {command, [options, file] {
                if (file->count() == 0) options->check.file = options->check.found(options->check.file);
                try {
                    return check(*options);
                } catch (const std::exception& error) {
                    printLine(std::cerr, "orvanectl: ", error.what());
                    return kRefused;
                }
            }};
}

}  // namespace orvanectl
