#include "tests/support/Desk.h"

#include "tests/support/TemporaryDirectory.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kConfig = "/opt/halvex/config/";
constexpr const char* kWorkerTurn = "State Notification: Post incomplete\n";
constexpr std::uint64_t kRightClockRate = 58982400;

bool isPipe(const char* path)
{
    struct stat status {};
    return stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

int openQueue(const char* path)
{
    const int descriptor = open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    // In packets, so that a read takes one message.
    if (descriptor < 0 || fcntl(descriptor, F_SETFL, O_NONBLOCK | O_DIRECT) != 0)
        throw std::runtime_error(std::string("cannot open ") + path);
    return descriptor;
}

std::size_t occurrences(const std::string& text, const std::string& of)
{
    std::size_t count = 0;
    for (auto place = text.find(of); place != std::string::npos; place = text.find(of, place + of.size())) ++count;
    return count;
}

}  // namespace

const Bus::Json& Bus::line(std::size_t index, const std::string& what)
{
    const auto end = std::chrono::steady_clock::now() + ChildProcess::kDeadline;
    while (m_lines.size() <= index) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (!m_socket.awaitMore(left)) throw std::runtime_error("not on the bus: " + what);
        if (!m_socket.read(m_rest)) throw std::runtime_error("the bus has ended before: " + what);
        for (auto newline = m_rest.find('\n'); newline != std::string::npos; newline = m_rest.find('\n')) {
            m_lines.push_back(Json::parse(m_rest.substr(0, newline)));
            m_rest.erase(0, newline + 1);
        }
    }
    return m_lines[index];
}

Bus::Json Bus::await(const std::string& what, const Test& test)
{
    const auto end = std::chrono::steady_clock::now() + ChildProcess::kDeadline;
    while (std::chrono::steady_clock::now() < end)
        if (const Json& candidate = line(m_next++, what); test(candidate)) return candidate;
    throw std::runtime_error("not on the bus: " + what);
}

Bus::Json Bus::awaitTell(const std::string& name)
{
    return awaitTell(name, [](const Json&) { return true; });
}

Bus::Json Bus::awaitTell(const std::string& name, const Test& test)
{
    return await("tell " + name, [&](const Json& candidate) {
        return candidate.value("type", "") == "tell" && candidate.value("tell", "") == name && test(candidate);
    });
}

Bus::Json Bus::request(Json body)
{
    const int id = ++m_requests;
    body["id"] = id;
    m_socket.send(body.dump());
    const std::string what = "answer to " + body.value("request", "");
    for (std::size_t index = m_lines.size();; ++index) {
        const Json& candidate = line(index, what);
        if (candidate.value("type", "") == "answer" && candidate.value("id", 0) == id) return candidate;
    }
}

std::vector<std::uint8_t> Bus::lastRecord(const std::string& name)
{
    const Json answer = request({{"request", "last"}, {"name", name}, {"raw", true}});
    const auto hex = answer.at("publications").at(0).at("raw").get<std::string>();
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    return bytes;
}

std::size_t Bus::tells(const std::string& name) const
{
    std::size_t count = 0;
    for (const Json& candidate : m_lines)
        count += candidate.value("type", "") == "tell" && candidate.value("tell", "") == name &&
                 !candidate.value("last", false);
    return count;
}

Desk::Desk()
{
    if (!isPipe("/dev/mcs5") || !isPipe("/dev/mcs6")) throw std::runtime_error("there is no unit: see lab/sandbox");
    m_queues[0] = openQueue("/dev/mcs5");
    m_queues[1] = openQueue("/dev/mcs6");
    setRegister(kClockRate, kRightClockRate);
}

Desk::~Desk()
{
    m_service.reset();
    for (const int descriptor : m_queues) close(descriptor);
}

