#ifndef LAB_CTL_WHY_WHYRUN_H
#define LAB_CTL_WHY_WHYRUN_H

#include <ostream>
#include <string>

namespace orvanectl {

/// What is listened to, and for how long.
struct WhyOptions {
    std::string file = "/opt/halvex/config/OrvaneServer.xml";  ///< the service's own settings
    std::string socket;                                        ///< of the bus; empty: it is not listened to
    std::string receiver;                                      ///< a copy of the receiver's queue; empty: none
    std::string recording;                                     ///< is read in place of what is sent now; empty: none
    double seconds = 0;                                        ///< to run; 0 has no end
    bool all = false;                                          ///< joined time messages are told, too
    bool json = false;
};

/// Prints a line for each time message that was not joined, and a sum at the end. Throws `std::runtime_error` for what
/// can't be had, and when the output fails.
void runWhy(const WhyOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
