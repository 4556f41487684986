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

/// Words that may stand for an argument, or behind an option, by its name ("TOPIC", "--type") or by that of a command and
/// its own ("pub TOPIC"), which comes first.
using KnownValues = std::map<std::string, std::vector<std::string>>;

/// A script for bash that completes the tool's verbs and options, values that are known, and otherwise names of files:
/// behind an option that takes a value of which nothing is known those alone, and where an argument of which nothing is
/// known may begin those first.
std::string bashCompletion(const CLI::App& tool, const KnownValues& values = {});

}  // namespace orvanectl

#endif
