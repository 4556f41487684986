#ifndef LAB_CTL_TOP_TOPRUN_H
#define LAB_CTL_TOP_TOPRUN_H

#include <string>

namespace orvanectl {

/// What `orvanectl top` looks at, and how.
struct TopOptions {
    std::string file = "/opt/halvex/config/OrvaneServer.xml";  ///< the service's own settings
    std::string socket;                                        ///< of the bus; empty: there is none
    std::string receiver;  ///< a copy of the receiver's queue; empty: the lab's own, if there is one
    double seconds = 0;    ///< to run; 0 has no end
    bool hasColours = true;
};

/// Shows it on the terminal of standard input and output, until the person leaves, a signal comes or the time is over.
/// Throws `std::runtime_error` for what can't be had; the terminal is as it was then, too.
void runTop(const TopOptions& options);

}  // namespace orvanectl

#endif
