#ifndef RELIABILITY_DATAGRAMCOUNTS_H
#define RELIABILITY_DATAGRAMCOUNTS_H

#include <cstdint>
#include <string>

/// What the kernel counts of UDP on the network of this process.
struct DatagramCounts {
    std::int64_t received = 0;
    std::int64_t dropped = 0;  ///< since the socket of the one that should take them was full

    /// @param text  of /proc/net/snmp; throws `std::runtime_error` if it has no such counts
    static DatagramCounts in(const std::string& text);
    static DatagramCounts now();
};

#endif
