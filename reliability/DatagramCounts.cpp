#include "reliability/DatagramCounts.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>

/// Two lines begin with "Udp:", the first with names, the second with a number for each.
DatagramCounts DatagramCounts::in(const std::string& text)
{
    std::istringstream lines(text);
    std::string names, numbers;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("Udp:")) (names.empty() ? names : numbers) = line;

    std::optional<std::int64_t> received, dropped;
    std::istringstream eachName(names), eachNumber(numbers);
    std::string name, skipped;
    eachName >> skipped;
    eachNumber >> skipped;
    std::int64_t number = 0;
    while (eachName >> name && eachNumber >> number) {
        if (name == "InDatagrams") received = number;
        if (name == "RcvbufErrors") dropped = number;
    }
    if (!received || !dropped) throw std::runtime_error("the kernel counts no datagrams");
    return {*received, *dropped};
}

DatagramCounts DatagramCounts::now()
{
    std::ifstream file("/proc/net/snmp");
    return in(std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()));
}
