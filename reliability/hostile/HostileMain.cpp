// A surrounding that means harm, for the service as it is shipped: reliability_hostile [--short] [STEP...]

#include "reliability/hostile/Scene.h"
#include "tests/support/Transport.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

struct NamedStep {
    const char* name;
    Step step;
    bool isInShort = true;  // without being named
};

constexpr NamedStep kSteps[] = {{"ended-queue", endedQueue},     {"full-queues", fullQueues},
                                {"blocked-tell", blockedTell},   {"stray-calls", strayCalls, false},
                                {"killed-peers", killedPeers},   {"wrong-types", wrongTypes},
                                {"duplicates", duplicates},      {"poison", poison},
                                {"signals-twice", signalsTwice}, {"stop-and-continue", stopAndContinue},
                                {"memory-limit", memoryLimit}};

int usage()
{
    std::cerr << "usage: reliability_hostile [--short] [STEP...]; steps:";
    for (const NamedStep& step : kSteps) std::cerr << ' ' << step.name;
    std::cerr << '\n';
    return 2;
}

}  // namespace

int main(int argc, char* argv[])
{
    bool isShort = false;
    std::vector<std::string> wanted;
    for (const std::string& word : std::vector<std::string>(argv + 1, argv + argc)) {
        const bool isStep = std::ranges::find(kSteps, word, &NamedStep::name) != std::end(kSteps);
        if (word == "--short")
            isShort = true;
        else if (isStep)
            wanted.push_back(word);
        else
            return usage();
    }
    silenceLibrary();
    Report report("hostile", std::cout);
    for (const NamedStep& step : kSteps) {
        const bool isWanted =
            wanted.empty() ? step.isInShort || !isShort : std::ranges::find(wanted, step.name) != wanted.end();
        if (!isWanted) continue;
        const auto start = std::chrono::steady_clock::now();
        try {
            step.step(report, isShort);
        } catch (const std::exception& error) {
            report.broken(std::string(step.name) + ": " + error.what());
        }
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
        report.figure(std::string(step.name) + ": took", passed.count(), "s");
    }
    std::cout.flush();
    _exit(report.status());  // threads of the DDS library may still use statics
}
