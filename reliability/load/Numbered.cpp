#include "reliability/load/Numbered.h"

#include <algorithm>

namespace Numbered {

namespace {

/// The bus tells whole milliseconds.
constexpr double kRounding = 1.0;  // ms

}  // namespace

Findings judge(std::span<const NumberedTell> tells, const SentTimes& sent, Comes comes)
{
    Findings findings;
    std::int32_t newest = 0;
    for (const NumberedTell& tell : tells) {
        findings.all += tell.numbers.size();
        findings.tooLong += tell.numbers.size() > kMostInTell;
        std::int32_t last = 0;
        for (const std::int32_t number : tell.numbers) {
            const double at = sent.of(number);
            findings.neverSent += at == 0.0 || at > tell.at + kRounding;
            findings.repeated += number <= (comes == Comes::Once ? std::max(last, newest) : last);
            findings.leftOut += last != 0 && number > last && sent.next(last) != number;
            last = std::max(last, number);
        }
        newest = std::max(newest, last);
        if (newest == 0) continue;
        const double next = sent.of(sent.next(newest));
        findings.outdated.push_back(next == 0.0 ? 0.0 : std::max(tell.at - next, 0.0));
    }
    return findings;
}

}  // namespace Numbered
