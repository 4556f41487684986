#ifndef LAB_CTL_VERB_H
#define LAB_CTL_VERB_H

#include <CLI/CLI.hpp>

#include <functional>

namespace orvanectl {

/// How the tool ends.
enum ExitStatus : int { kDone = 0, kFailed = 1, kMisused = 2, kRefused = 2 };

/// A verb of the tool: what the command line says of it, and what it does once that is read. To add one, write its unit
/// with a function as below and name that in the list of OrvaneCtl.cpp.
struct Verb {
    CLI::App* command;  // belongs to the tool's
    std::function<ExitStatus()> run;
};

/// Does a verb's work. What it throws is told on standard error: `UnknownName` and `FieldError` as a wrong command line,
/// all else as a failure.
ExitStatus ended(const std::function<ExitStatus()>& work);

/// The end of a verb that has printed all: a failure, which is told, if standard output did not take it.
ExitStatus printed();

/// Decodes GSSIP records or frames.
Verb addDecodeVerb(CLI::App& tool);

/// Watches the bus of the lab and makes requests.
Verb addBusVerb(CLI::App& tool);

/// Prints the records of DDS topics.
Verb addEchoVerb(CLI::App& tool);

/// Checks the files that the service reads.
Verb addCheckVerb(CLI::App& tool);

/// Publishes records on DDS topics.
Verb addPubVerb(CLI::App& tool);

/// Runs sequences of operations and expectations.
Verb addSeqVerb(CLI::App& tool);

/// Tells why Blended Navigation was not published.
Verb addWhyVerb(CLI::App& tool);

/// Prints how often records of DDS topics come.
Verb addHzVerb(CLI::App& tool);

/// Records DDS topics, the bus and queues.
Verb addRecordVerb(CLI::App& tool);

/// Tells what a recording has.
Verb addInfoVerb(CLI::App& tool);

/// Writes a part of a recording.
Verb addCutVerb(CLI::App& tool);

/// Prints fields of a recording as a table.
Verb addCsvVerb(CLI::App& tool);

/// Plays a recording to the service.
Verb addPlayVerb(CLI::App& tool);

/// Closes a recording that was cut off.
Verb addRepairVerb(CLI::App& tool);

/// Makes a page of a recording.
Verb addReportVerb(CLI::App& tool);

/// Shows all of it on one screen.
Verb addTopVerb(CLI::App& tool);

/// Shows it on a page for a browser.
Verb addServeVerb(CLI::App& tool);

}  // namespace orvanectl

#endif
