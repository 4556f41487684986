#ifndef RELIABILITY_DAY_DENSITY_H
#define RELIABILITY_DAY_DENSITY_H

#include "reliability/day/JoinLedger.h"

#include <algorithm>
#include <cstddef>

/// Whether joins come as often as the service looks for them, in all and over short times. Where epochs come faster than
/// turns, this tells of joins that are lost though later ones cover their epochs. Pure; one thread at a time.
class Density {
public:
    /// Of the turns, had each taken no longer than its pause. With a third more for the turn itself it still holds; with
    /// every second join lost it does not.
    static constexpr double kLeast = 0.75;
    /// By fewer turns nothing is judged.
    static constexpr double kStretch = 400.0;

    /// What was found of the time behind what was added before.
    void add(const JoinLedger::Verdict& verdict)
    {
        m_all += verdict;
        m_stretch += verdict;
        if (m_stretch.turns < kStretch) return;
        ++m_stretches;
        m_thin += !isDense(m_stretch);
        m_lowest = std::min(m_lowest, shareOf(m_stretch));
        m_stretch = {};
    }

    static bool isDense(const JoinLedger::Verdict& verdict) { return shareOf(verdict) >= kLeast; }

    /// Joins for each turn; 1 where there was none.
    static double shareOf(const JoinLedger::Verdict& verdict)
    {
        return verdict.turns > 0.0 ? static_cast<double>(verdict.joined) / verdict.turns : 1.0;
    }

    const JoinLedger::Verdict& all() const { return m_all; }
    std::size_t stretches() const { return m_stretches; }
    std::size_t thin() const { return m_thin; }  ///< stretches with too few joins
    double lowest() const { return m_lowest; }   ///< share of a stretch

private:
    JoinLedger::Verdict m_all, m_stretch;
    std::size_t m_stretches = 0, m_thin = 0;
    double m_lowest = 1.0;
};

#endif
