#ifndef LAB_CTL_RECORD_RECORDRUN_H
#define LAB_CTL_RECORD_RECORDRUN_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

struct RecordOptions {
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::string file;                 ///< empty: named by the time
    std::string socket;               ///< of the bus; empty for none
    std::vector<std::string> queues;  ///< NAME=PATH: a queue, and what gets a copy of it
    std::string console;              ///< gets what the service prints; empty for none
    double seconds = 0;               ///< to run; 0 has no end
    std::string split;                ///< when a file is full, as `splitLimitOf` takes it; empty: never
    double ring = 0;  ///< s that are kept in memory, and written when there is a reason; 0: all is written
};

/// Records that were sent and are not in the recording.
/// @param lost     by topic, what the writers' numbers tell: those that found no room are among them, unless there are very
///                 many writers
/// @param leftOut  those that found no room
std::uint64_t missedInAll(const std::vector<std::uint64_t>& lost, std::uint64_t leftOut);

/// Records all topics of the connection file, the bus and copies of queues, and prints a sum at the end. With a ring, the
/// reasons are events of type 3 to 5, SIGUSR1 and the Enter key, and each file that is written is a line. Throws
/// `std::runtime_error` for a file that is there, what can't be listened to, and what can't be written.
void runRecord(const RecordOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
