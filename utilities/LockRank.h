#ifndef UTILITIES_LOCKRANK_H
#define UTILITIES_LOCKRANK_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <unistd.h>

/// The order in which a thread takes locks: one is never taken while another of the same or of a higher rank is held.
/// Locks of one rank are never held together. Debug and sanitizer builds check it as they run.
enum class LockRank : std::uint8_t {
    // The queue channel, which calls the handlers of the server with its locks held.
    QueueTurn,
    QueuePoll,
    QueueReading,
    // The server. From the life cycle to the lists, the bus library is called with a lock held, and what it prints may
    // reach the reporters.
    LifeCycle,
    Configuration,
    Inputs = Configuration,
    ThreatReport = Configuration,
    ClearData = Configuration,
    VclFile = Configuration,
    Gate,
    Results = Gate,
    Watchdog = Gate,
    Time,
    Lists = Time,
    PartNumbers = Time,
    // What all of these call.
    Reporters,
    Fpga,
    DeviceOpening,
    Devices,
    Transport,
    ConfigurationFile,
    Events,
    Leaf,
    Console,
};

namespace LockOrder {

#ifdef NDEBUG
inline constexpr bool kIsChecked = false;
#else
inline constexpr bool kIsChecked = true;
#endif

/// What a rank stands for, for the line that is printed.
inline constexpr const char* kNames[] = {"queue turn",
                                         "queue poll",
                                         "queue reading",
                                         "life cycle",
                                         "configuration, inputs, threat report, clear data or VCL file",
                                         "gate, results or watchdog",
                                         "time, lists or part numbers",
                                         "reporters",
                                         "FPGA",
                                         "opening of devices",
                                         "devices",
                                         "transport",
                                         "configuration file",
                                         "events",
                                         "leaf",
                                         "console"};
static_assert(std::size(kNames) == static_cast<std::size_t>(LockRank::Console) + 1);

/// A bit for each rank that this thread holds.
inline thread_local std::uint32_t heldRanks = 0;

constexpr std::uint32_t bitOf(LockRank rank)
{
    return std::uint32_t{1} << static_cast<unsigned>(rank);
}

/// Ends the process, with one line on the error output, if the thread may not take a lock of this rank now.
inline void take(LockRank rank)
{
    if constexpr (!kIsChecked) return;
    if (heldRanks >= bitOf(rank)) {
        // Not through a stream, for that may take locks.
        dprintf(STDERR_FILENO, "lock order: %s is taken while %s is held\n", kNames[static_cast<std::size_t>(rank)],
                kNames[std::bit_width(heldRanks) - 1]);
        std::abort();
    }
    heldRanks |= bitOf(rank);
}

inline void release(LockRank rank)
{
    if constexpr (kIsChecked) heldRanks &= ~bitOf(rank);
}

}  // namespace LockOrder

#endif
