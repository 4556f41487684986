#include "reliability/torture/Symbols.h"

#include "tests/support/ChildProcess.h"

#include <cinttypes>
#include <cstdio>
#include <sstream>

namespace torture {

std::vector<std::string> functionsOf(const std::vector<Frame>& frames)
{
    std::vector<std::string> command = {"/usr/bin/addr2line", "-f", "-C", "-i", "-e", ORVANE_SERVER_BINARY};
    const std::size_t bare = command.size();
    for (const Frame& frame : frames) {
        if (frame.object != "OrvaneServer") continue;
        char place[32];  // where the call is, not where it returns to
        std::snprintf(place, sizeof place, "0x%" PRIx64, std::uint64_t{std::stoull(frame.offset, nullptr, 16) - 1});
        command.emplace_back(place);
    }
    if (command.size() == bare) return {};
    ChildProcess lookUp(command);
    lookUp.wait();
    std::vector<std::string> functions;
    std::istringstream lines(lookUp.output());
    for (std::string function, place; std::getline(lines, function) && std::getline(lines, place);)
        functions.push_back(function);
    return functions;
}

}  // namespace torture
