#include "reliability/day/JoinLedger.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSteps = 100.0;  // a second

std::int64_t stepOf(double validAt)
{
    return std::llround(validAt * kSteps);
}

}  // namespace

void JoinLedger::addSent(double validAt, double sentAt, const std::array<bool, kInputs>& inputs)
{
    m_sent.insert_or_assign(stepOf(validAt), Epoch{validAt, sentAt, inputs});
}

void JoinLedger::addJoin(double validAt)
{
    ++m_joins[stepOf(validAt)];
}

bool JoinLedger::isWithin(const std::vector<Stretch>& stretches, double validAt)
{
    return std::any_of(stretches.begin(), stretches.end(),
                       [&](const Stretch& stretch) { return validAt >= stretch.from && validAt <= stretch.to; });
}

bool JoinLedger::isPossible(std::int64_t join) const
{
    const auto own = m_sent.find(join);
    if (own == m_sent.end() || !own->second.inputs[kTime]) return false;
    const std::int64_t apart = stepOf(kFarthestApart);
    for (std::size_t input = 0; input < kInputs; ++input) {
        const auto begin = m_sent.upper_bound(join - apart), end = m_sent.lower_bound(join + apart);
        if (!std::any_of(begin, end, [&](const auto& epoch) { return epoch.second.inputs[input]; })) return false;
    }
    return true;
}

JoinLedger::Verdict JoinLedger::verdict(double from, double to) const
{
    Verdict verdict;
    for (auto join = m_joins.lower_bound(stepOf(from)); join != m_joins.end() && join->first < stepOf(to); ++join) {
        verdict.joins += join->second;
        verdict.twice += join->second - 1;
        verdict.impossible += !isPossible(join->first);
    }
    for (auto epoch = m_sent.lower_bound(stepOf(from)); epoch != m_sent.end() && epoch->first < stepOf(to); ++epoch) {
        const auto& [validAt, sentAt, inputs] = epoch->second;
        if (!std::all_of(inputs.begin(), inputs.end(), [](bool isSent) { return isSent; }) ||
            isWithin(m_excuses, validAt))
            continue;
        const auto join = m_joins.lower_bound(epoch->first);
        const bool isMissing = join == m_joins.end() || join->first > epoch->first + stepOf(kPatience);
        const auto next = m_sent.upper_bound(epoch->first + stepOf(kPatience));
        if (isMissing && next != m_sent.end() && next->second.sentAt - sentAt < kPatience) {
            ++verdict.overtaken;
            continue;
        }
        if (isMissing && isWithin(m_stalls, validAt)) {
            ++verdict.stalled;
            continue;
        }
        ++verdict.possible;
        if (!isMissing) continue;
        if (verdict.missing++ == 0) verdict.firstMissing = validAt;
    }
    return verdict;
}

JoinLedger::Verdict& JoinLedger::Verdict::operator+=(const Verdict& later)
{
    if (missing == 0) firstMissing = later.firstMissing;
    possible += later.possible;
    missing += later.missing;
    impossible += later.impossible;
    twice += later.twice;
    joins += later.joins;
    overtaken += later.overtaken;
    stalled += later.stalled;
    return *this;
}
