#include "reliability/Report.h"
#include "reliability/Statistics.h"
#include "reliability/restart/Cycles.h"
#include "reliability/restart/Promise.h"
#include "reliability/restart/RowLine.h"
#include "tests/support/ChildProcess.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// How long a peer of the service is without it when it is killed and started anew, by transport and by the pause between.
//
//     tests/support/unit reliability_restart [--short] [TRANSPORT...]
//
// Each row of the table runs as a process of its own, `--cycles`, on a unit of its own, several beside each other.

namespace fs = std::filesystem;
using Json = nlohmann::json;
using namespace std::chrono_literals;

namespace {

constexpr std::size_t kBeside = 13;  // they wait most of the time

/// How a row is handed to its process, and what comes back.
std::vector<std::string> wordsOf(const Cycles& cycles)
{
    return {cycles.transport, std::to_string(cycles.pause.count()), std::to_string(cycles.count),
            std::to_string(cycles.deadline.count()), cycles.isSwept ? "swept" : "left"};
}

Cycles cyclesOf(const std::vector<std::string>& words)
{
    if (words.size() != 5) throw std::runtime_error("--cycles TRANSPORT PAUSE COUNT DEADLINE swept|left");
    return {words[0], std::chrono::milliseconds(std::stoi(words[1])), std::stoi(words[2]),
            std::chrono::milliseconds(std::stoi(words[3])), words[4] == "swept"};
}

int runOne(const std::vector<std::string>& words)
{
    const CyclesSeen seen = runCycles(cyclesOf(words));
    const Json line = {{"heard", seen.heard},
                       {"deaf", seen.deaf},
                       {"failedMeetings", seen.failedMeetings},
                       {"cured", seen.cured},
                       {"mostLeft", seen.mostLeft},
                       {"running", seen.running},
                       {"heldWhenHeard", seen.heldWhenHeard},
                       {"heldWhenDeaf", seen.heldWhenDeaf ? static_cast<std::int64_t>(*seen.heldWhenDeaf) : -1},
                       {"mostHeldWhenDeaf", seen.mostHeldWhenDeaf}};
    std::cout << line.dump() << std::endl;
    return 0;
}

/// Runs a row on a unit of its own.
CyclesSeen runBeside(const Cycles& cycles)
{
    std::vector<std::string> command = {ORVANE_SANDBOX, "--", fs::read_symlink("/proc/self/exe"), "--cycles"};
    for (const std::string& word : wordsOf(cycles)) command.push_back(word);
    ChildProcess process(command);
    const auto hasTold = [&] { return rowLineIn(process.output()) || !process.errors().empty(); };
    const auto each = cycles.pause + cycles.deadline + 300s;  // and what a new meeting takes
    if (!eventually(hasTold, each * (cycles.count + 1))) throw std::runtime_error("a row has not ended");
    if (process.wait() != ChildProcess::Ending{0, 0}) throw std::runtime_error(process.errors());
    const auto line = rowLineIn(process.output());
    if (!line) throw std::runtime_error("a row has told nothing");
    const auto told = Json::parse(*line);
    CyclesSeen seen;
    seen.heard = told.at("heard").get<std::vector<double>>();
    seen.failedMeetings = told.at("failedMeetings").get<int>();
    seen.deaf = told.at("deaf").get<int>();
    seen.cured = told.at("cured").get<int>();
    seen.mostLeft = told.at("mostLeft").get<std::size_t>();
    seen.running = told.at("running").get<double>();
    seen.heldWhenHeard = told.at("heldWhenHeard").get<std::size_t>();
    if (const auto held = told.at("heldWhenDeaf").get<std::int64_t>(); held >= 0)
        seen.heldWhenDeaf = static_cast<std::size_t>(held);
    seen.mostHeldWhenDeaf = told.at("mostHeldWhenDeaf").get<std::size_t>();
    return seen;
}

std::string nameOf(const Cycles& cycles)
{
    return cycles.transport + ", after " + std::to_string(cycles.pause / 1s) + " s" + (cycles.isSwept ? ", swept" : "");
}

void tell(Report& report, const Cycles& cycles, CyclesSeen seen)
{
    const std::string name = nameOf(cycles);
    report.figure(name + ", deaf for " + std::to_string(cycles.deadline / 1s) + " s", seen.deaf,
                  "of " + std::to_string(cycles.count), {Goal::AtMost, 0});
    if (const auto promise = promiseOf(cycles.transport, cycles.pause); promise && !cycles.isSwept)
        for (const std::string& broken : brokenOf(*promise, seen, cycles.count)) report.broken(name + ": " + broken);
    if (seen.deaf > 0)
        report.figure(name + ", of the deaf, cured by a restart after 8 s", seen.cured,
                      "of " + std::to_string(seen.deaf));
    if (seen.failedMeetings > 0) report.figure(name + ", first meetings of new ones that failed", seen.failedMeetings);
    if (cycles.transport == "SHM")
        report.note(name + ", ports of the dead that the peer still held: when it heard at most " +
                    std::to_string(seen.heldWhenHeard) + ", when it was deaf " +
                    (seen.heldWhenDeaf
                         ? std::to_string(*seen.heldWhenDeaf) + " to " + std::to_string(seen.mostHeldWhenDeaf)
                         : std::string("-")));
    if (!seen.heard.empty()) Statistics::tell(report, name + ", heard again", std::move(seen.heard), "s");
    report.note(name + ", files left: " + std::to_string(seen.mostLeft) +
                " at most, the peer's among them; slowest start " + std::to_string(std::lround(1000.0 * seen.running)) +
                " ms");
}

std::vector<Cycles> table(bool isShort, const std::vector<std::string>& transports)
{
    std::vector<Cycles> rows;
    for (const std::string& transport : transports) {
        if (isShort) {
            // As many of one cycle as tell a rate from always, where a peer may stay deaf.
            const auto [atOnce, later] = transport == "SHM"          ? std::pair(4, 2)
                                         : transport == "TCP_Client" ? std::pair(2, 1)
                                                                     : std::pair(1, 1);
            for (int row = 0; row < atOnce + later; ++row) rows.push_back({transport, row < atOnce ? 0s : 7s, 1, 12s});
            continue;
        }
        for (int pause = 0; pause <= 8; ++pause) rows.push_back({transport, std::chrono::seconds(pause), 12, 30s});
        if (transport != "SHM") continue;
        for (const int pause : {0, 1, 3, 5}) rows.push_back({transport, std::chrono::seconds(pause), 12, 30s, true});
    }
    return rows;
}

int runAll(bool isShort, const std::vector<std::string>& transports)
{
    Report report("restart", std::cout);
    const auto rows = table(isShort, transports);
    std::atomic<std::size_t> next = 0;
    std::mutex mutex;
    std::vector<CyclesRow> seen;
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < std::min(kBeside, rows.size()); ++i)
            threads.emplace_back([&] {
                for (std::size_t row = next++; row < rows.size(); row = next++) try {
                        const CyclesSeen one = runBeside(rows[row]);
                        tell(report, rows[row], one);
                        const std::lock_guard lock(mutex);
                        seen.push_back({rows[row], one});
                    } catch (const std::exception& error) {
                        report.broken(nameOf(rows[row]) + ": " + error.what());
                    }
            });
    }
    for (const std::string& broken : brokenOverAll(seen)) report.broken(broken);
    return report.status();
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (!words.empty() && words[0] == "--cycles") return runOne({words.begin() + 1, words.end()});
        const bool isShort = std::erase(words, "--short") > 0;
        const std::vector<std::string> known = {"SHM", "UDP", "TCP_Client", "TCP_Server"};
        for (const std::string& word : words)
            if (!std::ranges::count(known, word)) throw std::runtime_error(word + ": no such transport");
        return runAll(isShort, words.empty() ? known : words);
    } catch (const std::exception& error) {
        std::cerr << "reliability_restart: " << error.what() << '\n';
        return 1;
    }
}
