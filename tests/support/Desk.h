#ifndef TESTS_SUPPORT_DESK_H
#define TESTS_SUPPORT_DESK_H

#include "tests/support/BusSocket.h"
#include "tests/support/ChildProcess.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A client of the lab's bus. What takes longer than `ChildProcess::kDeadline` throws `std::runtime_error`, which tells
/// what was waited for.
class Bus {
public:
    using Json = nlohmann::json;
    using Test = std::function<bool(const Json&)>;

    /// Waits until the bus is there.
    explicit Bus(const std::string& path = BusSocket::kPath) : m_socket(path) {}

    /// The next line that passes the test. The search goes on behind the line that was found last.
    Json await(const std::string& what, const Test& test);

    /// The next tell of that name, of the past one for late clients too.
    Json awaitTell(const std::string& name);
    Json awaitTell(const std::string& name, const Test& test);

    /// Sends a request and waits for its answer; lines before it are still to be awaited.
    Json request(Json body);

    /// The last record that was told under a name, as its bytes.
    std::vector<std::uint8_t> lastRecord(const std::string& name);

    /// How many tells of that name have come so far, but for the past one.
    std::size_t tells(const std::string& name) const;

private:
    const Json& line(std::size_t index, const std::string& what);

    BusSocket m_socket;
    std::string m_rest;  // of a line that isn't complete
    std::vector<Json> m_lines;
    std::size_t m_next = 0;
    int m_requests = 0;
};

/// The unit that this process runs on: made by lab/sandbox for this test alone (orvane_add_tests: UNIT). There is an FPGA
/// with the right clock rate, both queue devices are held open, and the service can be started on it, as it is
/// shipped, with the stand-in of the bus library.
///
///     Desk desk;
///     desk.set("Debug", "true");
///     desk.start();
///     Bus bus;
class Desk {
public:
    /// Time stamp registers of the sample configuration.
    static constexpr std::uint64_t kClockRate = 0x43C20000;
    static constexpr std::uint64_t kSystemCount = kClockRate + 128;

    /// Throws `std::runtime_error` anywhere else: nothing of a real unit is touched.
    Desk();
    ~Desk();
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

    /// Replaces the one place that has this text in a file of the configuration.
    void replace(const std::string& file, const std::string& from, const std::string& to) const;

    /// Gives a key of the service's section another text.
    void set(const std::string& key, const std::string& text) const;

    void setRegister(std::uint64_t address, std::uint64_t value) const;

    /// Puts a message into queue 5 or 6, once there is room.
    void send(unsigned queue, std::span<const std::uint8_t> message) const;

    /// Waits until somebody has taken all that is in the queue.
    bool waitUntilTaken(unsigned queue) const;

    /// Closes a queue: whoever opens it waits then.
    void letGo(unsigned queue);

    /// Whether the service has this file open.
    bool isOpenByService(const std::string& path) const;

    /// Has the service, once it is started, read its standard input there.
    void setInput(const std::string& path) { m_input = path; }

    /// Has it write both its outputs there, which are not read here then.
    void setConsole(const std::string& path) { m_console = path; }

    /// Tells the whole unit that its self test is complete.
    void completeSelfTest() const;

    /// Starts the service, with more variables of its environment: "NAME=value". One at a time.
    ChildProcess& start(const std::vector<std::string>& environment = {});

    /// Starts it, and waits until it runs.
    ChildProcess& run();

    ChildProcess& service() { return *m_service; }

    /// Waits until the service's output has a text so many times.
    bool awaitOutput(const std::string& text, std::size_t count = 1) const;
    std::size_t count(const std::string& text) const;

    /// Waits until the worker has gone through two more of its turns. The service must have "Debug" set, and the self
    /// test must not be complete.
    bool awaitTurns() const;

    /// The command line of the service, for those who start it otherwise.
    static std::vector<std::string> commandLine(const std::vector<std::string>& environment = {});

private:
    int queueOf(unsigned queue) const;

    int m_queues[2] = {-1, -1};
    std::string m_input = "/dev/null";
    std::string m_console;
    std::optional<ChildProcess> m_service;
};

/// A number of the host at an offset of a record.
template <class T>
T valueAt(const std::vector<std::uint8_t>& record, std::size_t offset)
{
    T value{};
    if (offset + sizeof value > record.size()) throw std::out_of_range("the record is shorter");
    std::copy_n(record.begin() + static_cast<std::ptrdiff_t>(offset), sizeof value,
                reinterpret_cast<std::uint8_t*>(&value));
    return value;
}

#endif
