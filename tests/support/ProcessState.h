#ifndef TESTS_SUPPORT_PROCESSSTATE_H
#define TESTS_SUPPORT_PROCESSSTATE_H

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/types.h>
#include <unistd.h>

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

/// Whether a thread of this process sleeps in the kernel. One that has been seen asleep several times in a row, on its way
/// to a wait, is in it.
inline bool isAsleep(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    const auto end = text.rfind(')');
    return end != std::string::npos && text.compare(end, 3, ") S") == 0;
}

/// Whether a thread that was one of this process is so no longer.
inline bool hasEnded(pid_t thread)
{
    return !std::filesystem::exists("/proc/self/task/" + std::to_string(thread));
}

/// Mappings of a file in this process.
inline int mappingsOf(const std::string& path)
{
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) count += line.ends_with(path);
    return count;
}

/// Lets a call of `exit` end this process without the destruction of its statics, which threads of the DDS library may
/// still use; the status stays.
inline void leaveAtOnceWhenExiting()
{
    on_exit([](int status, void*) { _exit(status); }, nullptr);
}

#endif
