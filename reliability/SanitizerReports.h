#ifndef RELIABILITY_SANITIZERREPORTS_H
#define RELIABILITY_SANITIZERREPORTS_H

#include <filesystem>
#include <string>
#include <vector>

/// What a thread sanitizer with `log_path=PREFIX` has written, in the files PREFIX.<process>.
class SanitizerReports {
public:
    /// A report in one line: what it is and where, as "data race (Gate.cpp:12 in Gate::open)".
    /// @param text  the whole of a log
    static std::vector<std::string> summariesOf(const std::string& text);

    /// Reads all files of a directory whose name begins so; a file that tells no report counts for one.
    static std::vector<std::string> read(const std::filesystem::path& directory, const std::string& prefix);
};

#endif
