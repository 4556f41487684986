#ifndef TESTS_SUPPORT_CHILDPROCESS_H
#define TESTS_SUPPORT_CHILDPROCESS_H

#include <chrono>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

/// A program run as a process of its own, its standard output and error read as they come. Killed with this object, if
/// it still runs.
class ChildProcess {
public:
    static constexpr std::chrono::seconds kDeadline{60};

    /// How a process ended: a status of its own, or the signal that ended it (0 if none did).
    struct Ending {
        int status = -1;
        int signal = 0;
        bool operator==(const Ending&) const = default;
    };

    /// @param arguments  the program's path first
    /// @param input      what its standard input is
    /// @param console    file or socket that its standard output and error are, instead of being read here
    explicit ChildProcess(const std::vector<std::string>& arguments, const std::string& input = "/dev/null",
                          const std::string& console = "");
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t id() const { return m_process; }

    void send(int signal) const;

    /// Waits until the process has a handler for the signal; false if it ended, or the deadline passed, before.
    bool waitUntilHandled(int signal) const;

    /// Waits until the process has ended and all of its output is read. Throws `std::runtime_error`, and kills the
    /// process, when it hasn't ended at the deadline.
    Ending wait();

    /// What the process has written so far.
    std::string output() const;
    std::string errors() const;

private:
    struct Stream {
        int descriptor = -1;
        std::string text;
        std::thread reader;
    };

    void start(Stream& stream, int descriptor);
    std::string textOf(const Stream& stream) const;

    pid_t m_process = -1;
    bool m_ended = false;
    mutable std::mutex m_mutex;  // guards the texts
    Stream m_output;
    Stream m_errors;
};

/// True once `condition` holds, looked at every few milliseconds; false when it doesn't before the deadline.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds deadline = ChildProcess::kDeadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

#endif
