#ifndef LAB_CTL_SERVE_SERVERUN_H
#define LAB_CTL_SERVE_SERVERUN_H

#include <ostream>
#include <string>
#include <vector>

namespace orvanectl {

/// What `orvanectl serve` looks at, and where it is to be seen.
struct ServeOptions {
    std::string file = "/opt/halvex/config/OrvaneServer.xml";  ///< the service's own settings
    std::string socket;                                        ///< of the bus; empty: there is none
    std::string recording;                                     ///< is shown in place of what is sent now; empty: none
    std::string address = "127.0.0.1";
    int port = 8642;      ///< 0: any that is free
    int descriptor = -1;  ///< a socket that listens already, in place of the two
    std::vector<std::string> names;
    double seconds = 0;  ///< to run; 0 has no end
};

/// Prints the page's address, and serves it until a signal comes or the time is over. Throws `std::runtime_error` for
/// what can't be had.
void runServe(const ServeOptions& options, std::ostream& output);

}  // namespace orvanectl

#endif
