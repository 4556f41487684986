#include "aspn2_msgs/EventLog.h"
#include "face/HX_TSS_Listeners.h"
#include "tests/support/Desk.h"
#include "tests/support/Transport.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

// What the service costs as it is shipped: its start, its memory, its time on the processor.
//
//     lab/sandbox -- bench_service [STARTS [SECONDS]]
//
// Milliseconds from the exec to the service running, and to its "started successfully" on the log's topic (which gives
// out an event every 100 ms, this one as the third), median of STARTS; then memory and processor time over SECONDS with
// unit-sim at its usual rate and at a hundred times that. The stand-in of the bus library is part of the process.

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

void end(ChildProcess& process)
{
    process.send(SIGTERM);
    if (process.wait() != ChildProcess::Ending{0, 0}) throw std::runtime_error("it ended badly: " + process.errors());
}

/// The start of a service: until it runs, and until it says so.
struct Start {
    double running = 0.0;  // ms
    double told = 0.0;     // ms
};

Start measureStart(Desk& desk)
{
    Inbox<aspn2_msgs::idl::EventLog> log;
    const Transport transport(kConnections, "bench");
    const auto front = transport.typed<aspn2_msgs::idl::EventLog>();
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    front->Register_Callback(transport.connect("EventLog"), log.callback(), code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no log");

    const auto begin = Clock::now();
    desk.run();
    const auto running = Clock::now();
    const bool isTold = eventually([&] {
        return std::ranges::any_of(log.items(), [](const auto& item) {
            return item.message.eventlog() == std::string("OrvaneServer started successfully.");
        });
    });
    const auto told = Clock::now();
    if (!isTold) throw std::runtime_error("the service does not tell that it has started");
    end(desk.service());
    return {Milliseconds(running - begin).count(), Milliseconds(told - begin).count()};
}

/// Seconds that a process has had of the processor.
double processorSeconds(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field) fields >> skipped;
    long long user = 0, system = 0;
    if (!(fields >> user >> system)) throw std::runtime_error("no such process");
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// A number of /proc/PID/status, in MiB.
double memory(pid_t process, const std::string& key)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key + ":")) return std::stod(line.substr(key.size() + 1)) / 1024.0;
    throw std::runtime_error("no " + key);
}

void measureRate(Desk& desk, const std::string& rate, std::chrono::seconds duration)
{
    ChildProcess unit({ORVANE_UNIT_SIM, "--rate", rate, "--quiet"});
    const pid_t service = desk.run().id();
    {
        Bus bus;
        bus.awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
    }
    const auto begin = Clock::now();
    const double before = processorSeconds(service);
    std::this_thread::sleep_for(duration);
    const double used = processorSeconds(service) - before;
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::cout << std::setw(3) << rate << " Hz: " << 100.0 * used / seconds << " % of a processor, "
              << memory(service, "VmRSS") << " MiB resident, at most " << memory(service, "VmHWM") << " MiB"
              << std::endl;
    end(desk.service());
    end(unit);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const int starts = argc > 1 ? std::stoi(argv[1]) : 10;
        const std::chrono::seconds duration(argc > 2 ? std::stoi(argv[2]) : 20);
        if (starts < 1 || duration.count() < 1) throw std::invalid_argument("at least one start and one second");
        std::cout << std::fixed << std::setprecision(1);

        Desk desk;
        desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");  // no event is missed
        std::vector<double> running, told;
        for (int i = 0; i < starts; ++i) {
            const Start start = measureStart(desk);
            running.push_back(start.running);
            told.push_back(start.told);
        }
        desk.replace("Connections.xml", "<BackFillHistory>true<", "<BackFillHistory>false<");
        std::cout << "start: runs after " << median(running) << " ms, tells so after " << median(told) << " ms"
                  << std::endl;
        measureRate(desk, "1", duration);
        measureRate(desk, "100", duration);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench_service: " << error.what() << std::endl;
        return 1;
    }
}
