#ifndef RELIABILITY_RESTART_ROWLINE_H
#define RELIABILITY_RESTART_ROWLINE_H

#include <optional>
#include <sstream>
#include <string>

/// The line that a row tells what it has seen with: the first whole one that is an object. The DDS library may say
/// something in front of it.
inline std::optional<std::string> rowLineIn(const std::string& output)
{
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line) && !lines.eof();)
        if (line.starts_with('{')) return line;
    return std::nullopt;
}

#endif
