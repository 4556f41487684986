#include "reliability/day/JoinLedger.h"

#include <algorithm>
#include <cmath>
#include <iterator>

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
    const std::int64_t join = stepOf(validAt);
    m_backwards += join < m_newest;
    m_newest = std::max(m_newest, join);
    ++m_joins[join];
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
    for (auto epoch = m_sent.lower_bound(stepOf(from)); epoch != m_sent.end() && epoch->first < stepOf(to); ++epoch) {
        const auto& [validAt, sentAt, inputs] = epoch->second;
        if (!std::all_of(inputs.begin(), inputs.end(), [](bool isSent) { return isSent; }) ||
            isWithin(m_excuses, validAt))
            continue;
        const auto join = m_joins.lower_bound(epoch->first);
        const bool isMissing = join == m_joins.end() || join->first > epoch->first + stepOf(m_patience);
        const auto next = m_sent.upper_bound(epoch->first + stepOf(m_patience));
        if (isMissing && next != m_sent.end() && next->second.sentAt - sentAt < m_patience) {
            ++verdict.overtaken;
            continue;
        }
        if (isMissing && isWithin(m_stalls, validAt)) {
            ++verdict.stalled;
            continue;
        }
        ++verdict.possible;
        if (const auto following = std::next(epoch); following != m_sent.end() && !isWithin(m_stalls, validAt)) {
            verdict.turns += std::min((following->second.validAt - validAt) / kTurn, 1.0);
            verdict.joined += m_joins.contains(epoch->first);
        }
        if (!isMissing) continue;
        if (verdict.missing++ == 0) verdict.firstMissing = validAt;
    }
    return verdict;
}

JoinLedger::Strays JoinLedger::strays() const
{
    Strays strays;
    for (const auto& [join, times] : m_joins) {
        strays.joins += times;
        strays.twice += times - 1;
        strays.impossible += !isPossible(join);
    }
    strays.backwards = m_backwards;
    return strays;
}

JoinLedger::Verdict& JoinLedger::Verdict::operator+=(const Verdict& later)
{
    if (missing == 0) firstMissing = later.firstMissing;
    possible += later.possible;
    missing += later.missing;
    overtaken += later.overtaken;
    stalled += later.stalled;
    turns += later.turns;
    joined += later.joined;
    return *this;
}
