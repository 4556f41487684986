#ifndef LAB_CTL_PROCESSLOOK_H
#define LAB_CTL_PROCESSLOOK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Processes, as /proc tells of them. Any thread; what goes away while it is looked at is passed over.
namespace orvanectl {

struct ProcessReading {
    int id = 0;
    double cpuSeconds = 0;  ///< of all its threads since its start
    std::uint64_t residentKiB = 0;
    std::uint64_t threads = 0;
    std::size_t others = 0;  ///< processes of the same name besides, with higher numbers
};

/// The text of /proc/PID/stat, as far as it is needed. A name may have blanks and brackets.
struct ProcessStat {
    std::string name;
    char state = '?';
    std::uint64_t cpuTicks = 0;
    std::uint64_t threads = 0;
    std::uint64_t residentPages = 0;
};

/// Nothing if it is none.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

/// The process of that name with the lowest number; one that has ended and is not waited for is none.
std::optional<ProcessReading> findProcess(const std::string& name, const std::string& proc = "/proc");

/// An `orvanectl record`.
struct RecorderReading {
    int id = 0;
    std::string file;        ///< that it writes now; empty if there is none, as with a ring, or it may not be looked at
    std::size_t others = 0;  ///< recorders besides, with higher numbers
};

/// The recorder with the lowest number.
std::optional<RecorderReading> findRecorder(const std::string& proc = "/proc");

/// Who has a file open: "OrvaneServer r, unit-sim rw", the lowest number first; of those that may be looked at.
struct FileHolders {
    std::string text;
    bool hasReader = false;
};
FileHolders holdersOf(const std::string& path, const std::string& proc = "/proc");

}  // namespace orvanectl

#endif
