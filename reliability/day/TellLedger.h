#ifndef RELIABILITY_DAY_TELLLEDGER_H
#define RELIABILITY_DAY_TELLLEDGER_H

#include <cstddef>
#include <vector>

/// What was sent to be told, each once, beside what was told. They are held against each other by their times, so that
/// one that is lost and one that is told twice don't make up for each other, unless within the patience. Times are
/// seconds of the unit, in rising order. One thread at a time.
class TellLedger {
public:
    static constexpr double kPatience = 30.0;
    /// By so much the two clocks may differ.
    static constexpr double kSlack = 2.0;

    /// @param patience  within which what was sent must be told, in seconds
    explicit TellLedger(double patience = kPatience) : m_patience(patience) {}

    void addSent(double at, std::size_t count = 1) { m_sent.insert(m_sent.end(), count, at); }
    void addTold(double at, std::size_t count = 1) { m_told.insert(m_told.end(), count, at); }

    struct Verdict {
        std::size_t due = 0;
        std::size_t missing = 0;
        std::size_t unexpected = 0;  ///< told late, twice, or for nothing

        Verdict& operator+=(const Verdict& other);
    };

    /// Of a life of the service.
    /// @param to  nothing is due that was sent later; what is due must have had its time
    Verdict verdict(double from, double to) const;

private:
    double m_patience;
    std::vector<double> m_sent;
    std::vector<double> m_told;
};

#endif
