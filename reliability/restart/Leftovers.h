#ifndef RELIABILITY_RESTART_LEFTOVERS_H
#define RELIABILITY_RESTART_LEFTOVERS_H

#include <cstddef>
#include <filesystem>
#include <string>

/// What DDS keeps in shared memory: segments and ports of participants. Beside each lies a lock file, which its owners
/// hold for as long as they live, so that what belonged to the dead can be told. Any thread.
namespace Leftovers {

/// How many files a folder holds.
std::size_t count(const std::filesystem::path& folder = "/dev/shm");

/// Removes segments and ports that nobody alive has locked, with their locks and semaphores; all others stay.
/// @return how many files were removed
std::size_t sweep(const std::filesystem::path& folder = "/dev/shm");

/// How many ports a process holds whose files have been removed.
/// @param maps  what the kernel tells of its memory
std::size_t removedPorts(const std::string& maps);

}  // namespace Leftovers

#endif
