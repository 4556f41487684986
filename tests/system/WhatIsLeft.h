#ifndef TESTS_SYSTEM_WHATISLEFT_H
#define TESTS_SYSTEM_WHATISLEFT_H

#include <filesystem>
#include <set>
#include <string>

using Names = std::set<std::string>;

/// The names in a directory.
inline Names entries(const std::filesystem::path& directory)
{
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) names.insert(entry.path().filename());
    return names;
}

/// The processes of the unit, by id. Nothing but the test and what it has started lives there.
inline Names processes()
{
    Names ids;
    for (const std::string& name : entries("/proc"))
        if (name.find_first_not_of("0123456789") == std::string::npos) ids.insert(name);
    return ids;
}

#endif
