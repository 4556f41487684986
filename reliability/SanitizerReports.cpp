#include "reliability/SanitizerReports.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kReport = "WARNING: ThreadSanitizer: ";
constexpr std::string_view kSummary = "SUMMARY: ThreadSanitizer: ";

/// "data race" of "data race (pid=12)", and of "data race /a/Gate.cpp:12:3 in Gate::open" all but the folder.
std::string shortened(std::string_view text)
{
    const std::size_t slash = text.find('/');
    if (slash == text.npos) return std::string(text.substr(0, text.find(" (pid=")));
    const std::size_t path = text.rfind(' ', slash) + 1;
    const std::size_t end = text.find(' ', slash);
    const std::size_t name = text.rfind('/', end);
    return std::string(text.substr(0, path)) + "(" + std::string(text.substr(name + 1)) + ")";
}

}  // namespace

std::vector<std::string> SanitizerReports::summariesOf(const std::string& text)
{
    std::vector<std::string> found;
    bool isOpen = false;  // the last one of them has no summary yet
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string_view view = line;
        if (view.starts_with(kReport)) {
            found.push_back(shortened(view.substr(kReport.size())));
            isOpen = true;
        } else if (view.starts_with(kSummary) && isOpen) {
            found.back() = shortened(view.substr(kSummary.size()));
            isOpen = false;
        }
    }
    return found;
}

std::vector<std::string> SanitizerReports::read(const fs::path& directory, const std::string& prefix)
{
    std::vector<std::string> all;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with(prefix)) continue;
        std::ifstream file(entry.path());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        std::vector<std::string> found = summariesOf(text);
        if (found.empty()) found.push_back(name + ": " + text.substr(0, text.find('\n')));
        all.insert(all.end(), found.begin(), found.end());
    }
    return all;
}
