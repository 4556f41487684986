#ifndef RELIABILITY_DAY_JOINLEDGER_H
#define RELIABILITY_DAY_JOINLEDGER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

/// What was sent to be joined beside what was published: finds what is missing, what came twice, and what nobody sent.
/// Times are seconds; those of validity are known to 10 ms. One thread at a time.
class JoinLedger {
public:
    static constexpr std::size_t kInputs = 6;
    static constexpr std::size_t kTime = 1;  // the input that the others are compared with

    /// A turn of the service is due after half of this.
    static constexpr double kPatience = 0.5;
    /// Inputs that belong together are less far apart.
    static constexpr double kFarthestApart = 1.0;

    /// Inputs with one time of validity, in rising order.
    /// @param sentAt  by the clock of the unit
    void addSent(double validAt, double sentAt, const std::array<bool, kInputs>& inputs);

    /// A join that was published.
    void addJoin(double validAt);

    /// Nothing is due that is valid in this stretch.
    void excuse(double from, double to) { m_excuses.push_back({from, to}); }

    /// The machine stood still: what is missing of this stretch tells nothing of the service.
    void stall(double from, double to) { m_stalls.push_back({from, to}); }

    struct Verdict {
        std::size_t possible = 0;  ///< complete epochs for which a join was due
        std::size_t missing = 0;   ///< those of them that no join came for in time, neither of them nor of a later one
        std::size_t impossible = 0;  ///< joins of what was not sent, or not together
        std::size_t twice = 0;       ///< joins of one time
        std::size_t joins = 0;
        std::size_t overtaken = 0;  ///< complete epochs that the unit sent so late that the next came at once
        std::size_t stalled = 0;    ///< complete epochs that no join came for while the machine stood still
        double firstMissing = -1.0;

        Verdict& operator+=(const Verdict& later);
    };

    /// Of what is valid in a stretch, its end left out. All that was published of it must have come: an epoch without a
    /// join is missing, whether one comes later or never again.
    Verdict verdict(double from, double to) const;

private:
    struct Epoch {
        double validAt;
        double sentAt;
        std::array<bool, kInputs> inputs;
    };
    struct Stretch {
        double from;
        double to;
    };

    bool isPossible(std::int64_t join) const;
    static bool isWithin(const std::vector<Stretch>& stretches, double validAt);

    std::map<std::int64_t, Epoch> m_sent;
    std::map<std::int64_t, std::size_t> m_joins;  // how often
    std::vector<Stretch> m_excuses;
    std::vector<Stretch> m_stalls;
};

#endif
