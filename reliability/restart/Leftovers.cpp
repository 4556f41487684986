#include "reliability/restart/Leftovers.h"

#include <fcntl.h>
#include <set>
#include <sstream>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr const char* kPrefix = "fastrtps_";
constexpr const char* kLocks[] = {"_el", "_sl"};  // of one owner, and of several

/// Whether nobody holds the lock of a file.
bool isFree(const fs::path& lock)
{
    const int descriptor = open(lock.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return false;
    const bool isLocked = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
    close(descriptor);  // unlocks it
    return !isLocked;
}

/// The names of what has a lock, each once.
std::vector<std::string> namesWithLocks(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        for (const std::string suffix : kLocks)
            if (name.starts_with(kPrefix) && name.ends_with(suffix))
                names.push_back(name.substr(0, name.size() - suffix.size()));
    }
    return names;
}

bool isLeft(const fs::path& folder, const std::string& name)
{
    for (const std::string suffix : kLocks) {
        std::error_code error;
        if (fs::exists(folder / (name + suffix), error) && !isFree(folder / (name + suffix))) return false;
    }
    return true;
}

}  // namespace

namespace Leftovers {

std::size_t count(const fs::path& folder)
{
    std::size_t files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        static_cast<void>(entry);
        ++files;
    }
    return files;
}

std::size_t sweep(const fs::path& folder)
{
    std::size_t removed = 0;
    for (const std::string& name : namesWithLocks(folder)) {
        if (!isLeft(folder, name)) continue;
        for (const std::string& file : {name, name + "_el", name + "_sl", "sem." + name + "_mutex"}) {
            std::error_code error;
            removed += fs::remove(folder / file, error) ? 1U : 0U;
        }
    }
    return removed;
}

std::size_t removedPorts(const std::string& maps)
{
    std::set<std::string> names;
    std::istringstream lines(maps);
    for (std::string line; std::getline(lines, line);)
        if (const auto name = line.find("/fastrtps_port"); name != line.npos && line.ends_with(" (deleted)"))
            names.insert(line.substr(name));
    return names.size();
}

}  // namespace Leftovers
