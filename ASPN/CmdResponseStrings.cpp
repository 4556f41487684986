#include "ASPN/CmdResponseStrings.h"

#include <fstream>

#include <sys/stat.h>

namespace Sys {

namespace {

constexpr const char* kPostComplete = "/PostComplete";
constexpr const char* kSystemStarted = "/SystemStarted";
constexpr const char* kFirstBbitDone = "/FirstBbitDone";

bool exists(const std::string& path)
{
    struct stat status = {};
    return stat(path.c_str(), &status) == 0;
}

}  // namespace

bool isPostComplete(const std::string& directory)
{
    return exists(directory + kPostComplete);
}

bool isSystemStarted(const std::string& directory)
{
    return exists(directory + kSystemStarted);
}

bool isFirstBbitDone(const std::string& directory)
{
    return exists(directory + kFirstBbitDone);
}

void announcePostComplete(const std::string& directory)
{
    std::ofstream file(directory + kPostComplete);
}

void announceFirstBbitDone(const std::string& directory)
{
    std::ofstream file(directory + kFirstBbitDone);
}

}  // namespace Sys
