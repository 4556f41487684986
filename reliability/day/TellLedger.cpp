#include "reliability/day/TellLedger.h"

#include <algorithm>

TellLedger::Verdict TellLedger::verdict(double from, double to) const
{
    Verdict verdict;
    auto sent = std::ranges::lower_bound(m_sent, from);
    const auto passOver = [&] {
        if (*sent++ <= to) ++verdict.due, ++verdict.missing;
    };
    for (auto told = std::ranges::lower_bound(m_told, from - kSlack); told != m_told.end(); ++told) {
        while (sent != m_sent.end() && *sent + m_patience < *told) passOver();
        if (sent == m_sent.end() || *sent > *told + kSlack)
            ++verdict.unexpected;
        else
            verdict.due += *sent++ <= to;
    }
    while (sent != m_sent.end()) passOver();
    return verdict;
}

TellLedger::Verdict& TellLedger::Verdict::operator+=(const Verdict& other)
{
    due += other.due;
    missing += other.missing;
    unexpected += other.unexpected;
    return *this;
}
