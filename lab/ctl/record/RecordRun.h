#ifndef LAB_CTL_RECORD_RECORDRUN_H
#define LAB_CTL_RECORD_RECORDRUN_H

#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

struct RecordOptions {
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::string file;                 ///< empty: named by the time
    std::string socket;               ///< of the bus; empty for none
    std::vector<std::string> queues;  ///< NAME=PATH: a queue, and what gets a copy of it
    double seconds = 0;               ///< to run; 0 has no end
};

/// Records all topics of the connection file, the bus and copies of queues, and prints a sum at the end. Throws
/// `std::runtime_error` for a file that is there, what can't be listened to, and what can't be written.
void runRecord(const RecordOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
