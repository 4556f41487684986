#include "reliability/hostile/Scene.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

namespace {

using Ending = ChildProcess::Ending;

constexpr std::int64_t kMebibyte = 1024 * 1024;

/// `Foreign`: the DDS library ended it by an assertion of its own, with a line.
enum class Outcome { Ran, Refused, Foreign, Broken };

/// Starts the service with a limit, and ends it once it runs.
/// @param kind  as prlimit names it
Outcome outcomeWith(Report& report, const std::string& kind, std::int64_t limit)
{
    const std::string what = "memory-limit: " + kind + " of " + std::to_string(limit / kMebibyte) + " MiB: ";
    std::vector<std::string> line = {"/usr/bin/prlimit", "--" + kind + "=" + std::to_string(limit)};
    const auto command = Desk::commandLine();
    line.insert(line.end(), command.begin(), command.end());
    ChildProcess service(line);
    try {
        const bool isRunning = service.waitUntilHandled(SIGINT);
        if (isRunning) service.send(SIGTERM);
        const Ending ending = service.wait();
        const std::string text = service.output() + service.errors();
        if (isRunning && ending == Ending{0, 0}) return Outcome::Ran;
        // The dynamic linker ends it with 127.
        const bool isTold = ending == Ending{-1, SIGABRT} || ending == Ending{127, 0} || ending == Ending{1, 0};
        const bool isNamed = text.find("what():") != std::string::npos ||
                             text.find("terminate called") != std::string::npos ||
                             text.find("error while loading shared libraries") != std::string::npos ||
                             text.find("cannot ") != std::string::npos;
        if (isTold && isNamed) return Outcome::Refused;
        if (isTold && text.find("Assertion `") != std::string::npos) return Outcome::Foreign;
        report.broken(what + "status " + std::to_string(ending.status) + ", signal " + std::to_string(ending.signal) +
                      (isRunning ? ", it had run" : "") +
                      ", its last words: " + text.substr(text.size() - std::min<std::size_t>(text.size(), 200)));
    } catch (const std::exception& error) {
        report.broken(what + error.what());
    }
    return Outcome::Broken;
}

}  // namespace

/// The least memory that the service runs with, and what happens with less of it.
void memoryLimit(Report& report, bool isShort)
{
    Scene scene(report);
    const std::vector<std::string> kinds =
        isShort ? std::vector<std::string>{"as"} : std::vector<std::string>{"as", "data"};
    constexpr std::int64_t kLeast = 16 * kMebibyte;  // with less the kernel does not even begin the program
    for (const std::string& kind : kinds) {
        std::int64_t tooSmall = kLeast, enough = 1024 * kMebibyte;
        if (!report.expect(outcomeWith(report, kind, enough) == Outcome::Ran, "memory-limit: 1 GiB is too little"))
            continue;
        while (!isShort && enough - tooSmall > kMebibyte) {
            const std::int64_t middle = (tooSmall + enough) / 2;
            (outcomeWith(report, kind, middle) == Outcome::Ran ? enough : tooSmall) = middle;
        }
        report.figure("memory-limit: it runs with " + kind + " of", static_cast<double>(enough / kMebibyte), "MiB");
        const std::int64_t most = isShort ? 96 * kMebibyte : tooSmall, tries = isShort ? 2 : 40;
        int refused = 0, foreign = 0;
        for (std::int64_t part = 1; part <= tries; ++part) {
            const Outcome outcome = outcomeWith(report, kind, kLeast + (most - kLeast) * part / tries);
            refused += outcome == Outcome::Refused;
            foreign += outcome == Outcome::Foreign;
        }
        const std::string what = "memory-limit: of " + std::to_string(tries) + " limits of " + kind + " below, ";
        report.figure(what + "ended by an exception, or the linker, with a text", refused);
        report.figure(what + "by an assertion of the DDS library", foreign);
    }
}
