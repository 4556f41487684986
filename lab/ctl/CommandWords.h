#ifndef LAB_CTL_COMMANDWORDS_H
#define LAB_CTL_COMMANDWORDS_H

#include <CLI/CLI.hpp>

#include <map>
#include <string>
#include <vector>

/// The words of the tool's command line, out of the tables that it is read by.
namespace orvanectl {

/// After a parse that failed: what to say if a verb is missing, or if a verb or an option is none that there is. Empty
/// if something else is wrong.
std::string unknownWord(const CLI::App& tool);

/// Words that may stand for an argument, by its name ("TOPIC") or by that of a command and its own ("pub TOPIC"), which
/// comes first; and behind an option, by the option's ("--type").
using KnownValues = std::map<std::string, std::vector<std::string>>;

/// A script for bash that completes the tool's verbs and options, values that are known, and otherwise names of files.
std::string bashCompletion(const CLI::App& tool, const KnownValues& values = {});

}  // namespace orvanectl

#endif
