#ifndef LAB_FAULTS_FAULTPLAN_H
#define LAB_FAULTS_FAULTPLAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Which calls of a program are to fail.
namespace faults {

/// Calls that are counted together.
enum class Kind {
    Open,
    Openat,
    Fopen,
    Read,
    Fread,
    Write,
    Fwrite,
    Mmap,
    Msync,
    Poll,
    Thread,
    Malloc,
    Fsync,
    Rename,
    Send,
    Receive,
    Socket,
    Clock,
    Sched,
    Fcntl,
    Event,
};

struct KindRow {
    std::string_view word;
    int error;  // that a call fails with unless the plan says otherwise
};

/// In the order of `Kind`.
extern const std::array<KindRow, 21> kKinds;
constexpr std::size_t kKindCount = 21;

inline const KindRow& rowOf(Kind kind)
{
    return kKinds.at(static_cast<std::size_t>(kind));
}

/// None for a word that names no kind.
std::optional<Kind> kindOf(std::string_view word);

/// The name of an error of the C library, as EIO; its number for one that plans have no name for.
std::string nameOfError(int error);

struct Rule {
    Kind kind;
    std::uint64_t call;  // counted from 1
    bool isOnce;         // or from that call on
    int error;

    bool strikes(Kind ofKind, std::uint64_t number) const
    {
        return kind == ofKind && (isOnce ? number == call : number >= call);
    }
};

/// Texts are empty where the plan says nothing.
struct Plan {
    std::vector<Rule> rules;
    std::string caller;  // part of the file name of the object that calls
    std::string path;    // part of the path that is opened, or that the descriptor stands for
    std::string countFile;
    std::string logFile;
    std::string controlFile;
    std::string descriptorsFile;
};

/// Reads a plan, a line each:
///
///     fail KIND N once|on [errno NAME]
///     only caller|path TEXT
///     count to FILE
///     log to FILE
///     control by FILE
///     descriptors to FILE
///
/// Empty lines and what follows a `#` are passed over. Throws `std::runtime_error`, whose text names file, line, the
/// word that is wrong, and what would be right.
/// @param name  of the file, for that text
Plan readPlan(std::istream& stream, const std::string& name);

}  // namespace faults

#endif
