#ifndef RELIABILITY_TORTURE_VERDICT_H
#define RELIABILITY_TORTURE_VERDICT_H

#include "reliability/torture/Facts.h"

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
    Library,     // it went on without a word: the call was one of a foreign library, which did without
    Foreign,  // foreign code, of which the call was or in which it led, ended the process, hung or kept something open
    Broken,   // a promise did not hold
};

inline constexpr std::size_t kEndings = 7;
std::string_view nameOf(Ending ending);

struct Verdict {
    Ending ending;
    std::string why;
};

/// A call that may fail without a word.
struct Exception {
    std::string_view kind;
    std::string_view function;  // part of the name of one that is on the stack
    std::string_view reason;
};

/// What the service promises of calls that fail: it never hangs, and is ended by SIGABRT alone, from its main thread in a
/// step of its walk; once it runs again, it works; nothing stays open; and a line or an event tells of it.
class Judge {
public:
    /// @param usual       lines and events, without their numbers, of services in which nothing fails
    /// @param exceptions  the calls that may fail without a word
    Judge(std::set<std::string> usual, std::vector<Exception> exceptions)
        : m_usual(std::move(usual)), m_exceptions(std::move(exceptions))
    {}

    /// @param functions  names of the functions on the stack of the call that failed
    Verdict judge(const Point& point, const Facts& facts, const std::vector<std::string>& functions) const;

private:
    Verdict judgeCrash(const Point& point, const Facts& facts) const;
    Verdict judgeSilence(const Point& point, const Facts& facts, const std::vector<std::string>& functions) const;

    const std::set<std::string> m_usual;
    const std::vector<Exception> m_exceptions;
};

/// The calls of the service that may fail without a word, each with its reason.
std::vector<Exception> knownExceptions();

}  // namespace torture

#endif
