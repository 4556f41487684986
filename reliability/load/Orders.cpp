#include "reliability/Statistics.h"
#include "reliability/load/Ending.h"
#include "reliability/load/Scenes.h"
#include "tests/support/Partners.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr const char* kDeleted = "\nOrvaneServer : VapntsService exited\n";
constexpr double kPromised = 10.0;  // s; a second or two, ten events and the restart that is under way, with room

/// @return seconds from SIGTERM to the end
double endInFlood(Report& report, double& commands)
{
    const std::string what = "a flood of orders";
    Desk desk;
    desk.set("Debug", "true");
    Partners partners(desk);
    desk.run();
    Bus bus;
    if (!partners.waitForService()) throw std::runtime_error("the partners don't meet the service");
    const auto begin = std::chrono::steady_clock::now();
    double sent = 0.0;
    std::jthread flood([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            partners.command("START_ZEROIZE");
            ++sent;
        }
    });
    report.expect(desk.awaitOutput(kDeleted, 2), what + " is not carried out");
    const double seconds = endInOrder(report, desk.service(), what);
    flood.request_stop();
    flood.join();
    desk.replace("Connections.xml", "<BackFillHistory>true<", "<BackFillHistory>false<");  // as the partners found it
    commands = sent / std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const std::string dropped = "Orders to sanitize that were not carried out: ";
    report.expect(desk.count(dropped) >= 1, what + ": what was dropped is not told");
    return seconds;
}

}  // namespace

void Scenes::orders(Report& report, bool isShort)
{
    std::vector<double> times;
    double commands = 0.0;
    for (int run = 0; run < (isShort ? 1 : 20); ++run) times.push_back(endInFlood(report, commands));
    report.figure("orders, a second in the last flood", commands, "Hz");
    Statistics::tell(report, "orders, SIGTERM to the end", times, "s", Goal{Goal::AtMost, 4});
    for (const double seconds : times) report.expect(seconds <= kPromised, "the end took longer than is promised");
}
