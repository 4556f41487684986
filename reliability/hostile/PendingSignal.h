#ifndef RELIABILITY_HOSTILE_PENDINGSIGNAL_H
#define RELIABILITY_HOSTILE_PENDINGSIGNAL_H

#include "tests/support/ChildProcess.h"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/types.h>

/// What has become of a signal that was sent to a process, as the kernel tells of it in its file `status`. One that is
/// sent once more while it is pending is lost.
enum class SignalState { Pending, Taken, ProcessEnded };

/// @param status  empty if there is no such process
inline SignalState signalStateOf(const std::string& status, int signal)
{
    std::istringstream lines(status);
    bool isThere = false, isPending = false;
    for (std::string key, value; lines >> key;) {
        if (key == "State:" && lines >> value) isThere = value != "Z" && value != "X";
        if ((key == "SigPnd:" || key == "ShdPnd:") && lines >> value)
            isPending = isPending || (std::stoull(value, nullptr, 16) >> (signal - 1) & 1U) != 0;
    }
    if (!isThere) return SignalState::ProcessEnded;
    return isPending ? SignalState::Pending : SignalState::Taken;
}

/// Waits until a signal that was sent is no longer pending.
inline SignalState awaitTaken(pid_t process, int signal)
{
    const std::string file = "/proc/" + std::to_string(process) + "/status";
    auto state = SignalState::Pending;
    eventually([&] {
        std::ifstream status(file);
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        return (state = signalStateOf(text, signal)) != SignalState::Pending;
    });
    return state;
}

#endif
