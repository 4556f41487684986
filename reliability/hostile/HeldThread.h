#ifndef RELIABILITY_HOSTILE_HELDTHREAD_H
#define RELIABILITY_HOSTILE_HELDTHREAD_H

#include <cstddef>
#include <optional>
#include <string>
#include <sys/types.h>

/// The main thread of a child of this process, which can be held at what it writes, as a debugger does it. The thread
/// that makes this one must make all calls. Each waits for a minute at the most.
class HeldThread {
public:
    /// From here on. Throws `std::runtime_error` where that is not allowed.
    explicit HeldThread(pid_t process);

    /// Lets it go.
    ~HeldThread() { letGo(); }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

    /// Lets it run until it is about to write something with this text in it; it is held there then. False if the
    /// process has ended before.
    bool runTo(const std::string& text);

    /// Sends a signal, and once more when the first one is no longer pending, while this thread is held; then lets it
    /// go. False if the first one has ended the process.
    bool sendTwice(int signal);

private:
    struct Stop {
        int signal;   ///< that is about to be acted upon; 0 if the stop is for something else
        bool isCall;  ///< of the system, at its begin or end
    };

    /// Lets it run on to its next stop; nothing if the process has ended.
    std::optional<Stop> next();
    std::string textToWrite() const;
    std::size_t threads() const;
    void letGo(int signal = 0);

    const pid_t m_process;
    bool m_isHeld = false;
    int m_toDeliver = 0;
};

#endif
