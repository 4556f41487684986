#ifndef RELIABILITY_DAY_HOLDINGS_H
#define RELIABILITY_DAY_HOLDINGS_H

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/types.h>
#include <system_error>
#include <vector>

/// What a process holds.
struct Holdings {
    double residentKb = 0.0;
    double threads = 0.0;
    double descriptors = 0.0;

    static Holdings of(pid_t process)
    {
        Holdings holdings;
        const std::string directory = "/proc/" + std::to_string(process);
        std::ifstream status(directory + "/status");
        for (std::string key; status >> key;) {
            if (key == "VmRSS:") status >> holdings.residentKb;
            if (key == "Threads:") status >> holdings.threads;
        }
        std::error_code gone;
        using Entries = std::filesystem::directory_iterator;
        holdings.descriptors = static_cast<double>(std::distance(Entries(directory + "/fd", gone), Entries()));
        return holdings;
    }
};

/// The most that either holds.
inline Holdings mostOf(const Holdings& one, const Holdings& other)
{
    return {std::max(one.residentKb, other.residentKb), std::max(one.threads, other.threads),
            std::max(one.descriptors, other.descriptors)};
}

/// The least of some samples: what is held for a moment only doesn't count.
inline Holdings leastOf(std::vector<Holdings>::const_iterator begin, std::vector<Holdings>::const_iterator end)
{
    Holdings least = *begin;
    for (; begin != end; ++begin) {
        least.residentKb = std::min(least.residentKb, begin->residentKb);
        least.threads = std::min(least.threads, begin->threads);
        least.descriptors = std::min(least.descriptors, begin->descriptors);
    }
    return least;
}

#endif
