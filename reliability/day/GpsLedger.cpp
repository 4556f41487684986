#include "reliability/day/GpsLedger.h"

#include <algorithm>
#include <iterator>

std::vector<GpsLedger::Change> GpsLedger::changes(double from) const
{
    constexpr int kInARow = 3;
    std::vector<Change> found;
    bool isLost = false;
    int others = 0;
    for (const Change& status : m_statuses) {
        if (status.at < from) continue;
        others = status.isLost == isLost ? 0 : others + 1;
        if (others < kInARow) continue;
        isLost = status.isLost;
        others = 0;
        found.push_back(status);
    }
    return found;
}

GpsLedger::Verdict GpsLedger::verdict(double from, double to) const
{
    Verdict verdict;
    std::vector<Change> told;
    std::ranges::copy_if(m_warnings, std::back_inserter(told),
                         [&](const Change& warning) { return warning.at >= from - kSlack; });
    for (const Change& change : changes(from)) {
        const auto warning = std::ranges::find_if(told, [&](const Change& one) {
            return one.isLost == change.isLost && one.at >= change.at - kSlack && one.at <= change.at + kPatience;
        });
        const bool isTold = warning != told.end();
        if (isTold) told.erase(warning);
        if (change.at > to) continue;
        ++verdict.due;
        verdict.missing += !isTold;
    }
    verdict.unexpected = told.size();
    return verdict;
}
