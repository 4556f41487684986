#include "lab/ctl/Verb.h"
#include "lab/ctl/seq/SeqReport.h"
#include "lab/ctl/seq/SequenceRun.h"
#include "lab/ctl/seq/StepText.h"
#include "utilities/ConsoleLine.h"

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvanectl {

namespace {

struct SeqArguments {
    std::vector<std::string> files;
    SeqPaths paths;
    std::string junit;
    bool json = false;
};

std::string fromEnvironment(const char* name, const char* otherwise)
{
    const char* const value = std::getenv(name);
    return value ? value : otherwise;
}

/// A path of the folder that this tool was built in; empty if there is none.
std::string builtBeside(const char* path)
{
    std::error_code error;
    const auto tool = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return "";
    const auto found = (tool.parent_path() / ".." / ".." / path).lexically_normal();
    return std::filesystem::exists(found, error) ? found.string() : "";
}

void print(const std::string& text)
{
    if (!(std::cout << text << std::flush)) throw std::runtime_error("cannot write to standard output");
}

ExitStatus runAll(const std::vector<Sequence>& sequences, const SeqArguments& options)
{
    EndingSignals signals;
    signals.listen();
    SeqSum sum;
    std::vector<SequenceResults> results;
    for (const Sequence& sequence : sequences) {
        if (signals.received()) break;
        const auto onResult = [&](const StepResult& result) {
            sum.add(result);
            print(options.json ? stepJson(sequence.name, result) : stepLine(sequence.name, result));
        };
        results.push_back({sequence.name, runSequence(sequence, options.paths, signals, onResult)});
    }
    print(options.json ? sumJson(sum) : sumText(sum));
    if (!options.junit.empty() && !(std::ofstream(options.junit) << junitOf(results) << std::flush))
        throw std::runtime_error("cannot write " + options.junit);
    return sum.failed == 0 && sum.notRun == 0 && results.size() == sequences.size() ? kDone : kFailed;
}

ExitStatus run(const SeqArguments& options)
{
    std::vector<Sequence> sequences;
    bool areGood = true;
    for (const std::string& file : options.files) {
        try {
            sequences.push_back(readSequence(file));
        } catch (const std::exception& error) {
            printLine(std::cerr, "orvanectl: ", error.what());
            areGood = false;
        }
    }
    if (!areGood) return kMisused;
    try {
        return runAll(sequences, options);
    } catch (const std::exception& error) {
        printLine(std::cerr, "orvanectl: ", error.what());
        return kFailed;
    }
}

constexpr const char* kSeqExamples =
    "Examples:\n"
    "  orvanectl seq my.seq                            beside a service and a unit-sim that run\n"
    "  orvanectl seq --json --junit result.xml my.seq  the result for programs\n"
    "  orvanectl seq --control /tmp/desk/control - < my.seq\n"
    "\n"
    "Exit status: 0 if all came as expected, 1 if not, 2 for a wrong command line, and for a file\n"
    "that is wrong: then nothing is run.";

}  // namespace

Verb addSeqVerb(CLI::App& tool)
{
    const auto options = std::make_shared<SeqArguments>();
    SeqPaths& paths = options->paths;
    paths.bus = fromEnvironment("ORVANE_LAB_BUS", "/tmp/bus");
    paths.control = "/tmp/desk/control";
    paths.service = builtBeside("VICTORY/OrvaneServer/OrvaneServer");
    paths.unitSim = builtBeside("lab/unit/unit-sim");
    paths.busLibrary = builtBeside("lab/libvictory");
    CLI::App* const command = tool.add_subcommand(
        "seq", "Run sequences of operations, a step a line, each with what is expected of it, and tell what came.");
    command->footer(kSeqExamples);
    command->add_option("FILE", options->files, "sequences, run one after the other; - is the standard input")
        ->required()
        ->type_name("");
    command->add_option("--socket", paths.bus, "the bus; else ORVANE_LAB_BUS, else /tmp/bus")->type_name("PATH");
    command->add_option("--control", paths.control, "of a unit-sim that runs already")
        ->type_name("PATH")
        ->capture_default_str();
    command
        ->add_option("--terminal", paths.terminal,
                     "other end of the terminal of a service that runs already, for key alone")
        ->type_name("PATH");
    command->add_option("--service", paths.service, "program that start runs; else the one built with this tool")
        ->type_name("PATH");
    command->add_option("--unit-sim", paths.unitSim, "program that unit runs; likewise")->type_name("PATH");
    command->add_option("--library", paths.busLibrary, "folder of the bus library for start; likewise")
        ->type_name("FOLDER");
    command->add_option("--config", paths.config, "top-level file for start")->type_name("FILE")->capture_default_str();
    command->add_option("--connections", paths.connections, "domain and topics, for events")
        ->type_name("FILE")
        ->capture_default_str();
    command->add_option("--junit", options->junit, "write what came in the form of JUnit, too")->type_name("FILE");
    command->add_flag("--json", options->json, "one JSON object a line");
    return {command, [options] { return run(*options); }};
}

}  // namespace orvanectl
