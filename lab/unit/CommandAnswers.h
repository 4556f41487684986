#ifndef LAB_UNIT_COMMANDANSWERS_H
#define LAB_UNIT_COMMANDANSWERS_H

#include "aspn2_msgs/BitReport.h"
#include "lab/unit/Settings.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace unitsim {

/// What one service of the unit says to a command, and when.
struct PlannedAnswer {
    enum class Kind { Response, BitReport };

    double delaySeconds = 0.0;  // after the command
    Kind kind = Kind::Response;
    std::uint8_t server = 0;
    std::uint8_t topic = 0;
    std::string text;                      // of a response
    std::vector<std::int32_t> components;  // server ids, of a report
    bool passed = true;                    // of a report
};

/// The answers of the unit's services to a command, in the order of their times; none to a command that asks for none
/// of
/// - "REQUEST_ZEROIZE", "REQUEST_DESTROY" (the zeroize service) and "ZENTORM_CV_ZEROIZE" (the receiver): accepted, and
///   ended after a while;
/// - "REQUEST_CBIT" with server ids behind commas: accepted, then a report of them;
/// - "REQUEST_PARTNUMBERS": an answer of each of the seven components.
/// Pure function, any thread.
std::vector<PlannedAnswer> answersTo(const std::string& command, const Settings& settings);

/// The record of a report, but for its header: passed if the answer is, and nothing worse than a warning is found.
/// @param findings  of servers that are not good; a report that has not passed finds an error of all the others
aspn2_msgs::idl::BitReport bitReport(const PlannedAnswer& answer, const std::map<std::int32_t, Finding>& findings);

/// The names of the components that have part numbers, in the order of their answers.
std::vector<std::string> componentNames();

}  // namespace unitsim

#endif
