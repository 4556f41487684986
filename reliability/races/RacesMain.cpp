// The whole service and the unit's simulator, both built with the thread sanitizer, over the stand-ins: every kind of
// input and request, orders to sanitize, part numbers and ends under load. What the sanitizer reports, or the check of
// the order of locks, is a broken promise. What is planted shows that either would be seen.

#include "reliability/Report.h"
#include "reliability/SanitizerReports.h"
#include "reliability/races/LoadedService.h"
#include "tests/support/Desk.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr const char* kLockOrder = "lock order: ";

/// The sanitizer's options for a process whose reports go to files of that name.
std::string optionsFor(const std::string& name)
{
    return "halt_on_error=0:exitcode=0:second_deadlock_stack=1:suppressions=" ORVANE_SUPPRESSIONS
           ":log_path=" ORVANE_RACES_LOGS "/" +
           name;
}

/// The service with a mistake, as it ends and what was reported.
void findPlanted(Report& report)
{
    const auto run = [](const std::string& mistake) {
        const Desk desk;
        std::vector<std::string> line =
            Desk::commandLine({"TSAN_OPTIONS=" + optionsFor("planted"), "ORVANE_PLANTED=" + mistake});
        line.at(line.size() - 2) = ORVANE_PLANTED_SERVICE;
        ChildProcess service(line);
        if (service.waitUntilHandled(SIGINT)) service.send(SIGTERM);
        service.wait();
        return service.errors();
    };
    run("race");
    const std::vector<std::string> reports = SanitizerReports::read(ORVANE_RACES_LOGS, "planted.");
    const auto isPlanted = [](const std::string& text) { return text.find("Planted.cpp") != text.npos; };
    if (report.expect(std::ranges::any_of(reports, isPlanted), "the planted race was not reported"))
        report.note("the planted race is reported: " + *std::ranges::find_if(reports, isPlanted));
    const std::string errors = run("inversion");
    const std::size_t place = errors.find(kLockOrder);
    if (report.expect(place != errors.npos, "the planted inversion was not reported"))
        report.note("the planted inversion is reported: " + errors.substr(place, errors.find('\n', place) - place));
}

void runLoaded(Report& report, const LoadedService::Load& load, std::chrono::seconds length)
{
    const std::string name = load.name;
    setenv("TSAN_OPTIONS", optionsFor("unit").c_str(), 1);  // for the simulator
    const LoadedService::Outcome outcome = LoadedService(load, {"TSAN_OPTIONS=" + optionsFor("service")}).live(length);
    report.figure(name + ": requests answered", static_cast<double>(outcome.answers));
    report.figure(name + ": records told", static_cast<double>(outcome.tells));
    report.figure(name + ": restarts of the bus service", static_cast<double>(outcome.restarts));
    report.expect(outcome.trouble.empty(), name + ": " + outcome.trouble);
    report.expect(outcome.answers > 0 && outcome.tells > 0 && outcome.restarts > 0, name + ": there was no load");
    report.expect(outcome.status == 0 && outcome.signal == 0, name + ": the service ended with status " +
                                                                  std::to_string(outcome.status) + ", signal " +
                                                                  std::to_string(outcome.signal));
    const std::size_t place = outcome.errors.find(kLockOrder);
    report.expect(place == outcome.errors.npos,
                  name + ": " + (place == outcome.errors.npos ? "" : outcome.errors.substr(place, 120)));
}

void run(Report& report, bool isShort)
{
    using Load = LoadedService::Load;
    const Load loads[] = {
        {.name = "answers as they should be", .unit = {}, .orders = "START_ZEROIZE"},
        {.name = "refusals, silence and a flood of orders",
         .unit = {"--answers", "nack", "--silent", "GPS"},
         .holdDeletionMs = 300,
         .orders = "START_DESTROY",
         .ordersEvery = 100ms},
        {.name = "operations that never end",
         .unit = {"--answers", "ack-only"},
         .orders = "START_ZEROIZE",
         .hasTester = true},
    };
    const std::chrono::seconds length = isShort ? 5s : 120s;
    report.note("each load for " + std::to_string(length.count()) + " s");
    for (const Load& load : loads) runLoaded(report, load, length);

    for (const char* process : {"service", "unit"}) {
        const std::vector<std::string> found = SanitizerReports::read(ORVANE_RACES_LOGS, std::string(process) + ".");
        for (const std::string& text : found) report.broken(std::string(process) + ": " + text);
        report.figure(std::string("reports of the thread sanitizer, ") + process, static_cast<double>(found.size()), "",
                      {Goal::AtMost, 0});
    }
    findPlanted(report);
}

}  // namespace

int main(int argc, char* argv[])
{
    Report report("races", std::cout);
    try {
        fs::remove_all(ORVANE_RACES_LOGS);
        fs::create_directories(ORVANE_RACES_LOGS);
        run(report, argc > 1 && std::string_view(argv[1]) == "--short");
    } catch (const std::exception& error) {
        report.broken(error.what());
    }
    return report.status();
}
