#ifndef RELIABILITY_DAY_JOINLEDGER_H
#define RELIABILITY_DAY_JOINLEDGER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

/// What was sent to be joined beside what was published: finds what is missing, what came twice or too late, and what
/// nobody sent. Times are seconds; those of validity are known to 10 ms. One thread at a time.
class JoinLedger {
public:
    static constexpr std::size_t kInputs = 6;
    static constexpr std::size_t kTime = 1;  // the input that the others are compared with

    /// The service looks so often, and joins the newest inputs each time.
    static constexpr double kTurn = 0.25;
    /// Two turns. Where epochs come faster than turns, every second join may be lost unseen by it: see `turns`.
    static constexpr double kPatience = 2.0 * kTurn;
    /// Finds each join that is lost of ten epochs a second, if no turn is later than 0.1 s.
    static constexpr double kStrictPatience = 0.3;
    /// Inputs that belong together are less far apart.
    static constexpr double kFarthestApart = 1.0;

    /// @param patience  an epoch is missing if no join of it or of a later one comes that is valid so much later at most
    explicit JoinLedger(double patience = kPatience) : m_patience(patience) {}

    /// Inputs with one time of validity, in rising order.
    /// @param sentAt  by the clock of the unit
    void addSent(double validAt, double sentAt, const std::array<bool, kInputs>& inputs);

    /// A join that was published, in the order in which they were.
    void addJoin(double validAt);

    /// Nothing is due that is valid in this stretch.
    void excuse(double from, double to) { m_excuses.push_back({from, to}); }

    /// The machine stood still: what is missing of this stretch tells nothing of the service.
    void stall(double from, double to) { m_stalls.push_back({from, to}); }

    struct Verdict {
        std::size_t possible = 0;   ///< complete epochs for which a join was due
        std::size_t missing = 0;    ///< those of them that no join came for in time, neither of them nor of a later one
        std::size_t overtaken = 0;  ///< complete epochs that the unit sent so late that the next came at once
        std::size_t stalled = 0;    ///< complete epochs that no join came for while the machine stood still
        double firstMissing = -1.0;

        /// Turns that had something to join, had each taken `kTurn`, while the machine did not stand still, and how many
        /// joins came of them. A turn takes somewhat longer, so that there are a few less.
        double turns = 0.0;
        std::size_t joined = 0;

        Verdict& operator+=(const Verdict& later);
    };

    /// Of what is valid in a stretch, its end left out. All that was published of it must have come: an epoch without a
    /// join is missing, whether one comes later or never again.
    Verdict verdict(double from, double to) const;

    /// Of joins, whatever was due.
    struct Strays {
        std::size_t joins = 0;       ///< all of them
        std::size_t impossible = 0;  ///< of what was not sent, or not together
        std::size_t twice = 0;       ///< of a time that there had been one of
        std::size_t backwards = 0;   ///< of a time before that of one that had come
    };

    /// Of all joins, however late they came. All that was sent must have been added.
    Strays strays() const;

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

    const double m_patience;
    std::map<std::int64_t, Epoch> m_sent;
    std::map<std::int64_t, std::size_t> m_joins;  // how often
    std::int64_t m_newest = -1;
    std::size_t m_backwards = 0;
    std::vector<Stretch> m_excuses;
    std::vector<Stretch> m_stalls;
};

#endif
