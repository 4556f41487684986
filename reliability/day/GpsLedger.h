#ifndef RELIABILITY_DAY_GPSLEDGER_H
#define RELIABILITY_DAY_GPSLEDGER_H

#include <cstddef>
#include <vector>

/// The measurement statuses that were sent beside the warnings of GPS that were published: GPS is lost with the third
/// status in a row that has none, and back with the third that has it. Times are seconds of the unit, in rising order.
/// One thread at a time.
class GpsLedger {
public:
    /// Until a warning is told.
    static constexpr double kPatience = 10.0;
    /// By so much the two clocks may differ.
    static constexpr double kSlack = 2.0;

    void addStatus(double sentAt, bool isLost) { m_statuses.push_back({sentAt, isLost}); }
    void addWarning(double toldAt, bool isLost) { m_warnings.push_back({toldAt, isLost}); }

    struct Verdict {
        std::size_t due = 0;
        std::size_t missing = 0;
        std::size_t unexpected = 0;  ///< warnings for which nothing was sent
    };

    /// Of a life of the service. In its begin GPS is there.
    /// @param to  nothing is due that was sent later; what is due must have had its time
    Verdict verdict(double from, double to) const;

private:
    struct Change {
        double at;
        bool isLost;
    };

    std::vector<Change> changes(double from) const;

    std::vector<Change> m_statuses;
    std::vector<Change> m_warnings;
};

#endif
