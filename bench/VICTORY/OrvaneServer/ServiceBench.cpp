#include "aspn2_msgs/EventLog.h"
#include "bench/Figure.h"
#include "bench/Processor.h"
#include "face/HX_TSS_Listeners.h"
#include "tests/support/Desk.h"
#include "tests/support/Transport.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

// What the service costs as it is shipped: its start and end, its memory, its time on the processor. Beside it, in turn,
// a program of the bare library with the same topics and queues, without and with a service of the bus library
// (BareService.cpp). All are started alike.
//
//     lab/sandbox -- bench_service [STARTS [SECONDS [ENDS]]]
//     lab/sandbox -- bench_service profile RATE SECONDS
//
// Milliseconds from the exec to the service running, of time and of the processor, and to its "started successfully" on the log's topic (which gives
// out an event every 100 ms, this one as the third), of STARTS; from SIGTERM to the exit, of ENDS, for which the signal
// comes at as many moments of the pause in which the service looks for it; then processor time and memory over SECONDS
// with unit-sim at three rates, and with clients on the bus. The stand-in of the bus library is part of the process.
// The second form only has the service run so long at a rate, for a profiler, and ends it without a word.

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr const char* kConnections = "/opt/halvex/config/Connections.xml";
constexpr std::chrono::milliseconds kLook{500};  // in which the service looks for a signal

void expectGoodEnd(ChildProcess& process)
{
    if (process.wait() != ChildProcess::Ending{0, 0}) throw std::runtime_error("it ended badly: " + process.errors());
}

void end(ChildProcess& process)
{
    process.send(SIGTERM);
    expectGoodEnd(process);
}

/// Milliseconds until the process has ended.
double timeEnd(ChildProcess& process)
{
    const auto begin = Clock::now();
    end(process);
    return Milliseconds(Clock::now() - begin).count();
}

/// Waits until the process has a handler for SIGINT, the last thing that it does before it runs; looks more often than
/// who doesn't measure.
void awaitRunning(const ChildProcess& process)
{
    const std::string status = "/proc/" + std::to_string(process.id()) + "/status", field = "SigCgt:";
    const auto end = Clock::now() + ChildProcess::kDeadline;
    while (Clock::now() < end) {
        std::ifstream file(status);
        for (std::string line; std::getline(file, line);)
            if (line.starts_with(field) &&
                (std::stoull(line.substr(field.size()), nullptr, 16) >> (SIGINT - 1) & 1) != 0)
                return;
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    throw std::runtime_error("it does not run: " + process.errors());
}

/// The command line of another program in the service's place.
std::vector<std::string> commandLineOf(const char* program)
{
    auto line = Desk::commandLine();
    line.pop_back();
    line.back() = program;
    return line;
}

/// A program of the bare library, running.
class BareService {
public:
    explicit BareService(const char* program = ORVANE_BARE_SERVICE) : m_process(commandLineOf(program))
    {
        awaitRunning(m_process);
    }
    ChildProcess& process() { return m_process; }
    void awaitPosition()
    {
        if (!eventually([&] { return !m_process.output().empty(); })) throw std::runtime_error("no position");
    }

private:
    ChildProcess m_process;
};

/// Starts of one side, in ms: until it runs, the processor's time until then, and until it says so.
struct Starts {
    std::vector<double> running, processor, told;

    void addRunning(Clock::time_point begin, const ChildProcess& process)
    {
        running.push_back(Milliseconds(Clock::now() - begin).count());
        processor.push_back(processorSeconds(process.id()) * 1000.0);
    }
};

void measureStart(Desk& desk, Starts& starts)
{
    Inbox<aspn2_msgs::idl::EventLog> log;
    const Transport transport(kConnections, "bench");
    const auto front = transport.typed<aspn2_msgs::idl::EventLog>();
    auto code = FACE::RETURN_CODE_TYPE::NO_ACTION;
    front->Register_Callback(transport.connect("EventLog"), log.callback(), code);
    if (code != FACE::RETURN_CODE_TYPE::NO_ERROR) throw std::runtime_error("no log");

    const auto begin = Clock::now();
    awaitRunning(desk.start());
    starts.addRunning(begin, desk.service());
    const bool isTold = eventually([&] {
        return std::ranges::any_of(log.items(), [](const auto& item) {
            return item.message.eventlog() == std::string("OrvaneServer started successfully.");
        });
    });
    if (!isTold) throw std::runtime_error("the service does not tell that it has started");
    starts.told.push_back(Milliseconds(Clock::now() - begin).count());
    end(desk.service());
}

void measureBareStart(const char* program, Starts& starts)
{
    const auto begin = Clock::now();
    BareService bare(program);
    starts.addRunning(begin, bare.process());
    end(bare.process());
}

void measureStarts(Desk& desk, int count)
{
    desk.replace("Connections.xml", "<BackFillHistory>false<", "<BackFillHistory>true<");  // no event is missed
    Starts topics, set, ours;  // of the topics and queues alone, and of the same set-up
    for (int i = 0; i < count; ++i) {
        measureBareStart(ORVANE_BARE_SERVICE, topics);
        measureBareStart(ORVANE_BARE_BUS_SERVICE, set);
        measureStart(desk, ours);
    }
    desk.replace("Connections.xml", "<BackFillHistory>true<", "<BackFillHistory>false<");
    tellDistribution("start.runs", "floor", "ms", set.running);
    tellDistribution("start.runs", "ours", "ms", ours.running);
    tellDistribution("start.topics", "floor", "ms", topics.running);
    tellDistribution("start.topics", "ours", "ms", ours.running);
    tellDistribution("start.processor", "floor", "ms", set.processor);
    tellDistribution("start.processor", "ours", "ms", ours.processor);
    tellDistribution("start.told", "ours", "ms", ours.told);
}

void measureEnds(Desk& desk, int count)
{
    std::vector<double> bare, ours;
    for (int i = 0; i < count; ++i) {
        BareService other;
        bare.push_back(timeEnd(other.process()));
        desk.run();
        std::this_thread::sleep_for(kLook * i / count);
        ours.push_back(timeEnd(desk.service()));
    }
    tellDistribution("end", "floor", "ms", bare);
    tellDistribution("end", "ours", "ms", ours);
}

/// MiB that are resident.
double memory(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("VmRSS:")) return std::stod(line.substr(6)) / 1024.0;
    throw std::runtime_error("no resident memory");
}

