#ifndef LAB_CTL_UNKNOWNNAMES_H
#define LAB_CTL_UNKNOWNNAMES_H

#include <string>
#include <string_view>
#include <vector>

/// What to say of names that stand for nothing: the nearest that does, or all. Pure functions, any thread.
namespace orvanectl {

/// "did you mean UTCTime?", or "there are: Command, UTCTime" where no word was probably meant. On one line.
std::string nearestOrAll(std::string_view word, const std::vector<std::string>& words);

/// Of all lines of the lab's bus; of those that it keeps the last of; and of its tells.
std::vector<std::string> busNames();
std::vector<std::string> keptNames();
std::vector<std::string> tellNames();

/// Of a line of the lab's bus (docs/lab/bus.md), a tell's or a type; empty for one that there is.
std::string unknownBusName(const std::string& name);

/// Of what the bus keeps the last of, tells, `service` and `faults`; empty for one that there is.
std::string unknownKeptName(const std::string& name);

/// Of a type of records; whether there is one is not looked at.
std::string unknownTypeName(const std::string& name);

}  // namespace orvanectl

#endif
