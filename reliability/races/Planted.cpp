// A mistake in the service that the thread sanitizer, or the check of the order of locks, must find. Which one is told
// by ORVANE_PLANTED: "race" or "inversion". Linked into a program of its own beside the service's process entry.

#include "utilities/ThreadAnnotations.h"

#include <cstdlib>
#include <string_view>
#include <thread>

namespace {

int unguarded = 0;

void race()
{
    std::thread other([] { ++unguarded; });
    ++unguarded;
    other.join();
}

void inversion()
{
    RankedMutex<LockRank::Lists> list;
    RankedMutex<LockRank::Inputs> inputs;
    const MutexLock later(list);
    const MutexLock earlier(inputs);
}

/// Before the service's process entry.
const struct Mistake {
    Mistake()
    {
        const char* name = std::getenv("ORVANE_PLANTED");
        const std::string_view kind = name ? name : "";
        if (kind == "race") race();
        if (kind == "inversion") inversion();
    }
} mistake;

}  // namespace
