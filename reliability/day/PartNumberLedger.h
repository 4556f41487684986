#ifndef RELIABILITY_DAY_PARTNUMBERLEDGER_H
#define RELIABILITY_DAY_PARTNUMBERLEDGER_H

#include <cstddef>
#include <set>
#include <string>
#include <vector>

/// What the service asked of part numbers beside who was silent: it asks every ten seconds until all have answered, tells
/// the whole configuration then, and again with each answer that is still on its way, and asks no more. Times are seconds of the unit. One thread at a time.
class PartNumberLedger {
public:
    /// A request waits ten seconds for its answers. By the clock of whoever hears it, there is something about it.
    static constexpr double kShortest = 9.0, kLongest = 13.0;
    /// From the request that all answer to the configuration that is told.
    static constexpr double kPatience = 5.0;

    /// These two in the order in which they came.
    void addRequest(double at) { m_requests.push_back({at, m_silent.empty()}); }
    void addSilence(const std::string& component, bool isSilent);

    /// The whole configuration was told.
    void addConfiguration(double at) { m_configurations.push_back(at); }

    struct Verdict {
        std::size_t requests = 0;
        std::size_t unanswered = 0;  ///< those of them that not all answered
        std::size_t missing = 0;     ///< requests and configurations that were due and did not come in time
        std::size_t needless =
            0;  ///< requests that came too early, or when all was known, and configurations out of time
    };

    /// Of a life of the service.
    /// @param from  it had not asked before
    /// @param to    nothing is due later; what is due must have had its time
    Verdict verdict(double from, double to) const;

private:
    struct Request {
        double at;
        bool isAnswered;  // by all
    };

    std::set<std::string> m_silent;
    std::vector<Request> m_requests;
    std::vector<double> m_configurations;
};

#endif
