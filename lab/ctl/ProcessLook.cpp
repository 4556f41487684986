#include "lab/ctl/ProcessLook.h"

#include "lab/ctl/FrameDecoder.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

namespace fs = std::filesystem;

std::optional<std::uint64_t> numberOf(std::string_view text, int base = 10)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/// Empty if it can't be read: a process may end between the opening and the reading.
std::string textOf(const fs::path& path)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return "";
    std::string text;
    std::array<char, 4096> piece;
    ssize_t count = 0;
    while ((count = ::read(file, piece.data(), piece.size())) > 0)
        text.append(piece.data(), static_cast<std::size_t>(count));
    ::close(file);
    return count < 0 ? "" : text;
}

/// The numbers of all processes, the lowest first.
std::vector<int> allProcesses(const std::string& proc)
{
    constexpr std::uint64_t kHighest = 1U << 30U;
    std::vector<int> ids;
    std::error_code error;
    for (fs::directory_iterator entry(proc, error), end; !error && entry != end; entry.increment(error))
        if (const auto id = numberOf(entry->path().filename().string()); id && *id < kHighest)
            ids.push_back(static_cast<int>(*id));
    std::ranges::sort(ids);
    return ids;
}

/// " r", " w" or " rw", by the flags in the text of /proc/PID/fdinfo/N; empty if they can't be told.
std::string modeOf(const std::string& text)
{
    constexpr std::string_view kKey = "flags:";
    const std::size_t key = text.find(kKey);
    if (key == std::string::npos) return "";
    const std::size_t begin = text.find_first_not_of(" \t", key + kKey.size());
    if (begin == std::string::npos) return "";
    const auto flags = numberOf(std::string_view(text).substr(begin, text.find('\n', begin) - begin), 8);
    if (!flags) return "";
    switch (*flags & O_ACCMODE) {
    case O_RDONLY:
        return " r";
    case O_WRONLY:
        return " w";
    default:
        return " rw";
    }
}

/// How a process has the file open; empty if it hasn't.
std::string modeIn(const fs::path& process, const struct stat& file)
{
    bool reads = false;
    bool writes = false;
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end; entry.increment(error)) {
        struct stat held {};
        if (::stat(entry->path().c_str(), &held) != 0 || held.st_ino != file.st_ino || held.st_dev != file.st_dev)
            continue;
        const std::string mode = modeOf(textOf(process / "fdinfo" / entry->path().filename()));
        reads = reads || mode.find('r') != std::string::npos;
        writes = writes || mode.find('w') != std::string::npos;
    }
    return reads && writes ? " rw" : reads ? " r" : writes ? " w" : "";
}

/// Whether it is an `orvanectl` of that verb.
bool isVerb(const fs::path& process, std::string_view verb)
{
    const auto stat = parseProcessStat(textOf(process / "stat"));
    if (!stat || stat->name != "orvanectl" || stat->state == 'Z') return false;
    // Its words have a zero each behind them.
    const std::string words = textOf(process / "cmdline");
    const std::size_t first = words.find('\0');
    if (first == std::string::npos) return false;
    return std::string_view(words).substr(first + 1, words.find('\0', first + 1) - first - 1) == verb;
}

/// The first file that a process only writes, besides what its standard streams are; empty if there is none.
std::string writtenBy(const fs::path& process)
{
    constexpr std::uint64_t kFirst = 3;
    std::optional<std::uint64_t> lowest;
    std::string file;
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end; entry.increment(error)) {
        const auto number = numberOf(entry->path().filename().string());
        if (!number || *number < kFirst || (lowest && *lowest < *number)) continue;
        std::error_code none;
        if (!fs::is_regular_file(entry->path(), none)) continue;
        if (modeOf(textOf(process / "fdinfo" / entry->path().filename())) != " w") continue;
        lowest = number;
        file = printable(fs::read_symlink(entry->path(), none).string());
    }
    return file;
}

}  // namespace

std::optional<ProcessStat> parseProcessStat(std::string_view text)
{
    constexpr std::size_t kUserTicks = 11, kSystemTicks = 12, kThreads = 17, kPages = 21;  // words behind the name
    const std::size_t begin = text.find('(');
    const std::size_t end = text.rfind(')');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return std::nullopt;
    std::istringstream rest{std::string(text.substr(end + 1))};
    const std::vector<std::string> words{std::istream_iterator<std::string>(rest), {}};
    if (words.size() <= kPages) return std::nullopt;
    const auto user = numberOf(words[kUserTicks]), system = numberOf(words[kSystemTicks]);
    const auto threads = numberOf(words[kThreads]), pages = numberOf(words[kPages]);
    if (!user || !system || !threads || !pages) return std::nullopt;
    return ProcessStat{std::string(text.substr(begin + 1, end - begin - 1)), words[0][0], *user + *system, *threads,
                       *pages};
}

std::optional<ProcessReading> findProcess(const std::string& name, const std::string& proc)
{
    std::optional<ProcessReading> found;
    for (const int id : allProcesses(proc)) {
        const auto stat = parseProcessStat(textOf(fs::path(proc) / std::to_string(id) / "stat"));
        if (!stat || stat->name != name || stat->state == 'Z') continue;
        if (found) {
            ++found->others;
            continue;
        }
        const double ticks = static_cast<double>(::sysconf(_SC_CLK_TCK));
        const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
        found = {id, static_cast<double>(stat->cpuTicks) / ticks, stat->residentPages * (page / 1024), stat->threads,
                 0};
    }
    return found;
}

std::optional<RecorderReading> findRecorder(const std::string& proc)
{
    std::optional<RecorderReading> found;
    for (const int id : allProcesses(proc)) {
        const fs::path process = fs::path(proc) / std::to_string(id);
        if (!isVerb(process, "record")) continue;
        if (found)
            ++found->others;
        else
            found = {id, writtenBy(process), 0};
    }
    return found;
}

FileHolders holdersOf(const std::string& path, const std::string& proc)
{
    FileHolders holders;
    struct stat file {};
    if (::stat(path.c_str(), &file) != 0) return holders;
    for (const int id : allProcesses(proc)) {
        const fs::path process = fs::path(proc) / std::to_string(id);
        const std::string mode = modeIn(process, file);
        if (mode.empty()) continue;
        const auto stat = parseProcessStat(textOf(process / "stat"));
        holders.text += (holders.text.empty() ? "" : ", ") + (stat ? printable(stat->name) : "?") + mode;
        holders.hasReader = holders.hasReader || mode.find('r') != std::string::npos;
    }
    return holders;
}

}  // namespace orvanectl
