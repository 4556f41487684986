#ifndef TESTS_SUPPORT_PROCESSSTATE_H
#define TESTS_SUPPORT_PROCESSSTATE_H

#include <cstddef>
#include <filesystem>
#include <iterator>

/// Threads of this process.
inline std::size_t threadCount()
{
    using Entries = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Entries("/proc/self/task"), Entries()));
}

/// Open descriptors of this process, and the one that this takes.
inline std::size_t descriptorCount()
{
    using Entries = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Entries("/proc/self/fd"), Entries()));
}

#endif