void Desk::replace(const std::string& file, const std::string& from, const std::string& to) const
{
    std::string text = readFile(kConfig + file);
    if (occurrences(text, from) != 1) throw std::logic_error(file + " has not one place with " + from);
    text.replace(text.find(from), from.size(), to);
    std::ofstream(kConfig + file) << text;
}

void Desk::set(const std::string& key, const std::string& text) const
{
    const std::string file = readFile(std::string(kConfig) + "OrvaneServer.xml");
    const std::string open = "<" + key + ">", close = "</" + key + ">";
    const auto begin = file.find(open), end = file.find(close);
    if (begin == std::string::npos || end == std::string::npos) throw std::logic_error("no key " + key);
    replace("OrvaneServer.xml", file.substr(begin, end - begin) + close, open + text + close);
}

void Desk::setRegister(std::uint64_t address, std::uint64_t value) const
{
    const int memory = open("/dev/mem", O_WRONLY | O_CLOEXEC);
    struct stat status {};
    const bool isWritten = memory >= 0 && fstat(memory, &status) == 0 && S_ISREG(status.st_mode) &&
                           pwrite(memory, &value, sizeof value, static_cast<off_t>(address)) == sizeof value;
    close(memory);
    if (!isWritten) throw std::runtime_error("cannot write a register");
}

int Desk::queueOf(unsigned queue) const
{
    if (queue != 5 && queue != 6) throw std::logic_error("no such queue");
    return m_queues[queue - 5];
}

void Desk::send(unsigned queue, std::span<const std::uint8_t> message) const
{
    const bool isSent = eventually([&, descriptor = queueOf(queue)] {
        return write(descriptor, message.data(), message.size()) == static_cast<ssize_t>(message.size());
    });
    if (!isSent) throw std::runtime_error("cannot write a queue");
}

bool Desk::waitUntilTaken(unsigned queue) const
{
    return eventually([descriptor = queueOf(queue)] {
        int waiting = 0;
        return ioctl(descriptor, FIONREAD, &waiting) == 0 && waiting == 0;
    });
}

void Desk::letGo(unsigned queue)
{
    close(std::exchange(m_queues[queue == 5 ? 0 : 1], -1));
}

bool Desk::isOpenByService(const std::string& path) const
{
    std::error_code error;
    const std::filesystem::path descriptors = "/proc/" + std::to_string(m_service->id()) + "/fd";
    for (const auto& entry : std::filesystem::directory_iterator(descriptors, error))
        if (std::filesystem::read_symlink(entry.path(), error) == path) return true;
    return false;
}

std::vector<std::string> Desk::commandLine(const std::vector<std::string>& environment)
{
    std::vector<std::string> line = {"/usr/bin/env", "LD_LIBRARY_PATH=" ORVANE_LAB_VICTORY_DIR,
                                     "ORVANE_LAB_BUS=/tmp/bus"};
    line.insert(line.end(), environment.begin(), environment.end());
    line.insert(line.end(), {ORVANE_SERVER_BINARY, std::string(kConfig) + "OrvaneServer.xml"});
    return line;
}

void Desk::completeSelfTest() const
{
    if (!std::ofstream("/tmp/PostComplete")) throw std::runtime_error("cannot make a flag file");
}

ChildProcess& Desk::start(const std::vector<std::string>& environment)
{
    return m_service.emplace(commandLine(environment), m_input, m_console);
}

ChildProcess& Desk::run()
{
    start();
    if (!m_service->waitUntilHandled(SIGINT))  // the last one to be installed
        throw std::runtime_error("the service does not run: " + m_service->output() + m_service->errors());
    return *m_service;
}

std::size_t Desk::count(const std::string& text) const
{
    return occurrences(m_service->output(), text);
}

bool Desk::awaitOutput(const std::string& text, std::size_t wanted) const
{
    return eventually([&] { return count(text) >= wanted; });
}

bool Desk::awaitTurns() const
{
    // The turn that is under way may have begun before.
    return awaitOutput(kWorkerTurn, count(kWorkerTurn) + 3);
}