/// What a mapping of a process is.
/// @param path  of its file, empty for memory of the process's own
std::string partOf(const std::string& path, std::uint64_t size, const std::string& program)
{
    constexpr std::uint64_t kThreadStack = std::uint64_t{8} << 20;  // the default
    if (path.empty()) return size == kThreadStack ? "stacks" : "other";
    if (path == "[heap]") return "heap";
    if (path == "[stack]") return "stack";
    if (path == program) return "program";
    if (path.find("/libfast") != std::string::npos) return "dds";
    return path.find("/libvictory") != std::string::npos ? "bus" : "libraries";
}

/// Resident KiB of a process, by part.
std::map<std::string, double> memoryParts(pid_t process)
{
    const std::string directory = "/proc/" + std::to_string(process);
    const std::string program = std::filesystem::read_symlink(directory + "/exe");
    std::ifstream file(directory + "/smaps");
    std::map<std::string, double> parts;
    std::string part;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        if (line.starts_with("Rss:")) {
            parts[part] += std::stod(line.substr(4));
        } else if (line.find(':') > line.find(' ')) {  // of a mapping: begin-end, mode, offset, device, inode, path
            std::uint64_t begin = 0, end = 0;
            char dash = 0;
            std::string word, path;
            words >> std::hex >> begin >> dash >> end >> word >> word >> word >> word >> path;
            part = partOf(path, end - begin, program);
        }
    }
    return parts;
}

void tellParts(const std::string& side, pid_t process)
{
    for (const auto& [part, size] : memoryParts(process)) tellFigure("memory.part." + part, side, "KiB", size);
}

void tellCost(const std::string& when, const std::string& side, pid_t process, std::chrono::seconds duration)
{
    tellFigure("processor." + when, side, "%", processorShare(process, duration));
    tellFigure("memory." + when, side, "MiB", memory(process));
}

void awaitJoin()
{
    Bus().awaitTell("blended-navigation", [](const Bus::Json& tell) { return !tell.at("timeOfValidity").is_null(); });
}

void measureRate(Desk& desk, const std::string& rate, std::chrono::seconds duration)
{
    ChildProcess unit({ORVANE_UNIT_SIM, "--rate", rate, "--quiet"});
    {
        BareService bare;
        bare.awaitPosition();
        tellCost("rate." + rate, "floor", bare.process().id(), duration);
        end(bare.process());
    }
    desk.run();
    awaitJoin();
    tellCost("rate." + rate, "ours", desk.service().id(), duration);
    end(desk.service());
    end(unit);
}

/// Without any input, and then with more and more clients on the bus, at a rate that gives each four joins a second.
void measureClients(Desk& desk, std::chrono::seconds duration)
{
    {
        BareService bare;
        tellCost("idle", "floor", bare.process().id(), duration);
        tellParts("floor", bare.process().id());
        end(bare.process());
    }
    {
        BareService bare(ORVANE_BARE_BUS_SERVICE);  // alone too: participants that know each other need more
        std::this_thread::sleep_for(duration);
        tellFigure("memory.bus", "floor", "MiB", memory(bare.process().id()));
        end(bare.process());
    }
    desk.run();
    tellCost("idle", "ours", desk.service().id(), duration);
    tellParts("ours", desk.service().id());
    tellFigure("memory.bus", "ours", "MiB", memory(desk.service().id()));
    ChildProcess unit({ORVANE_UNIT_SIM, "--rate", "10", "--quiet"});
    awaitJoin();
    std::deque<Bus> clients;
    for (const std::size_t count : {0U, 1U, 4U, 16U}) {
        while (clients.size() < count) clients.emplace_back().awaitTell("blended-navigation");
        tellCost("clients." + std::to_string(count), "ours", desk.service().id(), duration);
    }
    clients.clear();
    end(desk.service());
    end(unit);
}

/// Has the service run until so long after the beginning.
void runForProfile(const std::string& rate, std::chrono::seconds duration)
{
    const auto end = Clock::now() + duration;
    Desk desk;
    ChildProcess unit({ORVANE_UNIT_SIM, "--rate", rate, "--quiet"});
    desk.run();
    awaitJoin();
    std::this_thread::sleep_until(end);
    desk.service().send(SIGKILL);
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 4 && argv[1] == std::string("profile")) {
            runForProfile(argv[2], std::chrono::seconds(std::stoi(argv[3])));
            return 0;
        }
        const int starts = argc > 1 ? std::stoi(argv[1]) : 10;
        const std::chrono::seconds duration(argc > 2 ? std::stoi(argv[2]) : 20);
        const int ends = argc > 3 ? std::stoi(argv[3]) : 100;
        if (starts < 1 || duration.count() < 1 || ends < 1)
            throw std::invalid_argument("at least one start, one second and one end");
        Desk desk;
        measureStarts(desk, starts);
        measureEnds(desk, ends);
        measureClients(desk, duration);
        for (const char* const rate : {"1", "100", "1000"}) measureRate(desk, rate, duration);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "bench_service: " << error.what() << std::endl;
        return 1;
    }
}
