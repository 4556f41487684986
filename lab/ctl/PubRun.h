#ifndef LAB_CTL_PUBRUN_H
#define LAB_CTL_PUBRUN_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

/// What is published, and how often.
struct PubOptions {
    std::string connections = "/opt/halvex/config/Connections.xml";
    std::string devices = "/opt/halvex/config/IODevices.xml";
    std::string topic;                  ///< of a record made of settings; or a frame: 5044, 8504, 15051
    std::string type;                   ///< of it, whatever the connection file says
    std::vector<std::string> settings;  ///< FIELD=VALUE
    std::string hex;                    ///< a frame as it is, in digits; TOPIC says where it goes
    std::string file;                   ///< lines of JSON instead; "-" is standard input, line by line
    std::string server;                 ///< whose a record says it is, a name or a number; empty: the usual one
    std::string system = "KOLT";        ///< of the unit that it says it is from, a name or a number
    double rate = 0;                    ///< records a second; 0: once, or by the lines' own times
    std::uint64_t count = 0;            ///< records in all; 0: one, with a rate without end, or all lines
    double waitSeconds = 5;             ///< for a subscriber, or until a frame is taken
    bool stampsNow = false;             ///< lines get headers of their own time and number
};

/// Publishes, and says at the end on `output` what it was. Throws `FieldError` and `UnknownName` for what was typed wrongly,
/// `std::runtime_error` for what can't be had.
void runPub(const PubOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
