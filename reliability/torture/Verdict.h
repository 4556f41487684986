#ifndef RELIABILITY_TORTURE_VERDICT_H
#define RELIABILITY_TORTURE_VERDICT_H

#include "reliability/torture/Facts.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

/// How a service came through a failed call.
enum class Ending {
    NotReached,  // there was no such call
    Refused,     // the step of the walk that failed ended the process, and named itself
    Told,        // it went on, and a line or an event told what failed
    Tolerated,   // it went on without a word, for a reason that is known
    Library,     // it went on without a word: the call was one of a foreign library, which does without, as is known
    Unknown,     // the same, and why nothing is lost is not known
    Foreign,     // foreign code ended the process
    Broken,      // a promise did not hold
};

inline constexpr std::size_t kEndings = 8;
std::string_view nameOf(Ending ending);

struct Verdict {
    Ending ending;
    std::string why;
};

/// A call that may fail without a word, known by what it asks of the system: names of the service's functions are lost
/// when it is optimised. What is empty, or 0, is not looked at. What is `through` something has on its stack an object, or a
/// function that an object makes known, with that in its name.
struct Exception {
    std::string_view function = {};  // of the C library
    std::string_view place = {};     // part of the path, which a $ ends
    std::string_view number = {};    // that it is given (`FailedCall`)
    std::string_view through = {};
    std::string_view owner = {};  // beginning of the name of the library that calls; empty: the service's own code
    std::optional<Phase> phase = {};
    std::uint64_t call = 0;   // counted in the phase
    bool isLast = false;      // of its kind in the phase; not looked at where calls of all are counted
    bool isAnswered = false;  // the client who had the VCL text saved is told that it was not
    std::string_view reason = {};

    bool covers(const Point& point, const Facts& facts, const FailedCall& failed) const;
};

/// What services say and hold in which nothing fails.
struct Usual {
    using Places = std::multiset<std::string>;

    /// The more that one of them holds of a kind, the more is usual.
    void add(Phase phase, const Facts& facts);

    std::set<std::string> lines = {};              // and events, without their numbers
    std::map<Phase, Places> open = {}, left = {};  // as in `Facts`; nothing is judged in a phase that is not there
};

/// What the service promises of calls that fail, whoever calls: it never hangs, and is ended by SIGABRT alone, from its
/// main thread in a step of its walk; once calls succeed again it joins again, or has said that it won't; nothing stays
/// open; who is told that a VCL text is saved finds it in the file; and a line or an event tells that something failed.
class Judge {
public:
    /// @param exceptions  the calls that may fail without a word
    Judge(Usual usual, std::vector<Exception> exceptions)
        : m_usual(std::move(usual)), m_exceptions(std::move(exceptions))
    {}

    Verdict judge(const Point& point, const Facts& facts) const;

    /// Whether it holds descriptors that it should not.
    bool leavesOpen(Phase phase, const Facts& facts) const { return !descriptorsTooMany(phase, facts).empty(); }

private:
    Verdict judgeCrash(const Point& point, const Facts& facts) const;
    std::string descriptorsTooMany(Phase phase, const Facts& facts) const;
    Verdict judgeSilence(const Point& point, const Facts& facts, const FailedCall& failed) const;

    const Usual m_usual;
    const std::vector<Exception> m_exceptions;
};

/// Whether a line tells that nothing is joined until the bus service or the whole service is started anew, as users are
/// told of some failures (docs/operation.md). The text may be many lines.
bool isDeafnessTold(std::string_view text);

/// Whether it joined no more, and has not told that it won't.
bool isDeafUntold(const Facts& facts);

/// Whether a line tells that something failed, and is not just one that is seen seldom, or a part of one.
bool tellsFailure(std::string_view line);

/// The calls of the service, and of libraries, that may fail without a word, each with its reason.
std::vector<Exception> knownExceptions();

}  // namespace torture

#endif
